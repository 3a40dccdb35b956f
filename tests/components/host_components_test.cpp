// The library's adapters to the host's components, driven against the
// registered MervaneHost.dll as the library drives them: the thread's
// settings store (checked against the registry itself), the read-all table
// in every shape a host may answer, and the Vardo readers on the shipped
// examples and on damaged files.
#include <windows.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <thread>

#include "base/win/com.h"
#include "components/win/host_components.h"

namespace mervane {
namespace {

namespace fs = std::filesystem;

const Text kRoot = u"Mervane Adapter Test";
const std::wstring kRootKey = L"Software\\VB and VBA Program Settings\\Mervane Adapter Test";

class ComEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    CoInitialize(nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, kRootKey.c_str());
  }
  void TearDown() override {
    RegDeleteTreeW(HKEY_CURRENT_USER, kRootKey.c_str());
    CoUninitialize();
  }
};
const auto* const kEnv = ::testing::AddGlobalTestEnvironment(new ComEnvironment);

// The examples folder (a Unix path) as the Wine prefix's Z: drive shows it.
std::wstring examplesFolder() {
  std::string unix = MERVANE_VARDO_EXAMPLES;
  std::replace(unix.begin(), unix.end(), '/', '\\');
  return L"Z:" + std::wstring(unix.begin(), unix.end());
}
Text text(const std::wstring& w) { return Text(w.begin(), w.end()); }

struct RegistryValue {
  LONG status = ERROR_FILE_NOT_FOUND;
  DWORD type = 0;
  std::wstring text;
};

RegistryValue registryValue(const std::wstring& section, const std::wstring& name) {
  RegistryValue out;
  HKEY key = nullptr;
  out.status = RegOpenKeyExW(HKEY_CURRENT_USER, (kRootKey + L"\\" + section).c_str(), 0, KEY_QUERY_VALUE, &key);
  if (out.status != ERROR_SUCCESS) return out;
  DWORD size = 0;
  out.status = RegQueryValueExW(key, name.c_str(), nullptr, &out.type, nullptr, &size);
  if (out.status == ERROR_SUCCESS) {
    out.text.resize(size / sizeof(wchar_t));
    out.status = RegQueryValueExW(key, name.c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(out.text.data()), &size);
    if (!out.text.empty() && out.text.back() == L'\0') out.text.pop_back();
  }
  RegCloseKey(key);
  return out;
}

bool sectionExists(const std::wstring& section) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, (kRootKey + L"\\" + section).c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
    return false;
  RegCloseKey(key);
  return true;
}

std::vector<SettingsStore::Row> sorted(std::vector<SettingsStore::Row> rows) {
  std::sort(rows.begin(), rows.end());
  return rows;
}

