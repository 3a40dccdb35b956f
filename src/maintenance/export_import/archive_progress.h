// What the archive progress window does with the archiver's events: the
// totals and the current file in its value labels, the file's percentage in
// its bar, the count of processed files kept for the caller, and the disk
// prompts of archives that span removable disks. Plain C++ over a small
// view interface that the window implements.
#pragma once

#include <cstdint>
#include <functional>

#include "base/text.h"
#include "maintenance/archive/archiver.h"

namespace mervane {

// The window's value labels, by their index in its label array.
enum class ValueLabel : int {
  currentFile = 1,
  disk = 3,
  totalFiles = 6,
  totalBytes = 7,
  processedFiles = 9,
  processedBytes = 11,
  originalSize = 13,
  bytesRead = 15,
  percentDone = 17,
};

class ProgressView {
 public:
  virtual ~ProgressView() = default;
  virtual void setValue(ValueLabel label, const Text& text) = 0;
  // Widths in twips: the current-file label's, and a text's in the form's font.
  virtual int currentFileWidth() = 0;
  virtual int textWidth(const Text& text) = 0;
  virtual void setBar(std::int32_t percent) = 0;
  // An OK-only message box with the exclamation icon.
  virtual void showMessage(const Text& text, const Text& title) = 0;
  virtual void processMessages() = 0;
};

// The view under the library's failure policy: a call that fails is
// skipped.
class ForgivingProgressView {
 public:
  explicit ForgivingProgressView(ProgressView& view) : view_(view) {}
  void setValue(ValueLabel label, const Text& text) noexcept;
  // The current file's name, shortened to fit its label (fitToWidth); left
  // as it was when a width cannot be measured.
  void setCurrentFile(const Text& fileName) noexcept;
  void setBar(std::int32_t percent) noexcept;
  void showMessage(const Text& text, const Text& title) noexcept;
  void processMessages() noexcept;

 private:
  ProgressView& view_;
};

// Shortens a text from the middle until it fits `width`: its first n and
// last n characters around "...", for the largest n from (length / 2 - 2)
// down to 4 at which it fits, or n = 4 when none does. Texts shorter than 12
// characters are never shortened.
Text fitToWidth(const Text& text, int width, const std::function<int(const Text&)>& measure);

Text diskFullPrompt();
Text diskRequestPrompt(std::int16_t disk);  // disk 0: the last disk of the set

class ArchiveProgress final : public ArchiveEvents {
 public:
  explicit ArchiveProgress(ProgressView& view) : view_(view) {}

  std::int32_t files() const { return files_; }

  void progress(const Text& fileName, std::int32_t originalSize, std::int32_t bytesRead, std::int16_t percent,
                std::int32_t totalFiles, std::int32_t processedFiles, std::int32_t totalBytes,
                std::int32_t processedBytes) override;
  void fileCount(const Text& fileName, std::int32_t processedFiles) override;
  void diskFull(std::int16_t nextDisk) override;
  void diskRequest(std::int16_t disk) override;

 private:
  ForgivingProgressView view_;
  std::int32_t files_ = 0;
};

}  // namespace mervane
