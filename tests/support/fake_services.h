// In-memory stand-ins for everything outside the core, for native tests of
// the operations: a settings store that keeps its sections in insertion
// order, a folder listing, an engine with scripted reports, the host's Vardo
// readers, and a progress window that records what it was told. FakeServices
// holds them all and hands each operation the ports it takes.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "authoring/details_dialog.h"
#include "authoring/designer_window.h"
#include "authoring/report_flows.h"
#include "catalogue/catalogue_scan.h"
#include "maintenance/copy/copy_report.h"
#include "maintenance/export_import/export_import.h"

namespace mervane::testing {

struct FakeSettingsStore : SettingsStore {
  // section -> ordered rows; the root is recorded but every test uses one.
  std::map<Text, std::vector<Row>> sections;
  bool failing = false;
  int reads = 0, writes = 0;
  // Calls of any kind so far; the one numbered failAt (from 1) fails alone.
  int calls = 0, failAt = 0;

  void fault() {
    ++calls;
    if (failing || calls == failAt) throw std::runtime_error("store");
  }

  Row* find(const Text& section, const Text& key) {
    for (Row& r : sections[section])
      if (r.first == key) return &r;
    return nullptr;
  }
  void remove(const Text&, const Text& section, const Text& key) override {
    fault();
    auto& rows = sections[section];
    if (key.empty()) rows.clear();
    std::erase_if(rows, [&](const Row& r) { return r.first == key; });
  }
  std::vector<Row> readAll(const Text&, const Text& section) override {
    fault();
    return sections[section];
  }
  Text read(const Text&, const Text& section, const Text& key, const Text& fallback) override {
    ++reads;
    fault();
    Row* r = find(section, key);
    return r ? r->second : fallback;
  }
  void write(const Text&, const Text& section, const Text& key, const Text& value) override {
    ++writes;
    fault();
    if (Row* r = find(section, key))
      r->second = value;
    else
      sections[section].push_back({key, value});
  }
  Text value(const Text& section, const Text& key) {
    Row* r = find(section, key);
    return r ? r->second : u"<none>";
  }
};

struct FakeReport : EngineReport {
  Text title_, text_;
  FakeReport(Text t, Text x) : title_(std::move(t)), text_(std::move(x)) {}
  Text title() override { return title_; }
  void setTitle(const Text& t) override { title_ = t; }
  Text applicationDataText() override { return text_; }
  void saveAs(const Text&, int) override {}
  std::shared_ptr<EngineDatabase> database() override { throw std::runtime_error("no database"); }
  std::vector<std::shared_ptr<EngineSection>> sections() override { return {}; }
};

struct FakeEngine : EngineApplication {
  std::map<Text, std::pair<Text, Text>> files;  // path -> title, text
  std::vector<Text>* opened;
  explicit FakeEngine(std::vector<Text>* log) : opened(log) {}
  std::unique_ptr<EngineReport> openReport(const Text& path, OpenMethod) override {
    opened->push_back(path);
    auto it = files.find(path);
    if (it == files.end()) return nullptr;
    return std::make_unique<FakeReport>(it->second.first, it->second.second);
  }
  std::unique_ptr<EngineReport> newReport() override { return std::make_unique<FakeReport>(Text(), Text()); }
};

struct FakeLegacy : LegacyReportService, LegacyReportDefinition {
  std::map<Text, std::pair<Text, std::int32_t>> reports;  // folder-relative name -> title, data
  std::vector<Text>* names;
  Text programReports, current;
  bool loaded = false;
  explicit FakeLegacy(std::vector<Text>* log) : names(log) {}
  void setProgramReports(const Text& v) override { programReports = v; }
  std::unique_ptr<LegacyReportDefinition> reportDefinition() override;
  void setName(const Text& n) override {
    names->push_back(n);
    current = n;
  }
  void load() override {
    if (!reports.count(current)) throw std::runtime_error("no such report");
  }
  Text title() override { return reports.at(current).first; }
  std::int32_t applicationData() override { return reports.at(current).second; }
};

// The definition object handed out by the service: forwards to it.
struct LegacyDefinitionRef : LegacyReportDefinition {
  FakeLegacy& s;
  explicit LegacyDefinitionRef(FakeLegacy& l) : s(l) {}
  void setName(const Text& n) override { s.setName(n); }
  void load() override { s.load(); }
  Text title() override { return s.title(); }
  std::int32_t applicationData() override { return s.applicationData(); }
};
inline std::unique_ptr<LegacyReportDefinition> FakeLegacy::reportDefinition() {
  return std::make_unique<LegacyDefinitionRef>(*this);
}

struct FakePropertyReader : ReportPropertyReader {
  std::map<Text, std::pair<Text, Text>> files;  // full path -> title, AppSpecificData
  Text title(const Text& p) override { return files.at(p).first; }
  Text property(const Text& p, const Text& name) override {
    if (name != u"AppSpecificData") throw std::runtime_error("property");
    return files.at(p).second;
  }
};

struct WindowLog {
  std::vector<std::string> calls;
  std::int32_t maximum = 100, value = 0;
  Text label = u"Report 1 of 1";
  bool shown = false, closed = false;
};

struct FakeScanWindow : ScanWindow {
  WindowLog& log;
  explicit FakeScanWindow(WindowLog& l) : log(l) {}
  void setMaximum(std::int32_t m) override { log.maximum = m; }
  void setValue(std::int32_t v) override { log.value = v; }
  std::int32_t value() override { return log.value; }
  void setLabel(const Text& t) override { log.label = t; }
  void show() override { log.shown = true; }
  void close() override { log.closed = true; }
};

struct FakeFileSystem : FileSystem {
  std::map<Text, std::vector<Text>> folders;  // folder -> names in listing order
  std::vector<FileEntry> listFiles(const Text& folder) override {
    auto it = folders.find(folder);
    if (it == folders.end()) throw std::runtime_error("no folder");
    std::vector<FileEntry> out;
    for (const Text& n : it->second) out.push_back({n, folder + u"\\" + n});
    return out;
  }
  bool fileExists(const Text&) override { return false; }
  bool folderExists(const Text& p) override { return folders.count(p) > 0; }
  void createFolder(const Text& p) override { folders[p]; }
  void moveFile(const Text&, const Text&) override { throw std::runtime_error("move"); }
  void copyFile(const Text&, const Text&) override { throw std::runtime_error("copy"); }
};

// Each maker may be scripted to fail; forms not scripted by a test fail to
// load, and a message box fails to show.
struct FakeServices : Desktop {
  FakeSettingsStore store;
  FakeFileSystem files;
  std::vector<Text> opened, legacyNames;
  FakeEngine engineTemplate{&opened};
  FakeLegacy legacyTemplate{&legacyNames};
  FakePropertyReader readerTemplate;
  WindowLog window;
  bool noEngine = false, noLegacy = false, noReader = false;
  int messagePumps = 0;

