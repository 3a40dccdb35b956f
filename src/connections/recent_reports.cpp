#include "connections/recent_reports.h"

#include <array>

#include "base/attempt.h"
#include "catalogue/catalogue_scan.h"

namespace mervane {

namespace {

constexpr int kMaxEntries = 10;

// The store's calls for this list; a failed read is an empty value and a
// failed write or delete is lost.
class RecentStore {
 public:
  RecentStore(const SessionSettings& session, Services& services) : root_(session.registryPath), services_(services) {}
  Text read(std::int64_t n) {
    Text value;
    attempt([&] { value = services_.settingsStore().read(root_, kRecentReportsSection, decimal(n), u""); });
    return value;
  }
  void write(std::int64_t n, const Text& value) {
    attempt([&] { services_.settingsStore().write(root_, kRecentReportsSection, decimal(n), value); });
  }
  void remove(std::int64_t n) {
    attempt([&] { services_.settingsStore().remove(root_, kRecentReportsSection, decimal(n)); });
  }
  void removeAll() {
    attempt([&] { services_.settingsStore().remove(root_, kRecentReportsSection, Text()); });
  }

 private:
  const Text& root_;
  Services& services_;
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

std::int16_t addRecentReport(const SessionSettings& session, Services& services, const Text& fileName,
                             const Text& reportTitle) {
  RecentStore store(session, services);
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

void listRecentReports(const SessionSettings& session, Services& services, ReportList* reports) {
  RecentStore store(session, services);
  ReportCollection favourites;
  listFavourites(session, services, &favourites, true);

  std::int64_t n = 1;
  for (;; ++n) {
    Text value = store.read(n);
    if (!isBlank(value) && !isPlaceholder(value)) {
      Text path = pathOf(value);
      if (!isBlank(path)) {
        std::unique_ptr<ReportItemRef> item;
        attempt([&] { if (reports) item = reports->add(titleOf(value), path, path); });
        if (item) {
          attempt([&] { item->setRegKey(decimal(n)); });
          if (favourites.find(bareName(path))) attempt([&] { item->setFavourite(true); });
        }
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

void removeRecentReport(const SessionSettings& session, Services& services, std::int16_t index) {
  if (index < 1 || index > kMaxEntries) return;
  RecentStore store(session, services);
  std::array<Text, kMaxEntries + 1> slots;
  for (int n = kMaxEntries; n >= index; --n) slots[n] = store.read(n);
  for (int n = kMaxEntries; n >= index; --n) store.remove(n);
  for (int n = kMaxEntries; n >= index + 1; --n)
    if (!isBlank(slots[n])) store.write(n - 1, slots[n]);
}

}  // namespace mervane
