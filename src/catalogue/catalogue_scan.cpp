#include "catalogue/catalogue_scan.h"

#include "base/attempt.h"
#include "catalogue/report_kinds.h"

namespace mervane {

namespace {

Text withoutTrailingBackslash(TextView text) {
  if (!text.empty() && text.back() == u'\\') text.remove_suffix(1);
  return Text(text);
}

bool isLegacyModule(TextView module) {
  Text m = upper(trim(module));
  return m == u"LAYOUTS" || m == u"LETTERS" || m == u"LABELS";
}

std::int32_t numberOrZero(TextView text) { return parseLong(text).value_or(0); }

}  // namespace

Text legacyNamePrefix(const SessionSettings& session) {
  if (isLegacyModule(session.module)) return Text();
  Text folder = withoutTrailingBackslash(session.path);
  std::size_t slash = folder.rfind(u'\\');
  Text last = slash == Text::npos ? folder : folder.substr(slash + 1);
  return last + u'\\';
}

void scanCatalogue(const SessionSettings& session, Services& services, ReportList* reports) {
  const Text& root = session.registryPath;

  // Setting up: the components live for this call only.
  std::unique_ptr<EngineApplication> engine;
  std::unique_ptr<LegacyReportService> legacy;
  std::unique_ptr<LegacyReportDefinition> definition;
  std::unique_ptr<ReportPropertyReader> propertyReader;
  attempt([&] { engine = services.createEngine(); });
  attempt([&] { legacy = services.createLegacyReportService(); });
  Text programReports;
  attempt([&] { programReports = services.settingsStore().read(root, u"Company", u"ProgramReports", u""); });
  attempt([&] { if (legacy) legacy->setProgramReports(programReports); });
  const Text prefix = legacyNamePrefix(session);
  attempt([&] { if (legacy) definition = legacy->reportDefinition(); });
  attempt([&] { propertyReader = services.createReportPropertyReader(); });

  const Text folder = withoutTrailingBackslash(trim(session.path));
  std::optional<std::vector<FileEntry>> files =
      attemptValue([&] { return services.fileSystem().listFiles(folder); });

  std::unique_ptr<ScanWindow> window;
  attempt([&] { window = services.loadScanWindow(); });
  auto onWindow = [&](auto&& step) { attempt([&] { if (window) step(*window); }); };
  if (files) {
    const Text count = decimal(static_cast<std::int64_t>(files->size()));
    onWindow([&](ScanWindow& w) { w.setMaximum(static_cast<std::int32_t>(files->size())); });
    onWindow([&](ScanWindow& w) { w.setValue(0); });
    onWindow([&](ScanWindow& w) { w.setLabel(u"Report 1 of " + count); });
  } else {
    onWindow([&](ScanWindow& w) { w.setValue(0); });
  }
  onWindow([&](ScanWindow& w) { w.show(); });
  attempt([&] { services.processMessages(); });

  std::int64_t counter = 1;
  const Text fileCount = files ? decimal(static_cast<std::int64_t>(files->size())) : Text();
  for (const FileEntry& file : files ? *files : std::vector<FileEntry>()) {
    ReportFamily family = classifyFileName(file.name);
    if (family != ReportFamily::None) {
      Text title;
      std::int32_t applicationData = 0;
      Text stored;
      attempt([&] { stored = services.settingsStore().read(root, kReportsSection, file.fullPath, u""); });

      switch (family) {
        case ReportFamily::Crystal:
          if (isBlank(stored)) {
            std::unique_ptr<EngineReport> report;
            attempt([&] { if (engine) report = engine->openReport(session.path + file.name); });
            attempt([&] { if (report) title = report->title(); });
            attempt([&] { if (report) applicationData = applicationDataFromText(report->applicationDataText()); });
            report.reset();
            attempt([&] {
              services.settingsStore().write(root, kReportsSection, file.fullPath,
                                             StoredValue::compose(title, u'N', applicationData));
            });
          } else {
            applicationData = StoredValue::applicationData(stored);
            if (auto t = StoredValue::title(stored)) title = *t;
          }
          break;
        case ReportFamily::VardoOlder:
          attempt([&] { if (definition) definition->setName(prefix + trim(file.name)); });
          attempt([&] { if (definition) definition->load(); });
          attempt([&] { if (definition) title = definition->title(); });
          attempt([&] { if (definition) applicationData = definition->applicationData(); });
          break;
        case ReportFamily::VardoNewer:
          attempt([&] { if (propertyReader) title = propertyReader->title(file.fullPath); });
          attempt([&] {
            if (propertyReader) applicationData = numberOrZero(propertyReader->property(file.fullPath, u"AppSpecificData"));
          });
          break;
        case ReportFamily::None:
          break;
      }

      std::unique_ptr<ReportItemRef> item;
      attempt([&] { if (reports) item = reports->add(title, file.name, file.name); });
      if (item) {
        const Text kind = kindText(family);
        attempt([&] { item->setRegKey(file.fullPath); });
        attempt([&] { item->setReportType(kind); });
        attempt([&] { item->setApplicationData(applicationData); });
        attempt([&] { item->setFavourite(false); });
        if (!isBlank(stored) && StoredValue::isFavourite(stored)) attempt([&] { item->setFavourite(true); });
      }
    }

    ++counter;
    onWindow([&](ScanWindow& w) { w.setValue(w.value() + 1); });
    onWindow([&](ScanWindow& w) { w.setLabel(u"Report " + decimal(counter) + u" of " + fileCount); });
    attempt([&] { services.processMessages(); });
  }

  onWindow([&](ScanWindow& w) { w.close(); });
}

void listFavourites(const SessionSettings& session, Services& services, ReportList* reports, bool stripPath) {
  std::vector<SettingsStore::Row> rows;
  if (!attempt([&] { rows = services.settingsStore().readAll(session.registryPath, kReportsSection); })) return;
  for (const auto& [key, value] : rows) {
    if (isBlank(value) || !StoredValue::isFavourite(value)) continue;
    Text title = *StoredValue::leadingTitle(value);
    Text file = key;
    if (stripPath) {
      std::size_t slash = file.rfind(u'\\');
      if (slash != Text::npos) file = file.substr(slash + 1);
    }
    std::unique_ptr<ReportItemRef> item;
    attempt([&] { if (reports) item = reports->add(title, file, file); });
    if (!item) continue;
    attempt([&] { item->setFavourite(true); });
    attempt([&] { item->setRegKey(Text()); });
  }
}

}  // namespace mervane
