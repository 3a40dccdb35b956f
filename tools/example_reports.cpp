// Example report files through the structured storage API, the way a report
// designer writes them.
#include "example_reports.h"

#include <objbase.h>
#include <propidl.h>

#include "base/win/com.h"
#include "engine/model/definition_stream.h"
#include "example_definitions.h"

namespace mervane::tools {
namespace {

using win::ComPtr;

constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

// Bytes that differ from stream to stream and do not compress away.
std::vector<BYTE> filler(std::size_t size, unsigned seed) {
  std::vector<BYTE> bytes(size);
  unsigned state = seed * 2654435761u + 1;
  for (BYTE& b : bytes) {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    b = static_cast<BYTE>(state);
  }
  return bytes;
}

HRESULT addStream(IStorage* storage, const wchar_t* name, std::size_t size, unsigned seed) {
  ComPtr<IStream> stream;
  HRESULT hr = storage->CreateStream(name, kCreate, 0, 0, stream.put());
  if (FAILED(hr)) return hr;
  std::vector<BYTE> bytes = filler(size, seed);
  ULONG written = 0;
  if (!bytes.empty()) hr = stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written);
  if (SUCCEEDED(hr) && written != bytes.size()) hr = STG_E_WRITEFAULT;
  return hr;
}

HRESULT addStorage(IStorage* parent, const wchar_t* name, ComPtr<IStorage>& out) {
  return parent->CreateStorage(name, kCreate, 0, 0, out.put());
}

// The storage converts ANSI strings from the system code page into the set's.
std::string ansi(const std::wstring& text) {
  if (text.empty()) return std::string();
  int n = WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<std::size_t>(n), '\0');
  WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()), out.data(), n, nullptr, nullptr);
  return out;
}

HRESULT writeSummary(IStorage* storage, const ExampleReport& report) {
  ComPtr<IPropertySetStorage> sets = ComPtr<IStorage>(storage).query<IPropertySetStorage>(IID_IPropertySetStorage);
  if (!sets) return E_NOINTERFACE;
  const bool isAnsi = report.summary == SummaryKind::Ansi;
  ComPtr<IPropertyStorage> props;
  HRESULT hr = sets->Create(FMTID_SummaryInformation, nullptr, isAnsi ? PROPSETFLAG_ANSI : PROPSETFLAG_DEFAULT,
                            kCreate, props.put());
  if (FAILED(hr)) return hr;

  PROPSPEC spec{};
  spec.ulKind = PRSPEC_PROPID;
  PROPVARIANT value;
  PropVariantInit(&value);
  if (isAnsi) {
    spec.propid = PID_CODEPAGE;
    value.vt = VT_I2;
    value.iVal = 1252;
    if (FAILED(hr = props->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE))) return hr;
  }
  const std::wstring author = L"Sample Désigner";
  const std::pair<PROPID, const std::wstring*> strings[] = {
      {PIDSI_TITLE, &report.title}, {PIDSI_AUTHOR, &author}, {PIDSI_COMMENTS, &report.comments}};
  for (const auto& [id, text] : strings) {
    std::string narrow = ansi(*text);
    std::wstring wide = *text;
    spec.propid = id;
    PropVariantInit(&value);
    if (isAnsi) {
      value.vt = VT_LPSTR;
      value.pszVal = narrow.data();
    } else {
      value.vt = VT_LPWSTR;
      value.pwszVal = wide.data();
    }
    if (FAILED(hr = props->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE))) return hr;
  }
  spec.propid = PIDSI_CREATE_DTM;
  PropVariantInit(&value);
  value.vt = VT_FILETIME;
  value.filetime.dwLowDateTime = 0xE6F08000;  // 2023-04-01
  value.filetime.dwHighDateTime = 0x01D9642C;
  if (FAILED(hr = props->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE))) return hr;
  return props->Commit(STGC_DEFAULT);
}

