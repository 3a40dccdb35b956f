#include "maintenance/export_import/export_import.h"

#include <optional>

#include "catalogue/report_kinds.h"
#include "components/forgiving_desktop.h"
#include "maintenance/export_import/archive_window.h"

namespace mervane {

namespace {

constexpr char16_t kFilter[] = u"Reports Export File (*.zip)|*.zip|All Files (*.*)|*.*";

// Overwrite prompt, no read-only box, the path must exist, long names.
constexpr std::uint32_t kSaveFlags = 0x200806;
// Overwrite prompt, no read-only box, the path and the file must exist.
constexpr std::uint32_t kOpenFlags = 0x1806;

// Asks for the archive. Gives the chosen file name: nothing when the window
// did not load, when the user cancelled, when the name is blank, or when any
// step up to the dialog failed. The name is kept exactly as given, blanks
// and all.
std::optional<Text> askForArchive(ForgivingArchiveWindow& window, bool import, std::uint32_t flags,
                                  const Text& title) {
  if (!window) return std::nullopt;
  bool failed = !window.setExpImp(import);

  FileDialogSettings dialog;
  dialog.defaultExtension = u"zip";
  const std::optional<Text> personal = window.personalFolder();
  failed |= !personal;
  if (personal) dialog.initialFolder = *personal;
  dialog.fileName = u"reports.zip";
  dialog.flags = flags;
  dialog.filter = kFilter;
  dialog.filterIndex = 0;
  dialog.title = title;
  std::optional<Text> answer = window.showFileDialog(import, dialog);
  if (failed || !answer || isBlank(*answer)) return std::nullopt;
  return answer;
}

// Shows the window until its run has ended and tells whether any file was
// processed.
bool runWindow(ForgivingArchiveWindow& window, Desktop& desktop) {
  window.showModal();
  ForgivingDesktop(desktop).processMessages();
  return window.files() > 0;
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

bool exportReports(const SessionSettings& session, const ArchivePorts& ports) {
  bool result = false;
  const Text folder = reportsFolder(session.path);
  {
    ForgivingArchiveWindow window(ports.window);
    if (std::optional<Text> archive = askForArchive(window, false, kSaveFlags, u"Specify Reports Export File")) {
      window.setProgressBar(0);
      window.configureZip({*archive, reportFileList(folder), false});
      // Only an archive on a removable drive may span disks.
      window.allowDiskPromptsOnRemovableDrive();
      result = runWindow(window, ports.desktop);
    }
  }  // the window unloads here
  if (result) ForgivingDesktop(ports.desktop).showMessage(u"Export of reports complete.", u"Export Reports");
  return result;
}

bool importReports(const SessionSettings& session, const ArchivePorts& ports) {
  bool result = false;
  const Text folder = reportsFolder(session.path);
  {
    ForgivingArchiveWindow window(ports.window);
    if (std::optional<Text> archive =
            askForArchive(window, true, kOpenFlags, u"Specify Reports Export File To Import")) {
      window.setProgressBar(0);
      window.configureUnzip({*archive, folder, u"*.*"});
      result = runWindow(window, ports.desktop);
    }
  }  // the window unloads here
  if (result) ForgivingDesktop(ports.desktop).showMessage(u"Import of reports complete.", u"Import Reports");
  return result;
}

}  // namespace mervane