TEST(HostSettingsStore, KeepsExactTextsAsProgramSettingsInTheRegistry) {
  SettingsStore& store = threadSettingsStore();
  EXPECT_EQ(&store, &threadSettingsStore());  // one per thread

  const Text path = u"C:\\Data\\Reports\\Sales.rpt";
  store.write(kRoot, u"Reports", path, u"Monthly sales;N;0");
  RegistryValue v = registryValue(L"Reports", L"C:\\Data\\Reports\\Sales.rpt");
  EXPECT_EQ(v.status, ERROR_SUCCESS);
  EXPECT_EQ(v.type, static_cast<DWORD>(REG_SZ));
  EXPECT_EQ(v.text, L"Monthly sales;N;0");
  EXPECT_EQ(store.read(kRoot, u"Reports", path, u"default"), u"Monthly sales;N;0");
  EXPECT_EQ(store.read(kRoot, u"Reports", u"C:\\other.rpt", u"default"), u"default");
  EXPECT_EQ(store.read(kRoot, u"No Such Section", path, u""), u"");

  // Replaced, emptied, texts with separators, accents, surrounding blanks.
  for (const Text& value : {Text(u"Profit;loss;Y;4"), Text(u""), Text(u"  Ventes été – 2024  "), Text(u"Monthly,C:\\R\\a.rpt")}) {
    store.write(kRoot, u"Reports", path, value);
    EXPECT_EQ(store.read(kRoot, u"Reports", path, u"default"), value);
  }

  // A megabyte-long value round-trips whole.
  Text big(1 << 20, u'x');
  for (std::size_t i = 0; i < big.size(); i += 4096) big[i] = u';';
  big.back() = u'é';
  store.write(kRoot, u"Big", u"value", big);
  EXPECT_EQ(store.read(kRoot, u"Big", u"value", u""), big);
  auto rows = store.readAll(kRoot, u"Big");
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].second, big);

  // Read all: every row, whatever the key; none for a section without values.
  using Rows = std::vector<SettingsStore::Row>;
  EXPECT_TRUE(store.readAll(kRoot, u"Favourites").empty());
  store.write(kRoot, u"Favourites", u"C:\\R\\a.rpt", u"Sales;Y;0");
  store.write(kRoot, u"Favourites", u"\\\\server\\share\\c.report", u"Stock;Y;21");
  EXPECT_EQ(sorted(store.readAll(kRoot, u"Favourites")),
            (Rows{{u"C:\\R\\a.rpt", u"Sales;Y;0"}, {u"\\\\server\\share\\c.report", u"Stock;Y;21"}}));
  for (const auto& [key, value] : store.readAll(kRoot, u"Favourites")) store.remove(kRoot, u"Favourites", key);
  EXPECT_TRUE(sectionExists(L"Favourites"));
  EXPECT_TRUE(store.readAll(kRoot, u"Favourites").empty());

  // One key, then the whole section; deleting what is not there is harmless.
  store.write(kRoot, u"Reports", u"C:\\Data\\Reports\\Costs.rpt", u"Costs;N;0");
  store.remove(kRoot, u"Reports", path);
  EXPECT_EQ(registryValue(L"Reports", L"C:\\Data\\Reports\\Sales.rpt").status, ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(store.read(kRoot, u"Reports", u"C:\\Data\\Reports\\Costs.rpt", u""), u"Costs;N;0");
  EXPECT_NO_THROW(store.remove(kRoot, u"Reports", path));
  EXPECT_NO_THROW(store.remove(kRoot, u"No Such Section", u"k"));
  store.remove(kRoot, u"Reports", u"");
  EXPECT_FALSE(sectionExists(L"Reports"));
  EXPECT_NO_THROW(store.remove(kRoot, u"Reports", u""));
}

TEST(HostSettingsStore, FailuresThrowAndEveryThreadHasItsOwnStore) {
  SettingsStore& store = threadSettingsStore();
  store.write(kRoot, u"Shared", u"k", u"from the first thread");
  EXPECT_ANY_THROW(store.write(u"", u"Shared", u"k", u"v"));
  EXPECT_ANY_THROW(store.read(kRoot, u"", u"k", u""));
  EXPECT_ANY_THROW(store.write(kRoot, u"Shared", u"", u"v"));

  SettingsStore* other = nullptr;
  bool threwBeforeCom = false;
  Text seen;
  std::thread([&] {
    try {
      threadSettingsStore();  // this thread has not entered COM yet
    } catch (const std::exception&) {
      threwBeforeCom = true;
    }
    CoInitialize(nullptr);
    other = &threadSettingsStore();  // a failure is not remembered
    seen = other->read(kRoot, u"Shared", u"k", u"");
    CoUninitialize();
  }).join();
  EXPECT_TRUE(threwBeforeCom);
  EXPECT_NE(other, &store);
  EXPECT_EQ(seen, u"from the first thread");
}

