// Fuzzes what the catalogue and the recent-reports list read back from the
// settings store: the stored per-report values, and a recent list in any
// state a host, an older release or a hand edit may have left it.
//
// The input is UTF-8 text, one row a line:
//   R<key>|<value>   a value of the "Reports" section (key: the file's path)
//   -                a number of the recent list left unused
//   anything else    the next number of the recent list
// A first line "!" makes every store call fail. The last recent line is also
// the report added to the list afterwards.
//
// Every operation runs on that store; none may throw. Afterwards the scan has
// stored a readable value for every report file it found without one, the
// repaired list holds at most ten entries, and an added report stands first.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "catalogue/catalogue_scan.h"
#include "connections/recent_reports.h"
#include "support/fake_services.h"

using namespace mervane;

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

std::vector<TextView> lines(TextView text) {
  std::vector<TextView> out;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find(u'\n', start);
    if (end == TextView::npos) end = text.size();
    out.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return out;
}

// The stored-value parts taken apart again give what was put together.
void checkComposition(TextView title, char16_t flag, std::int32_t data) {
  const Text value = StoredValue::compose(title, flag, data);
  check(StoredValue::title(value) == Text(title));
  check(StoredValue::applicationData(value) == data);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size > 4096) return 0;  // the store's rows are searched one by one
  const Text text = fromUtf8(std::string_view(reinterpret_cast<const char*>(bytes), size));
  testing::FakeServices services;
  SessionSettings session;
  session.registryPath = u"Fuzz";
  session.path = u"C:\\Reports\\";
  auto& folder = services.files.folders[u"C:\\Reports"];

  std::vector<TextView> rows = lines(text);
  bool failing = !rows.empty() && rows.front() == u"!";
  std::int64_t number = 0;
  Text lastRecent;
  for (std::size_t i = failing ? 1 : 0; i < rows.size(); ++i) {
    TextView row = rows[i];
    if (row.starts_with(u'R')) {
      std::size_t bar = row.find(u'|');
      Text key(row.substr(1, bar == TextView::npos ? TextView::npos : bar - 1));
      Text value(bar == TextView::npos ? TextView() : row.substr(bar + 1));
      StoredValue::applicationData(value);
      StoredValue::isFavourite(value);
      applicationDataFromText(value);
      if (auto title = StoredValue::title(value)) checkComposition(*title, u'Y', StoredValue::applicationData(value));
      services.store.sections[kReportsSection].push_back({key, value});
      std::size_t slash = key.rfind(u'\\');
      if (slash != Text::npos && key.substr(0, slash) == u"C:\\Reports") folder.push_back(key.substr(slash + 1));
    } else {
      ++number;
      if (row != u"-") services.store.sections[kRecentReportsSection].push_back({decimal(number), Text(row)});
      lastRecent = row;
    }
  }
  services.store.failing = failing;

  ReportCollection reports;
  scanCatalogue(session, services.scan(), &reports);
  listFavourites(session, services.store, &reports, true);
  listRecentReports(session, services.store, &reports);
  services.store.failing = false;
  if (!failing) {
    for (const Text& name : folder) {
      if (!name.ends_with(u".rpt")) continue;
      testing::FakeSettingsStore::Row* stored = services.store.find(kReportsSection, u"C:\\Reports\\" + name);
      check(stored && !isBlank(stored->second));
    }
    std::int64_t listed = 0;
    while (!services.store.read(u"", kRecentReportsSection, decimal(listed + 1), u"").empty()) ++listed;
    check(listed <= 10);
  }

  services.store.failing = failing;
  const std::int16_t index = static_cast<std::int16_t>(number % 13 - 1);
  removeRecentReport(session, services.store, index);
  const Text file = u"C:\\Reports\\" + lastRecent;
  addRecentReport(session, services.store, file, u"Added");
  services.store.failing = false;
  if (!failing) {
    // Either the report was added first, or it stood first already.
    const Text first = services.store.read(u"", kRecentReportsSection, u"1", u"");
    const std::size_t comma = first.find(u',');
    check(first == u"Added," + file || (comma == Text::npos ? first : first.substr(comma + 1)) == file);
  }
  return 0;
}