  virtual FileSystem& fileSystem() { return files; }
  virtual std::unique_ptr<EngineApplication> createEngine() {
    if (noEngine) throw std::runtime_error("engine");
    auto e = std::make_unique<FakeEngine>(&opened);
    e->files = engineTemplate.files;
    return e;
  }
  std::unique_ptr<LegacyReportService> createLegacyReportService() {
    if (noLegacy) throw std::runtime_error("legacy");
    auto l = std::make_unique<FakeLegacy>(&legacyNames);
    l->reports = legacyTemplate.reports;
    return l;
  }
  std::unique_ptr<ReportPropertyReader> createReportPropertyReader() {
    if (noReader) throw std::runtime_error("reader");
    return std::make_unique<FakePropertyReader>(readerTemplate);
  }
  virtual std::unique_ptr<DetailsDialog> loadDetailsDialog() { throw std::runtime_error("no details dialog"); }
  virtual std::unique_ptr<ArchiveWindow> loadArchiveWindow() { throw std::runtime_error("no archive window"); }
  virtual std::unique_ptr<DesignerWindow> loadDesignerWindow() { throw std::runtime_error("no designer window"); }

  void processMessages() override { ++messagePumps; }
  void setBusyPointer(bool) override {}
  void showMessage(const Text&, const Text&) override { throw std::runtime_error("no message box"); }

  ScanPorts scan() {
    return {store,
            fileSystem(),
            [this] { return createEngine(); },
            [this] { return createLegacyReportService(); },
            [this] { return createReportPropertyReader(); },
            [this] { return std::unique_ptr<ScanWindow>(std::make_unique<FakeScanWindow>(window)); },
            *this};
  }
  CopyPorts copy() {
    return {store, fileSystem(), [this] { return createEngine(); }, [this] { return loadDetailsDialog(); }, *this};
  }
  ArchivePorts archive() {
    return {[this] { return loadArchiveWindow(); }, *this};
  }
  DesignerPorts designer() {
    return {store, [this] { return loadDesignerWindow(); }, *this};
  }
};

}  // namespace mervane::testing
