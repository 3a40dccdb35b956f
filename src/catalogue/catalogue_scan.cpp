#include "catalogue/catalogue_scan.h"

#include "catalogue/report_kinds.h"
#include "components/forgiving_desktop.h"
#include "components/forgiving_file_system.h"
#include "components/forgiving_host_readers.h"
#include "components/forgiving_report_engine.h"
#include "components/forgiving_settings_store.h"

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

void scanCatalogue(const SessionSettings& session, const ScanPorts& ports, ReportList* list) {
  const Text& root = session.registryPath;
  ForgivingSettingsStore store(ports.store);
  ForgivingDesktop desktop(ports.desktop);
  ForgivingReportList reports(list);

  // Setting up: the components live for this call only.
  ForgivingEngine engine(ports.engine);
  ForgivingLegacyReportService legacy(ports.legacyService);
  legacy.setProgramReports(store.read(root, u"Company", u"ProgramReports"));
  const Text prefix = legacyNamePrefix(session);
  ForgivingLegacyReportDefinition definition = legacy.reportDefinition();
  ForgivingReportPropertyReader propertyReader(ports.propertyReader);

  const Text folder = withoutTrailingBackslash(trim(session.path));
  const std::optional<std::vector<FileEntry>> listing = ForgivingFileSystem(ports.files).listFiles(folder);
  const std::vector<FileEntry> none;
  const std::vector<FileEntry>& files = listing ? *listing : none;
  const Text fileCount = decimal(static_cast<std::int64_t>(files.size()));

  ForgivingScanWindow window(ports.window);
  if (listing) {
    window.setMaximum(static_cast<std::int32_t>(files.size()));
    window.setValue(0);
    window.setLabel(u"Report 1 of " + fileCount);
  } else {
    window.setValue(0);
  }
  window.show();
  desktop.processMessages();

  std::int64_t counter = 1;
  for (const FileEntry& file : files) {
    ReportFamily family = classifyFileName(file.name);
    if (family != ReportFamily::None) {
      Text title;
      std::int32_t applicationData = 0;
      const Text stored = store.read(root, kReportsSection, file.fullPath);

      switch (family) {
        case ReportFamily::Crystal:
          if (isBlank(stored)) {
            ForgivingReport report = engine.openReport(session.path + file.name);
            title = report.title();
            applicationData = applicationDataFromText(report.applicationDataText());
            report.reset();
            store.write(root, kReportsSection, file.fullPath, StoredValue::compose(title, u'N', applicationData));
          } else {
            applicationData = StoredValue::applicationData(stored);
            if (auto t = StoredValue::title(stored)) title = *t;
          }
          break;
        case ReportFamily::VardoOlder:
          definition.setName(prefix + trim(file.name));
          definition.load();
          title = definition.title();
          applicationData = definition.applicationData();
          break;
        case ReportFamily::VardoNewer:
          title = propertyReader.title(file.fullPath);
          applicationData = numberOrZero(propertyReader.property(file.fullPath, u"AppSpecificData"));
          break;
        case ReportFamily::None:
          break;
      }

      ForgivingReportItem item = reports.add(title, file.name, file.name);
      item.setRegKey(file.fullPath);
      item.setReportType(kindText(family));
      item.setApplicationData(applicationData);
      item.setFavourite(false);
      if (!isBlank(stored) && StoredValue::isFavourite(stored)) item.setFavourite(true);
    }

    ++counter;
    window.advance();
    window.setLabel(u"Report " + decimal(counter) + u" of " + fileCount);
    desktop.processMessages();
  }

  window.close();
}

void listFavourites(const SessionSettings& session, SettingsStore& settings, ReportList* list, bool stripPath) {
  ForgivingReportList reports(list);
  const std::optional<std::vector<SettingsStore::Row>> rows =
      ForgivingSettingsStore(settings).readAll(session.registryPath, kReportsSection);
  if (!rows) return;
  for (const auto& [key, value] : *rows) {
    if (isBlank(value) || !StoredValue::isFavourite(value)) continue;
    Text title = *StoredValue::leadingTitle(value);
    Text file = key;
    if (stripPath) {
      std::size_t slash = file.rfind(u'\\');
      if (slash != Text::npos) file = file.substr(slash + 1);
    }
    ForgivingReportItem item = reports.add(title, file, file);
    item.setFavourite(true);
    item.setRegKey(Text());
  }
}

}  // namespace mervane