// A two-dimensional SAFEARRAY with the given bounds, filled by cell(row, column).
template <class Fill>
VARIANT makeTable(VARTYPE element, LONG rowLow, ULONG rows, LONG columnLow, ULONG columns, Fill cell) {
  SAFEARRAYBOUND bounds[2] = {{rows, rowLow}, {columns, columnLow}};
  SAFEARRAY* table = SafeArrayCreate(element, 2, bounds);
  for (LONG r = rowLow; r < rowLow + static_cast<LONG>(rows); ++r)
    for (LONG c = columnLow; c < columnLow + static_cast<LONG>(columns); ++c) {
      LONG index[2] = {r, c};
      win::Variant value;
      cell(r, c, value.get());
      SafeArrayPutElement(table, index, element == VT_BSTR ? static_cast<void*>(V_BSTR(value.get())) : value.get());
    }
  VARIANT v;
  VariantInit(&v);
  V_VT(&v) = static_cast<VARTYPE>(VT_ARRAY | element);
  V_ARRAY(&v) = table;
  return v;
}

void putText(VARIANT* v, const std::wstring& s) {
  V_VT(v) = VT_BSTR;
  V_BSTR(v) = SysAllocString(s.c_str());
}

TEST(SettingsRows, TakesTheFirstTwoColumnsOfAnyBoundsAndCellType) {
  using Rows = std::vector<SettingsStore::Row>;
  VARIANT empty;
  VariantInit(&empty);
  EXPECT_TRUE(settingsRows(empty).empty());

  // Rows 1..2, columns 5..7 of variants: numbers and Empty become text.
  VARIANT table = makeTable(VT_VARIANT, 1, 2, 5, 3, [](LONG r, LONG c, VARIANT* v) {
    if (c == 5) putText(v, L"key" + std::to_wstring(r));
    else if (c == 6 && r == 1) { V_VT(v) = VT_I4; V_I4(v) = 42; }
    else if (c == 7) putText(v, L"ignored");
  });
  EXPECT_EQ(settingsRows(table), (Rows{{u"key1", u"42"}, {u"key2", u""}}));
  VariantClear(&table);

  VARIANT strings = makeTable(VT_BSTR, -3, 1, 0, 2, [](LONG, LONG c, VARIANT* v) { putText(v, c ? L"value" : L"key"); });
  EXPECT_EQ(settingsRows(strings), (Rows{{u"key", u"value"}}));
  VariantClear(&strings);

  // A single column is not a table of settings.
  VARIANT oneColumn = makeTable(VT_VARIANT, 0, 1, 0, 1, [](LONG, LONG, VARIANT* v) { putText(v, L"k"); });
  EXPECT_ANY_THROW(settingsRows(oneColumn));
  VariantClear(&oneColumn);
}

TEST(HostLegacyReportService, ReadsOlderReportsNamedRelativeToProgramReports) {
  fs::path parent = fs::path(examplesFolder()).parent_path();
  auto service = createLegacyReportService();
  // Folders separated by ";": the first that holds the file wins.
  service->setProgramReports(u"Z:\\no such folder ; " + text(parent.wstring()));
  auto definition = service->reportDefinition();

  definition->setName(u"reports\\SALES.SRT");
  definition->load();
  EXPECT_EQ(definition->title(), u"Ventes mensuelles par région");
  EXPECT_EQ(definition->applicationData(), 12);

  // The same object serves one report after another; names are trimmed.
  definition->setName(u"  reports\\REMINDER.SLT ");
  definition->load();
  EXPECT_EQ(definition->title(), u"Zahlungserinnerung – 1. Mahnung");
  EXPECT_EQ(definition->applicationData(), 41);

  definition->setName(text(examplesFolder()) + u"\\INVOICE.SLY");  // absolute names as they are
  definition->load();
  EXPECT_EQ(definition->title(), u"Invoice layout – A4 with logo");
  EXPECT_EQ(definition->applicationData(), 3);

  definition->setName(u"reports\\MISSING.SRT");
  EXPECT_ANY_THROW(definition->load());
  EXPECT_EQ(definition->title(), u"");
  EXPECT_EQ(definition->applicationData(), 0);

  // Without a setting, names are taken from the current directory.
  wchar_t saved[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, saved);
  SetCurrentDirectoryW(parent.wstring().c_str());
  auto plain = createLegacyReportService();
  plain->setProgramReports(u"");
  auto other = plain->reportDefinition();
  other->setName(u"reports\\SALES.SRT");
  other->load();
  SetCurrentDirectoryW(saved);
  EXPECT_EQ(other->applicationData(), 12);
}

