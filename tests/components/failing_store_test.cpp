// The host's settings store failing at every call (its registry hive
// unavailable, say), with the library reached through its COM interface as
// a host reaches it. Nothing is raised to the host, the catalogue still lists
// every report with its title, delete still moves the file and copy still
// writes a whole copy under its new title.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include "Mervane100.h"
#include "../authoring/person.h"
#include "authoring/win/details_form.h"
#include "base/win/com.h"
#include "components/win/host_interfaces.h"
#include "engine/win/engine_factory.h"

namespace mervane {
namespace {

namespace fs = std::filesystem;
using win::Bstr;
using win::ComPtr;

std::atomic<int> storeCalls{0};

// The store's object: it is created, and then every call fails.
struct FailingSettings final : win::host::Settings {
  LONG refs = 1;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == win::host::kSettingsInterface) {
      *out = this;
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&refs)); }
  ULONG STDMETHODCALLTYPE Release() override {
    LONG n = InterlockedDecrement(&refs);
    if (n == 0) delete this;
    return static_cast<ULONG>(n);
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE DeleteSetting(BSTR, BSTR, BSTR) override { return fail(); }
  HRESULT STDMETHODCALLTYPE GetAllSettings(BSTR, BSTR, VARIANT*) override { return fail(); }
  HRESULT STDMETHODCALLTYPE GetSetting(BSTR, BSTR, BSTR, BSTR, BSTR*) override { return fail(); }
  HRESULT STDMETHODCALLTYPE SaveSetting(BSTR, BSTR, BSTR, BSTR) override { return fail(); }
  static HRESULT fail() {
    ++storeCalls;
    return HRESULT_FROM_WIN32(ERROR_REGISTRY_IO_FAILED);
  }
};

struct FailingSettingsFactory final : IClassFactory {
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (iid == IID_IUnknown || iid == IID_IClassFactory) {
      *out = this;
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** out) override {
    auto* store = new FailingSettings;
    HRESULT hr = store->QueryInterface(iid, out);
    store->Release();
    return hr;
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

fs::path fromUnix(std::string unix) {
  std::replace(unix.begin(), unix.end(), '/', '\\');
  return fs::path(L"Z:" + std::wstring(unix.begin(), unix.end()));
}

long countOf(_Reports* reports) {
  long count = -1;
  reports->get_Count(&count);
  return count;
}

// A fresh thread: the library keeps one store per thread, so this one
// meets the failing store from its first call.
void asAHost() {
  CoInitialize(nullptr);
  FailingSettingsFactory factory;
  DWORD cookie = 0;
  ASSERT_EQ(CoRegisterClassObject(win::host::kSettingsClass, &factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                  &cookie),
            S_OK);
  const fs::path folder = fs::temp_directory_path() / ("mervane-failing-store-" + std::to_string(GetCurrentProcessId()));
  fs::remove_all(folder);
  fs::create_directories(folder);
  for (const auto& e : fs::directory_iterator(fromUnix(MERVANE_EXAMPLE_REPORTS)))
    if (e.is_regular_file()) fs::copy_file(e.path(), folder / e.path().filename());
  {
    ComPtr<_ReportFunctions> functions;
    ASSERT_EQ(CoCreateInstance(CLSID_ReportFunctions, nullptr, CLSCTX_INPROC_SERVER, IID__ReportFunctions,
                               functions.putVoid()),
              S_OK);
    functions->put_RegistryPath(Bstr(u"Failing Store").get());
    functions->put_Path(Bstr(win::fromWide((folder.wstring() + L"\\").c_str())).get());

    // Every report of the folder is listed, the report files with their titles.
    ComPtr<_Reports> reports;
    ASSERT_EQ(CoCreateInstance(CLSID_Reports, nullptr, CLSCTX_INPROC_SERVER, IID__Reports, reports.putVoid()), S_OK);
    _Reports* raw = reports.get();
    functions->GetReports(&raw);
    EXPECT_EQ(countOf(reports.get()), 12);
    win::Variant key;
    V_VT(key.get()) = VT_BSTR;
    V_BSTR(key.get()) = SysAllocString(L"Monthly Sales.rpt");
    ComPtr<_ReportItem> item;
    EXPECT_EQ(reports->get_Item(key.get(), item.put()), S_OK);
    Bstr title;
    if (item) item->get_ReportTitle(title.put());
    EXPECT_EQ(title.text(), u"Monthly Sales");
    const int afterScan = storeCalls;
    EXPECT_GT(afterScan, 0);

    // The lists the store keeps come back empty; nothing is raised.
    short added = -1;
    functions->RecentReportsAdd(Bstr(u"C:\\x.rpt").get(), Bstr(u"X").get(), &added);
    EXPECT_EQ(added, 1);
    ComPtr<_Reports> recent, favourites;
    CoCreateInstance(CLSID_Reports, nullptr, CLSCTX_INPROC_SERVER, IID__Reports, recent.putVoid());
    CoCreateInstance(CLSID_Reports, nullptr, CLSCTX_INPROC_SERVER, IID__Reports, favourites.putVoid());
    raw = recent.get();
    functions->RecentReportsGet(&raw);
    EXPECT_EQ(countOf(recent.get()), 0);
    functions->RecentReportsRemove(1);
    raw = favourites.get();
    VARIANT_BOOL strip = VARIANT_TRUE;
    functions->GetFavourites(&raw, &strip);
    EXPECT_EQ(countOf(favourites.get()), 0);

    // Delete moves the file all the same.
    VARIANT_BOOL deleted = VARIANT_FALSE;
    functions->DeleteReport(Bstr(win::fromWide(folder.wstring().c_str())).get(), Bstr(u"SALES.SRT").get(), &deleted);
    EXPECT_EQ(deleted, VARIANT_TRUE);
    EXPECT_TRUE(fs::exists(folder / "Deleted Reports" / "SALES.SRT"));
    EXPECT_FALSE(fs::exists(folder / "SALES.SRT"));
    EXPECT_GT(storeCalls.load(), afterScan);

    // Copy writes the whole copy with its new title; only the stored value is missing.
    {
      using Ids = win::DetailsForm;
      testing::Person person(L"Enter Report Details", [](testing::Person& p, HWND dialog) {
        p.type(dialog, Ids::kFileNameBox, L"copied");
        p.type(dialog, Ids::kTitleBox, L"Copied sales");
        p.press(dialog, Ids::kOk);
        EXPECT_TRUE(testing::Person::waitHidden(dialog));
      });
      BSTR name = SysAllocString(L"as passed");
      const Text repPath = win::fromWide((folder.wstring() + L"\\").c_str());
      functions->CopyReport(Bstr(u"Monthly Sales").get(), Bstr(u"Monthly Sales.rpt").get(),
                            Bstr(repPath).get(), &name, vdCrystal);
      EXPECT_EQ(win::toText(name), u"copied.rpt");
      SysFreeString(name);
      auto engine = createEngineApplication();
      auto copy = engine->openReport(repPath + u"copied.rpt");
      ASSERT_TRUE(copy);
      EXPECT_EQ(copy->title(), u"Copied sales");
    }
  }
  CoRevokeClassObject(cookie);
  fs::remove_all(folder);
  CoUninitialize();
}

TEST(FailingSettingsStore, EveryCallAnswersAndTheFilesAreStillListedAndMoved) {
  std::thread host(asAHost);
  host.join();
}

}  // namespace
}  // namespace mervane
