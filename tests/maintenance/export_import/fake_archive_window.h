// An archive window for native tests of export and import: answers its
// dialogs from a script, pretends to run by reporting a file count, and
// writes every call into a shared log so tests can check the order.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "../../support/fake_services.h"
#include "maintenance/export_import/archive_window.h"

namespace mervane::testing {

struct ArchiveScript {
  std::optional<Text> answer = u"D:\\Backups\\reports.zip";  // nothing: Cancel
  Text personalFolder = u"C:\\Users\\ann\\Documents";
  bool personalFolderFails = false;
  bool removable = false;
  std::int32_t filesAfterRun = 3;

  // What the window was told.
  std::vector<std::string> log;
  std::optional<bool> expImp;
  FileDialogSettings dialog;
  ZipRun zip;
  UnzipRun unzip;
  Text driveTested;
};

struct FakeArchiveWindow : ArchiveWindow {
  ArchiveScript& s;
  std::int32_t files_ = 0;
  explicit FakeArchiveWindow(ArchiveScript& script) : s(script) { s.log.push_back("load"); }
  ~FakeArchiveWindow() override { s.log.push_back("unload"); }

  void setExpImp(bool import) override { s.expImp = import; }
  std::int32_t files() override { return files_; }
  Text personalFolder() override {
    if (s.personalFolderFails) throw std::runtime_error("shell");
    return s.personalFolder;
  }
  std::optional<Text> showSaveDialog(const FileDialogSettings& d) override { return dialog("save", d); }
  std::optional<Text> showOpenDialog(const FileDialogSettings& d) override { return dialog("open", d); }
  void setProgressBar(std::int32_t v) override { s.log.push_back("bar " + std::to_string(v)); }
  void configureZip(const ZipRun& run) override {
    s.zip = run;
    s.log.push_back(run.diskPrompts ? "zip with disk prompts" : "zip");
  }
  const ZipRun& zip() const override { return s.zip; }
  void configureUnzip(const UnzipRun& run) override {
    s.unzip = run;
    s.log.push_back("unzip");
  }
  bool onRemovableDrive(const Text& path) override {
    s.driveTested = path;
    return s.removable;
  }
  void showModal() override {
    s.log.push_back("show");
    files_ = s.filesAfterRun;
  }

 private:
  std::optional<Text> dialog(const char* kind, const FileDialogSettings& d) {
    s.dialog = d;
    s.log.push_back(kind);
    return s.answer;
  }
};

struct ArchiveServices : FakeServices {
  ArchiveScript script;
  std::vector<std::pair<Text, Text>> messages;  // text, title
  bool noWindow = false;

  std::unique_ptr<ArchiveWindow> loadArchiveWindow() override {
    if (noWindow) throw std::runtime_error("no window");
    return std::make_unique<FakeArchiveWindow>(script);
  }
  void showMessage(const Text& text, const Text& title) override {
    script.log.push_back("message");
    messages.push_back({text, title});
  }
  void processMessages() override {
    FakeServices::processMessages();
    script.log.push_back("pump");
  }
};

}  // namespace mervane::testing
