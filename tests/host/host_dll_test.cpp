// MervaneHost.dll as a COM server: its embedded type library describes the
// layout the library's adapters rely on, its classes are registered by
// ProgID, its objects answer type information from their own library, and
// its methods report failures instead of hiding them.
#include <windows.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <initguid.h>  // defines the ids that MervaneHost.h declares

#include "MervaneHost.h"
#include "base/win/com.h"

using mervane::win::Bstr;
using mervane::win::ComPtr;

namespace {

class ComEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { CoInitialize(nullptr); }
  void TearDown() override { CoUninitialize(); }
};
const auto* const kEnv = ::testing::AddGlobalTestEnvironment(new ComEnvironment);

std::wstring dllPath() {
  wchar_t exe[MAX_PATH];
  GetModuleFileNameW(nullptr, exe, MAX_PATH);
  std::wstring path(exe);
  for (int i = 0; i < 3; ++i) path = path.substr(0, path.find_last_of(L'\\'));  // tests/host/x.exe -> root
  return path + L"\\host\\MervaneHost.dll";
}

// The vtable view of a dual interface: member names in slot order.
std::vector<std::wstring> slotNames(ITypeLib* lib, const IID& iid) {
  ComPtr<ITypeInfo> info, vtable;
  EXPECT_EQ(lib->GetTypeInfoOfGuid(iid, info.put()), S_OK);
  HREFTYPE ref = 0;
  if (FAILED(info->GetRefTypeOfImplType(static_cast<UINT>(-1), &ref)) || FAILED(info->GetRefTypeInfo(ref, vtable.put())))
    vtable = info;
  TYPEATTR* attr = nullptr;
  vtable->GetTypeAttr(&attr);
  std::vector<std::wstring> names(attr->cFuncs);
  for (UINT i = 0; i < attr->cFuncs; ++i) {
    FUNCDESC* fd = nullptr;
    vtable->GetFuncDesc(i, &fd);
    BSTR name = nullptr;
    vtable->GetDocumentation(fd->memid, &name, nullptr, nullptr, nullptr);
    std::size_t slot = static_cast<std::size_t>(fd->oVft) / sizeof(void*) - 7;  // after IDispatch
    const wchar_t* kind = fd->invkind == INVOKE_PROPERTYPUT ? L"put " : fd->invkind == INVOKE_PROPERTYGET ? L"get " : L"";
    if (slot < names.size()) names[slot] = kind + std::wstring(name ? name : L"");
    SysFreeString(name);
    vtable->ReleaseFuncDesc(fd);
  }
  vtable->ReleaseTypeAttr(attr);
  return names;
}

TEST(HostTypeLibrary, SlotsAreInThePublishedOrder) {
  ComPtr<ITypeLib> lib;
  ASSERT_EQ(LoadTypeLibEx(dllPath().c_str(), REGKIND_NONE, lib.put()), S_OK);
  using Names = std::vector<std::wstring>;
  EXPECT_EQ(slotNames(lib.get(), IID_ISettings), (Names{L"DeleteSetting", L"GetAllSettings", L"GetSetting", L"SaveSetting"}));
  EXPECT_EQ(slotNames(lib.get(), IID_ILegacyReportService),
            (Names{L"put ProgramReports", L"get ProgramReports", L"GetReportDefinition"}));
  EXPECT_EQ(slotNames(lib.get(), IID_ILegacyReportDefinition),
            (Names{L"put Name", L"get Name", L"Load", L"get Title", L"get ApplicationData", L"get FullPath"}));
  EXPECT_EQ(slotNames(lib.get(), IID_IReportPropertyReader), (Names{L"GetTitle", L"GetProperty"}));
}

std::wstring readClassesRoot(const std::wstring& path, const wchar_t* name = nullptr) {
  wchar_t buffer[MAX_PATH * 2] = {};
  DWORD size = sizeof buffer;
  if (RegGetValueW(HKEY_CLASSES_ROOT, path.c_str(), name, RRF_RT_REG_SZ, nullptr, buffer, &size) != ERROR_SUCCESS)
    return L"<missing>";
  return buffer;
}

TEST(HostRegistration, ClassesAreApartmentInProcServersWithProgIds) {
  struct Class {
    const CLSID* clsid;
    const wchar_t* progId;
    const IID* iid;
  };
  for (const Class& c : {Class{&CLSID_Settings, L"MervaneHost.Settings", &IID_ISettings},
                         Class{&CLSID_LegacyReportService, L"MervaneHost.LegacyReportService", &IID_ILegacyReportService},
                         Class{&CLSID_ReportPropertyReader, L"MervaneHost.ReportPropertyReader", &IID_IReportPropertyReader}}) {
    wchar_t guid[40];
    StringFromGUID2(*c.clsid, guid, 40);
    std::wstring key = std::wstring(L"CLSID\\") + guid;
    EXPECT_EQ(readClassesRoot(key + L"\\InprocServer32", L"ThreadingModel"), L"Apartment") << c.progId;
    EXPECT_TRUE(readClassesRoot(key + L"\\InprocServer32").ends_with(L"MervaneHost.dll")) << c.progId;
    EXPECT_EQ(readClassesRoot(std::wstring(c.progId) + L"\\CLSID"), guid);

    // Created by ProgID, the object's type information comes from its own
    // type library, and names resolve through it.
    CLSID fromProgId{};
    ASSERT_EQ(CLSIDFromProgID(c.progId, &fromProgId), S_OK);
    ComPtr<IDispatch> object;
    ASSERT_EQ(CoCreateInstance(fromProgId, nullptr, CLSCTX_INPROC_SERVER, *c.iid, object.putVoid()), S_OK);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(object->GetTypeInfo(0, 0, info.put()), S_OK);
    TYPEATTR* attr = nullptr;
    info->GetTypeAttr(&attr);
    EXPECT_TRUE(IsEqualGUID(attr->guid, *c.iid)) << c.progId;
    info->ReleaseTypeAttr(attr);
  }
}

TEST(HostComponents, RefusedArgumentsAndMissingFilesAreReported) {
  ComPtr<ISettings> settings;
  ASSERT_EQ(CoCreateInstance(CLSID_Settings, nullptr, CLSCTX_INPROC_SERVER, IID_ISettings, settings.putVoid()), S_OK);
  Bstr none(u""), name(u"k"), value;
  EXPECT_EQ(settings->GetSetting(none.get(), name.get(), name.get(), none.get(), value.put()), E_INVALIDARG);
  EXPECT_EQ(settings->SaveSetting(name.get(), none.get(), name.get(), none.get()), E_INVALIDARG);
  EXPECT_EQ(settings->SaveSetting(name.get(), name.get(), none.get(), none.get()), E_INVALIDARG);
  EXPECT_EQ(settings->DeleteSetting(name.get(), none.get(), none.get()), E_INVALIDARG);

  ComPtr<IReportPropertyReader> reader;
  ASSERT_EQ(CoCreateInstance(CLSID_ReportPropertyReader, nullptr, CLSCTX_INPROC_SERVER, IID_IReportPropertyReader,
                             reader.putVoid()), S_OK);
  EXPECT_EQ(reader->GetTitle(Bstr(u"C:\\no such folder\\x.report").get(), value.put()),
            HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
  EXPECT_EQ(reader->GetTitle(none.get(), value.put()), E_INVALIDARG);
}

}  // namespace
