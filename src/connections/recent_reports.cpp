#include "connections/recent_reports.h"

#include <array>

#include "catalogue/catalogue_scan.h"
#include "components/forgiving_settings_store.h"

namespace mervane {

namespace {

constexpr int kMaxEntries = 10;

// The store's calls for this list; a failed read is an empty value and a
// failed write or delete is lost.
class RecentStore {
 public:
  RecentStore(const SessionSettings& session, SettingsStore& store) : root_(session.registryPath), store_(store) {}
  Text read(std::int64_t n) { return store_.read(root_, kRecentReportsSection, decimal(n)); }
  void write(std::int64_t n, const Text& value) { store_.write(root_, kRecentReportsSection, decimal(n), value); }
  void remove(std::int64_t n) { store_.remove(root_, kRecentReportsSection, decimal(n)); }
  void removeAll() { store_.remove(root_, kRecentReportsSection, Text()); }

 private:
  const Text& root_;
  ForgivingSettingsStore store_;
};

// The file path of an entry: the text after its first comma, or the whole
// text when it has none.
Text pathOf(const Text& value) {
  std::size_t comma = value.find(u',');
  return comma == Text::npos ? value : value.substr(comma + 1);
}

Text titleOf(const Text& value) {
  std::size_t comma = value.find(u',');
  return comma == Text::npos ? Text() : value.substr(0, comma);
}

Text bareName(const Text& path) {
  std::size_t slash = path.rfind(u'\\');
  return slash == Text::npos ? path : path.substr(slash + 1);
}

bool isPlaceholder(const Text& value) { return upper(trim(value)) == u"DELETED"; }

}  // namespace

std::int16_t addRecentReport(const SessionSettings& session, SettingsStore& settings, const Text& fileName,
                             const Text& reportTitle) {
  RecentStore store(session, settings);
  // Entry numbers are 16-bit here: the scan cannot go past 32767.
  std::int32_t n = 1;
  bool found = false;
  for (;; ++n) {
    Text value = store.read(n);
    found = !isBlank(value) && pathOf(value) == fileName;
    if (found || value.empty() || n == INT16_MAX) break;
  }
  if (found && n == 1) return 0;

  const std::int32_t m = n < kMaxEntries ? n : kMaxEntries;
  std::array<Text, kMaxEntries + 1> values;
  for (std::int32_t j = 1; j <= m; ++j) values[j] = store.read(j);
  for (std::int32_t j = 1; j <= m; ++j) store.remove(j);
  for (std::int32_t j = 1; j <= m - 1; ++j)
    if (!isBlank(values[j])) store.write(j + 1, values[j]);
  store.write(1, reportTitle + u"," + fileName);
  return 1;
}

void listRecentReports(const SessionSettings& session, SettingsStore& settings, ReportList* list) {
  ForgivingReportList reports(list);
  RecentStore store(session, settings);
  ReportCollection favourites;
  listFavourites(session, settings, &favourites, true);

  std::int64_t n = 1;
  for (;; ++n) {
    Text value = store.read(n);
    if (!isBlank(value) && !isPlaceholder(value)) {
      Text path = pathOf(value);
      if (!isBlank(path)) {
        ForgivingReportItem item = reports.add(titleOf(value), path, path);
        item.setRegKey(decimal(n));
        if (item && favourites.find(bareName(path))) item.setFavourite(true);
      }
    }
    if (value.empty() || n == INT32_MAX) break;
  }

  const std::int64_t count = n - 1;
  if (count > kMaxEntries) {
    std::array<Text, kMaxEntries + 1> slots;
    for (int j = 1; j <= kMaxEntries; ++j) slots[j] = store.read(count - j + 1);
    store.removeAll();
    for (int j = 1; j <= kMaxEntries; ++j)
      if (!isBlank(slots[j])) store.write(j, slots[j]);
  }
}

void removeRecentReport(const SessionSettings& session, SettingsStore& settings, std::int16_t index) {
  if (index < 1 || index > kMaxEntries) return;
  RecentStore store(session, settings);
  std::array<Text, kMaxEntries + 1> slots;
  for (int n = kMaxEntries; n >= index; --n) slots[n] = store.read(n);
  for (int n = kMaxEntries; n >= index; --n) store.remove(n);
  for (int n = kMaxEntries; n >= index + 1; --n)
    if (!isBlank(slots[n])) store.write(n - 1, slots[n]);
}

}  // namespace mervane
