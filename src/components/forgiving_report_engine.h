// The report engine under the library's failure policy: the engine and each
// report it opens are held by wrappers whose calls are skipped when the
// object is missing or the call fails. A failed read gives an empty text.
#pragma once

#include "components/forgiving.h"
#include "components/report_engine.h"

namespace mervane {

class ForgivingReport : public ForgivingPart<EngineReport> {
 public:
  explicit ForgivingReport(std::unique_ptr<EngineReport> report = nullptr) : ForgivingPart(std::move(report)) {}

  Text title() { return value(Text(), [](EngineReport& r) { return r.title(); }); }
  bool setTitle(const Text& title) noexcept { return step([&](EngineReport& r) { r.setTitle(title); }); }
  Text applicationDataText() { return value(Text(), [](EngineReport& r) { return r.applicationDataText(); }); }
  bool saveAs(const Text& path, int format) noexcept { return step([&](EngineReport& r) { r.saveAs(path, format); }); }
};

class ForgivingEngine : public ForgivingPart<EngineApplication> {
 public:
  explicit ForgivingEngine(const Maker<EngineApplication>& make) : ForgivingPart(make) {}

  // An empty wrapper when the file cannot be opened.
  ForgivingReport openReport(const Text& path, OpenMethod method = OpenMethod::Default) {
    return ForgivingReport(
        value(std::unique_ptr<EngineReport>(), [&](EngineApplication& e) { return e.openReport(path, method); }));
  }
};

}  // namespace mervane
