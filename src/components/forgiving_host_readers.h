// The host's Vardo readers under the library's failure policy: each is held
// by a wrapper whose calls are skipped when the object is missing or the call
// fails. A failed read gives an empty text or 0.
#pragma once

#include "components/forgiving.h"
#include "components/host_readers.h"

namespace mervane {

class ForgivingLegacyReportDefinition : public ForgivingPart<LegacyReportDefinition> {
 public:
  explicit ForgivingLegacyReportDefinition(std::unique_ptr<LegacyReportDefinition> definition = nullptr)
      : ForgivingPart(std::move(definition)) {}

  bool setName(const Text& folderRelativeName) noexcept {
    return step([&](LegacyReportDefinition& d) { d.setName(folderRelativeName); });
  }
  bool load() noexcept { return step([](LegacyReportDefinition& d) { d.load(); }); }
  Text title() { return value(Text(), [](LegacyReportDefinition& d) { return d.title(); }); }
  std::int32_t applicationData() {
    return value(std::int32_t{0}, [](LegacyReportDefinition& d) { return d.applicationData(); });
  }
};

class ForgivingLegacyReportService : public ForgivingPart<LegacyReportService> {
 public:
  explicit ForgivingLegacyReportService(const Maker<LegacyReportService>& make) : ForgivingPart(make) {}

  bool setProgramReports(const Text& programReports) noexcept {
    return step([&](LegacyReportService& s) { s.setProgramReports(programReports); });
  }
  ForgivingLegacyReportDefinition reportDefinition() {
    return ForgivingLegacyReportDefinition(value(std::unique_ptr<LegacyReportDefinition>(),
                                                 [](LegacyReportService& s) { return s.reportDefinition(); }));
  }
};

class ForgivingReportPropertyReader : public ForgivingPart<ReportPropertyReader> {
 public:
  explicit ForgivingReportPropertyReader(const Maker<ReportPropertyReader>& make) : ForgivingPart(make) {}

  Text title(const Text& fullPath) {
    return value(Text(), [&](ReportPropertyReader& r) { return r.title(fullPath); });
  }
  Text property(const Text& fullPath, const Text& name) {
    return value(Text(), [&](ReportPropertyReader& r) { return r.property(fullPath, name); });
  }
};

}  // namespace mervane
