// The report engine under the library's failure policy: the engine and every
// object it hands out (reports, their database and tables, sections, report
// objects) are held by wrappers whose calls are skipped when the object is
// missing or the call fails. A failed read gives an empty text, 0, an empty
// list or an empty wrapper.
#pragma once

#include <vector>

#include "components/forgiving.h"
#include "components/report_engine.h"

namespace mervane {

class ForgivingTable : public ForgivingPart<EngineTable, std::shared_ptr<EngineTable>> {
 public:
  explicit ForgivingTable(std::shared_ptr<EngineTable> table = nullptr) : ForgivingPart(std::move(table)) {}

  int databaseType() { return value(0, [](EngineTable& t) { return t.databaseType(); }); }
  Text logOnDatabaseName() { return value(Text(), [](EngineTable& t) { return t.logOnDatabaseName(); }); }
  Text location() { return value(Text(), [](EngineTable& t) { return t.location(); }); }
  bool setLogOnInfo(const DataSource& server, const Text& database, const Text& user, const Text& password) noexcept {
    return step([&](EngineTable& t) { t.setLogOnInfo(server, database, user, password); });
  }
  bool setTableLocation(const Text& location, const Text& subLocation, const DataSource& connectBuffer) noexcept {
    return step([&](EngineTable& t) { t.setTableLocation(location, subLocation, connectBuffer); });
  }
};

class ForgivingDatabase : public ForgivingPart<EngineDatabase, std::shared_ptr<EngineDatabase>> {
 public:
  explicit ForgivingDatabase(std::shared_ptr<EngineDatabase> database = nullptr)
      : ForgivingPart(std::move(database)) {}

  std::vector<ForgivingTable> tables() {
    std::vector<ForgivingTable> out;
    for (auto& table : value(std::vector<std::shared_ptr<EngineTable>>(), [](EngineDatabase& d) { return d.tables(); }))
      out.emplace_back(std::move(table));
    return out;
  }
  bool addOleDbSource(const DataSource& connection, const Text& table) noexcept {
    return step([&](EngineDatabase& d) { d.addOleDbSource(connection, table); });
  }
  bool logOnServerEx(const Text& driverFile, const Text& server, const Text& database, const Text& user,
                     const Text& password, const Text& serverType, const DataSource& connection) noexcept {
    return step([&](EngineDatabase& d) {
      d.logOnServerEx(driverFile, server, database, user, password, serverType, connection);
    });
  }
};

class ForgivingReportObject;

class ForgivingSection : public ForgivingPart<EngineSection, std::shared_ptr<EngineSection>> {
 public:
  explicit ForgivingSection(std::shared_ptr<EngineSection> section = nullptr) : ForgivingPart(std::move(section)) {}
  std::vector<ForgivingReportObject> reportObjects();
};

class ForgivingReport : public ForgivingPart<EngineReport, std::shared_ptr<EngineReport>> {
 public:
  explicit ForgivingReport(std::shared_ptr<EngineReport> report = nullptr) : ForgivingPart(std::move(report)) {}
  // Calls on a report the caller keeps, without taking it.
  static ForgivingReport borrowing(EngineReport* report) {
    return ForgivingReport(std::shared_ptr<EngineReport>(std::shared_ptr<void>(), report));
  }

  Text title() { return value(Text(), [](EngineReport& r) { return r.title(); }); }
  bool setTitle(const Text& title) noexcept { return step([&](EngineReport& r) { r.setTitle(title); }); }
  Text applicationDataText() { return value(Text(), [](EngineReport& r) { return r.applicationDataText(); }); }
  bool saveAs(const Text& path, int format) noexcept { return step([&](EngineReport& r) { r.saveAs(path, format); }); }
  ForgivingDatabase database() {
    return ForgivingDatabase(value(std::shared_ptr<EngineDatabase>(), [](EngineReport& r) { return r.database(); }));
  }
  std::vector<ForgivingSection> sections() {
    std::vector<ForgivingSection> out;
    for (auto& section :
         value(std::vector<std::shared_ptr<EngineSection>>(), [](EngineReport& r) { return r.sections(); }))
      out.emplace_back(std::move(section));
    return out;
  }
};

class ForgivingReportObject : public ForgivingPart<EngineReportObject, std::shared_ptr<EngineReportObject>> {
 public:
  explicit ForgivingReportObject(std::shared_ptr<EngineReportObject> object = nullptr)
      : ForgivingPart(std::move(object)) {}

  int kind() { return value(0, [](EngineReportObject& o) { return o.kind(); }); }
  ForgivingReport openSubreport() {
    return ForgivingReport(
        value(std::shared_ptr<EngineReport>(), [](EngineReportObject& o) { return o.openSubreport(); }));
  }
};

inline std::vector<ForgivingReportObject> ForgivingSection::reportObjects() {
  std::vector<ForgivingReportObject> out;
  for (auto& object :
       value(std::vector<std::shared_ptr<EngineReportObject>>(), [](EngineSection& s) { return s.reportObjects(); }))
    out.emplace_back(std::move(object));
  return out;
}

class ForgivingEngine : public ForgivingPart<EngineApplication> {
 public:
  explicit ForgivingEngine(const Maker<EngineApplication>& make) : ForgivingPart(make) {}

  // An empty wrapper when the file cannot be opened.
  ForgivingReport openReport(const Text& path, OpenMethod method = OpenMethod::Default) {
    return ForgivingReport(
        value(std::shared_ptr<EngineReport>(), [&](EngineApplication& e) { return e.openReport(path, method); }));
  }
  ForgivingReport newReport() {
    return ForgivingReport(value(std::shared_ptr<EngineReport>(), [](EngineApplication& e) { return e.newReport(); }));
  }
};

}  // namespace mervane
