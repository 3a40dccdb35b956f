// A scripted report details dialog and services that hand it out, for native
// tests of the operations that drive the dialog. The dialog records every
// call in order; its "user" answers the modal show by filling the boxes and
// choosing OK or Cancel. The engine records what it saves and the file
// system what it copies.
#pragma once

#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "authoring/details_dialog.h"
#include "../../support/fake_services.h"

namespace mervane::testing {

struct DialogScript {
  std::vector<std::string> calls;
  Text appName, repPath, fileName, title;
  std::int32_t repType = -1;
  bool titleDisabled = false, ok = false;
  bool unloaded = false;
  // What the user does while the dialog is shown.
  std::function<void(DialogScript&)> user;
};

struct FakeDetailsDialog : DetailsDialog {
  DialogScript& s;
  explicit FakeDetailsDialog(DialogScript& script) : s(script) { note("load"); }
  ~FakeDetailsDialog() override {
    note("unload");
    s.unloaded = true;
  }
  void note(const char* call) { s.calls.push_back(call); }
  void setAppName(const Text& v) override { note("AppName"), s.appName = v; }
  void setRepPath(const Text& v) override { note("RepPath"), s.repPath = v; }
  void setRepType(std::int32_t v) override { note("RepType"), s.repType = v; }
  void setTitle(const Text& v) override { note("setTitle"), s.title = v; }
  void disableTitle() override { note("disableTitle"), s.titleDisabled = true; }
  void showModal() override {
    note("show");
    if (s.user) s.user(s);
  }
  bool okSelected() override { return note("OkSelected"), s.ok; }
  Text fileName() override { return note("fileName"), s.fileName; }
  Text title() override { return note("title"), s.title; }
};

struct SavedCopy {
  Text source, path, title;
  int format;
};

// A report whose saves are recorded, with the title it had at that moment.
struct SavingReport : FakeReport {
  Text source;
  std::vector<SavedCopy>* saves;
  bool failSave;
  SavingReport(Text path, std::pair<Text, Text> file, std::vector<SavedCopy>* log, bool fail)
      : FakeReport(file.first, file.second), source(std::move(path)), saves(log), failSave(fail) {}
  void saveAs(const Text& path, int format) override {
    if (failSave) throw std::runtime_error("save");
    saves->push_back({source, path, title_, format});
  }
};

struct SavingEngine : EngineApplication {
  std::map<Text, std::pair<Text, Text>> files;  // path -> title, application-data text
  std::vector<SavedCopy>* saves;
  std::vector<Text>* opened;
  std::vector<std::string>* log;  // notes when the engine is let go
  bool failSave;
  ~SavingEngine() override { log->push_back("release engine"); }
  std::unique_ptr<EngineReport> openReport(const Text& path, OpenMethod method) override {
    if (method != OpenMethod::Default) throw std::logic_error("unexpected open method");
    opened->push_back(path);
    auto it = files.find(path);
    if (it == files.end()) return nullptr;
    return std::make_unique<SavingReport>(path, it->second, saves, failSave);
  }
  std::unique_ptr<EngineReport> newReport() override { throw std::logic_error("unexpected new report"); }
};

// Copies that refuse to overwrite, as the real file system does.
struct CopyingFiles : FakeFileSystem {
  std::set<Text> present;
  std::vector<std::pair<Text, Text>> copies;
  void copyFile(const Text& from, const Text& to) override {
    if (!present.count(from) || present.count(to)) throw std::runtime_error("copy");
    present.insert(to);
    copies.push_back({from, to});
  }
};

struct DialogServices : FakeServices {
  DialogScript dialog;
  CopyingFiles copying;
  std::map<Text, std::pair<Text, Text>> reports;  // the engine's report files
  std::vector<SavedCopy> saves;
  int enginesMade = 0;
  bool noDialog = false, failSave = false;

  FileSystem& fileSystem() override { return copying; }
  std::unique_ptr<EngineApplication> createEngine() override {
    ++enginesMade;
    if (noEngine) throw std::runtime_error("engine");
    auto e = std::make_unique<SavingEngine>();
    e->files = reports;
    e->saves = &saves;
    e->opened = &opened;
    e->log = &dialog.calls;
    e->failSave = failSave;
    return e;
  }
  std::unique_ptr<DetailsDialog> loadDetailsDialog() override {
    if (noDialog) throw std::runtime_error("dialog");
    return std::make_unique<FakeDetailsDialog>(dialog);
  }
  void processMessages() override {
    dialog.calls.push_back("processMessages");
    ++messagePumps;
  }
};

// The user types a file name (and perhaps a title) and presses OK, as the
// dialog would leave the boxes once its checks pass.
inline std::function<void(DialogScript&)> confirms(Text fileName, std::optional<Text> title = std::nullopt) {
  return [=](DialogScript& s) {
    s.fileName = fileName;
    if (title) s.title = *title;
    s.ok = true;
  };
}

}  // namespace mervane::testing