HRESULT writeLargeParts(IStorage* root) {
  HRESULT hr;
  ComPtr<IStorage> pictures, subreports, first;
  if (FAILED(hr = addStorage(root, L"Pictures", pictures))) return hr;
  if (FAILED(hr = addStream(pictures.get(), L"Logo", 200 * 1024 + 17, 11))) return hr;
  if (FAILED(hr = addStream(pictures.get(), L"Background", 96 * 1024, 12))) return hr;
  if (FAILED(hr = addStream(pictures.get(), L"Empty", 0, 13))) return hr;
  if (FAILED(hr = addStorage(root, L"Subreports", subreports))) return hr;
  if (FAILED(hr = addStorage(subreports.get(), L"Regions", first))) return hr;
  if (FAILED(hr = addStream(first.get(), L"Contents", 4095, 21))) return hr;
  if (FAILED(hr = addStream(first.get(), L"Layout", 4096, 22))) return hr;
  if (FAILED(hr = addStream(first.get(), L"Data", 4097, 23))) return hr;
  if (FAILED(hr = addStream(root, L"Saved Data", 60 * 1024 + 1, 31))) return hr;
  return addStream(root, L"Cache", 1, 32);
}

}  // namespace

// {6B0C2A1D-5E37-4C8B-9F14-3D2E7A9B1C40}
const CLSID kExampleReportClass = {0x6b0c2a1d, 0x5e37, 0x4c8b, {0x9f, 0x14, 0x3d, 0x2e, 0x7a, 0x9b, 0x1c, 0x40}};

HRESULT writeExampleReport(const std::wstring& path, const ExampleReport& report) {
  ComPtr<IStorage> root;
  HRESULT hr = StgCreateDocfile(path.c_str(), kCreate, 0, root.put());
  if (FAILED(hr)) return hr;
  if (FAILED(hr = root->SetClass(kExampleReportClass))) return hr;
  if (FAILED(hr = addStream(root.get(), L"Contents", 3000, static_cast<unsigned>(path.size())))) return hr;
  if (report.summary != SummaryKind::None && FAILED(hr = writeSummary(root.get(), report))) return hr;
  if (report.large && FAILED(hr = writeLargeParts(root.get()))) return hr;
  if (!report.definition.empty()) {
    ComPtr<IStream> stream;
    if (FAILED(hr = root->CreateStream(L"ReportDefinition", kCreate, 0, 0, stream.put()))) return hr;
    ULONG written = 0;
    hr = stream->Write(report.definition.data(), static_cast<ULONG>(report.definition.size()), &written);
    if (SUCCEEDED(hr) && written != report.definition.size()) hr = STG_E_WRITEFAULT;
    if (FAILED(hr)) return hr;
  }
  return root->Commit(STGC_DEFAULT);
}

std::vector<ExampleReport> exampleReports() {
  using engine::model::writeDefinition;
  return {
      {L"Monthly Sales.rpt", L"Monthly Sales", L"Dept=4;AppData=17;Owner=x", SummaryKind::Ansi, false,
       writeDefinition(monthlySalesDefinition())},
      {L"Customer List.rpt", L"Customer List \u2013 Z\u00FCrich; \u0141\u00F3d\u017A", L"AppData=3;",
       SummaryKind::Unicode, false, writeDefinition(customerListDefinition())},
      {L"Orders by Region.rpt", L"Orders by R\u00E9gion; Nord & S\u00FCd", L"Sorted by region. AppData=12; v2",
       SummaryKind::Ansi, false, writeDefinition(ordersByRegionDefinition())},
      {L"Stock Valuation.rpt", L"Stock Valuation", L"", SummaryKind::Unicode, false,
       writeDefinition(stockValuationDefinition())},
      {L"Untitled.rpt", L"", L"", SummaryKind::Ansi, false},
      {L"Sales Archive.rpt", L"Sales Archive \u2013 Ann\u00E9e 2023", L"AppData=250;", SummaryKind::Ansi, true},
  };
}

}  // namespace mervane::tools
