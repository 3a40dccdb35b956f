#include "maintenance/export_import/archive_progress.h"

#include "base/attempt.h"

namespace mervane {

Text fitToWidth(const Text& text, int width, const std::function<int(const Text&)>& measure) {
  Text fitted = text;
  std::ptrdiff_t n = static_cast<std::ptrdiff_t>(text.size() / 2) - 2;
  // Each pass cuts the previous pass's text, whose first and last n
  // characters are still the original's.
  while (n >= 4 && measure(fitted) > width) {
    const auto keep = static_cast<std::size_t>(n);
    fitted = fitted.substr(0, keep) + u"..." + fitted.substr(fitted.size() - keep);
    --n;
  }
  return fitted;
}

Text diskFullPrompt() { return u"The current disk is full.  Please enter a new disk."; }

Text diskRequestPrompt(std::int16_t disk) {
  if (disk == 0) return u"Please enter the last disk from the backup set.";
  return u"Please enter disk number " + decimal(disk) + u" from the backup set.";
}

void ForgivingProgressView::setValue(ValueLabel label, const Text& text) noexcept {
  attempt([&] { view_.setValue(label, text); });
}
void ForgivingProgressView::setCurrentFile(const Text& fileName) noexcept {
  attempt([&] {
    const int width = view_.currentFileWidth();
    view_.setValue(ValueLabel::currentFile,
                   fitToWidth(fileName, width, [&](const Text& t) { return view_.textWidth(t); }));
  });
}
void ForgivingProgressView::setBar(std::int32_t percent) noexcept { attempt([&] { view_.setBar(percent); }); }
void ForgivingProgressView::showMessage(const Text& text, const Text& title) noexcept {
  attempt([&] { view_.showMessage(text, title); });
}
void ForgivingProgressView::processMessages() noexcept { attempt([&] { view_.processMessages(); }); }

void ArchiveProgress::progress(const Text& fileName, std::int32_t originalSize, std::int32_t bytesRead,
                               std::int16_t percent, std::int32_t totalFiles, std::int32_t processedFiles,
                               std::int32_t totalBytes, std::int32_t processedBytes) {
  view_.setCurrentFile(fileName);
  const std::pair<ValueLabel, std::int64_t> values[] = {
      {ValueLabel::totalFiles, totalFiles},         {ValueLabel::totalBytes, totalBytes},
      {ValueLabel::processedFiles, processedFiles}, {ValueLabel::processedBytes, processedBytes},
      {ValueLabel::originalSize, originalSize},     {ValueLabel::bytesRead, bytesRead},
      {ValueLabel::percentDone, percent},
  };
  for (const auto& entry : values) view_.setValue(entry.first, decimal(entry.second));
  view_.setBar(percent);
  view_.processMessages();
}

void ArchiveProgress::fileCount(const Text&, std::int32_t processedFiles) { files_ = processedFiles; }

void ArchiveProgress::diskFull(std::int16_t nextDisk) {
  view_.showMessage(diskFullPrompt(), u"Backup");
  view_.setValue(ValueLabel::disk, decimal(nextDisk));
  view_.processMessages();
}

void ArchiveProgress::diskRequest(std::int16_t disk) {
  view_.showMessage(diskRequestPrompt(disk), u"Restore");
  view_.setValue(ValueLabel::disk, decimal(disk));
  view_.processMessages();
}

}  // namespace mervane
