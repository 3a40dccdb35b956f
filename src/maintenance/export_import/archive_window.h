// The archive progress window (frmExportImport) as export and import drive
// it: the caller loads it, chooses export or import, asks for the archive
// through one of its file dialogs, configures the run, shows it modally (the
// run starts when the window is first activated and the window hides itself
// when the run has ended) and reads how many files were processed.
#pragma once

#include <cstdint>
#include <optional>

#include "base/text.h"
#include "components/forgiving.h"

namespace mervane {

// A save or open dialog as the caller sets it up.
struct FileDialogSettings {
  Text defaultExtension;
  Text initialFolder;  // empty: the dialog's own default folder
  Text fileName;       // proposed name
  std::uint32_t flags = 0;
  Text filter;  // "description|pattern|description|pattern"
  std::int16_t filterIndex = 0;
  Text title;
};

// What the window runs when it is activated.
struct ZipRun {
  Text archivePath;
  Text fileList;  // patterns, each followed by "|"
  // Whether the archiver may ask for new disks; set for removable drives
  // only. Our archiver writes single files, so it never needs to.
  bool diskPrompts = false;
};

struct UnzipRun {
  Text archivePath;
  Text targetFolder;  // without trailing separator
  Text entries = u"*.*";
};

class ArchiveWindow {
 public:
  virtual ~ArchiveWindow() = default;

  // False: export (zip), true: import (unzip). False when loaded.
  virtual void setExpImp(bool import) = 0;
  // Files processed, as last reported by the running archiver; 0 when loaded.
  virtual std::int32_t files() = 0;

  // The user's personal documents folder, with this window as owner of any
  // dialog the shell shows; empty when it cannot be found.
  virtual Text personalFolder() = 0;
  // The chosen file, or nothing when the user cancelled or the dialog failed.
  virtual std::optional<Text> showSaveDialog(const FileDialogSettings& settings) = 0;
  virtual std::optional<Text> showOpenDialog(const FileDialogSettings& settings) = 0;

  virtual void setProgressBar(std::int32_t value) = 0;
  virtual void configureZip(const ZipRun& run) = 0;
  virtual const ZipRun& zip() const = 0;
  virtual void configureUnzip(const UnzipRun& run) = 0;
  // Whether a path (made absolute first) lies on a removable drive.
  virtual bool onRemovableDrive(const Text& path) = 0;

  // Runs the configured archiver and returns when the window has hidden.
  virtual void showModal() = 0;
};

// The window under the library's failure policy: each call is skipped when
// the window is missing or the call fails; a failed read gives nothing.
class ForgivingArchiveWindow : public ForgivingPart<ArchiveWindow> {
 public:
  explicit ForgivingArchiveWindow(const Maker<ArchiveWindow>& make) : ForgivingPart(make) {}

  bool setExpImp(bool import) noexcept { return step([&](ArchiveWindow& w) { w.setExpImp(import); }); }
  std::int32_t files() { return value(std::int32_t{0}, [](ArchiveWindow& w) { return w.files(); }); }
  std::optional<Text> personalFolder() {
    return value(std::optional<Text>(), [](ArchiveWindow& w) { return std::optional<Text>(w.personalFolder()); });
  }
  // The chosen file; nothing when the user cancelled or the dialog failed.
  std::optional<Text> showFileDialog(bool open, const FileDialogSettings& settings) {
    return value(std::optional<Text>(), [&](ArchiveWindow& w) {
      return open ? w.showOpenDialog(settings) : w.showSaveDialog(settings);
    });
  }
  void setProgressBar(std::int32_t percent) noexcept { step([&](ArchiveWindow& w) { w.setProgressBar(percent); }); }
  void configureZip(const ZipRun& run) noexcept { step([&](ArchiveWindow& w) { w.configureZip(run); }); }
  void configureUnzip(const UnzipRun& run) noexcept { step([&](ArchiveWindow& w) { w.configureUnzip(run); }); }
  // Lets the archiver ask for new disks when the configured archive lies on
  // a removable drive.
  void allowDiskPromptsOnRemovableDrive() noexcept {
    step([](ArchiveWindow& w) {
      ZipRun zip = w.zip();
      if (w.onRemovableDrive(zip.archivePath)) {
        zip.diskPrompts = true;
        w.configureZip(zip);
      }
    });
  }
  void showModal() noexcept { step([](ArchiveWindow& w) { w.showModal(); }); }
};

}  // namespace mervane
