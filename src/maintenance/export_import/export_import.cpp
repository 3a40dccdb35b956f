#include "maintenance/export_import/export_import.h"

#include <optional>

#include "base/attempt.h"
#include "catalogue/report_kinds.h"
#include "maintenance/export_import/archive_window.h"

namespace mervane {

namespace {

constexpr char16_t kFilter[] = u"Reports Export File (*.zip)|*.zip|All Files (*.*)|*.*";

// Overwrite prompt, no read-only box, the path must exist, long names.
constexpr std::uint32_t kSaveFlags = 0x200806;
// Overwrite prompt, no read-only box, the path and the file must exist.
constexpr std::uint32_t kOpenFlags = 0x1806;

// Loads the window and asks for the archive. Gives the window (when it
// loaded) and the chosen file name: nothing when the user cancelled, when
// the name is blank, or when any step up to the dialog failed. The name is
// kept exactly as given, blanks and all.
struct Choice {
  std::unique_ptr<ArchiveWindow> window;
  std::optional<Text> archive;
};

Choice askForArchive(Services& services, bool import, std::uint32_t flags, const Text& title) {
  Choice choice;
  bool failed = !attempt([&] {
    choice.window = services.loadArchiveWindow();
    choice.window->setExpImp(import);
  });
  if (!choice.window) return choice;
  ArchiveWindow& window = *choice.window;

  FileDialogSettings dialog;
  dialog.defaultExtension = u"zip";
  failed |= !attempt([&] { dialog.initialFolder = window.personalFolder(); });
  dialog.fileName = u"reports.zip";
  dialog.flags = flags;
  dialog.filter = kFilter;
  dialog.filterIndex = 0;
  dialog.title = title;
  std::optional<Text> answer;
  failed |= !attempt([&] {
    answer = import ? window.showOpenDialog(dialog) : window.showSaveDialog(dialog);
  });
  if (!failed && answer && !isBlank(*answer)) choice.archive = std::move(answer);
  return choice;
}

// Shows the window until its run has ended and tells whether any file was
// processed.
bool runWindow(ArchiveWindow& window, Services& services) {
  attempt([&] { window.showModal(); });
  attempt([&] { services.processMessages(); });
  return attemptValue([&] { return window.files(); }).value_or(0) > 0;
}

}  // namespace

Text reportsFolder(const Text& path) {
  if (!path.empty() && path.back() == u'\\') return path.substr(0, path.size() - 1);
  return path;
}

Text reportFileList(const Text& path) {
  const Text folder = reportsFolder(path);
  Text list;
  for (std::u16string_view extension : kExportExtensions) {
    list += folder;
    list += u"\\*.";
    list += extension;
    list += u'|';
  }
  return list;
}

bool exportReports(const SessionSettings& session, Services& services) {
  bool result = false;
  const Text folder = reportsFolder(session.path);
  Choice choice = askForArchive(services, false, kSaveFlags, u"Specify Reports Export File");
  if (choice.archive) {
    ArchiveWindow& window = *choice.window;
    attempt([&] { window.setProgressBar(0); });
    attempt([&] { window.configureZip({*choice.archive, reportFileList(folder), false}); });
    // Only an archive on a removable drive may span disks.
    attempt([&] {
      ZipRun zip = window.zip();
      if (window.onRemovableDrive(zip.archivePath)) {
        zip.diskPrompts = true;
        window.configureZip(zip);
      }
    });
    result = runWindow(window, services);
  }
  choice.window.reset();
  if (result) attempt([&] { services.showMessage(u"Export of reports complete.", u"Export Reports"); });
  return result;
}

bool importReports(const SessionSettings& session, Services& services) {
  bool result = false;
  const Text folder = reportsFolder(session.path);
  Choice choice = askForArchive(services, true, kOpenFlags, u"Specify Reports Export File To Import");
  if (choice.archive) {
    ArchiveWindow& window = *choice.window;
    attempt([&] { window.setProgressBar(0); });
    attempt([&] { window.configureUnzip({*choice.archive, folder, u"*.*"}); });
    result = runWindow(window, services);
  }
  choice.window.reset();
  if (result) attempt([&] { services.showMessage(u"Import of reports complete.", u"Import Reports"); });
  return result;
}

}  // namespace mervane