TEST(HostReportPropertyReader, ReadsNewerReportsByFullPath) {
  auto reader = createReportPropertyReader();
  struct Example {
    const wchar_t* file;
    Text title, data;
  };
  for (const Example& e : {Example{L"stock.report", u"Stock valuation by warehouse", u"21"},
                           Example{L"delivery.layout", u"Lieferschein mit Übersicht", u"7"},
                           Example{L"address.label", u"Étiquettes adresse 3 × 8", u"0"},
                           Example{L"welcome.letter", u"Carta de bienvenida para clientes nuevos", u"205"}}) {
    Text path = text(examplesFolder() + L"\\" + e.file);
    EXPECT_EQ(reader->title(path), e.title);
    EXPECT_EQ(reader->property(path, u"AppSpecificData"), e.data);
  }
  Text stock = text(examplesFolder() + L"\\stock.report");
  EXPECT_EQ(reader->property(stock, u"author"), u"Warehouse office");
  EXPECT_EQ(reader->property(stock, u"No such property"), u"");
  EXPECT_ANY_THROW(reader->title(text(examplesFolder() + L"\\missing.report")));
}

TEST(HostVardoReaders, DamagedFilesGiveAnEmptyTitleAndNoData) {
  fs::path folder = fs::temp_directory_path() / L"mervane-damaged-vardo";
  fs::remove_all(folder);
  fs::create_directories(folder);
  auto write = [&](const wchar_t* name, const std::string& bytes) {
    std::ofstream(folder / name, std::ios::binary) << bytes;
  };
  std::string garbage(8192, '\0');
  for (std::size_t i = 0; i < garbage.size(); ++i) garbage[i] = static_cast<char>((i * 131) ^ (i >> 3));
  std::string longHeader = "VARDO DEFINITION 1\r\n";
  while (longHeader.size() < 1100000) longHeader += "; padding padding padding padding padding\r\n";
  longHeader += "TITLE=Beyond the header limit\r\nAPPDATA=5\r\n";
  for (const wchar_t* ext : {L".SRT", L".report"}) {
    write((L"empty" + std::wstring(ext)).c_str(), "");
    write((L"garbage" + std::wstring(ext)).c_str(), garbage);
  }
  write(L"foreign.SRT", "#VARDO-DOCUMENT 2\r\n[Properties]\r\nTitle = Other family\r\n");
  write(L"long.SRT", longHeader);
  write(L"foreign.report", "VARDO DEFINITION 1\r\nTITLE=Other family\r\nAPPDATA=4\r\n");
  write(L"cut.report", "#VARDO-DOCUMENT 2\r\n[Properties]\r\nAppSpecificData = 1");

  auto service = createLegacyReportService();
  service->setProgramReports(text(folder.wstring()));
  auto definition = service->reportDefinition();
  for (const char16_t* name : {u"empty.SRT", u"garbage.SRT", u"foreign.SRT", u"long.SRT"}) {
    definition->setName(name);
    EXPECT_NO_THROW(definition->load()) << toUtf8(name);
    EXPECT_EQ(definition->title(), u"") << toUtf8(name);
    EXPECT_EQ(definition->applicationData(), 0) << toUtf8(name);
  }
  auto reader = createReportPropertyReader();
  for (const wchar_t* name : {L"empty.report", L"garbage.report", L"foreign.report"}) {
    Text path = text((folder / name).wstring());
    EXPECT_EQ(reader->title(path), u"");
    EXPECT_EQ(reader->property(path, u"AppSpecificData"), u"");
  }
  Text cut = text((folder / L"cut.report").wstring());  // cut short: keeps what it has
  EXPECT_EQ(reader->title(cut), u"");
  EXPECT_EQ(reader->property(cut, u"AppSpecificData"), u"1");
  fs::remove_all(folder);
}

}  // namespace
}  // namespace mervane
