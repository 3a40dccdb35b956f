// The COM surface as a host and a type-library browser see it: the embedded
// type library member by member, the exports by ordinal, the version block,
// registration, creation by CLSID and ProgID, earlier interface ids, and
// late-bound calls with the argument forms that script hosts send.
#include <windows.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Mervane100.h"
#include "base/win/com.h"

using mervane::Text;
using mervane::win::Bstr;
using mervane::win::ComPtr;
using mervane::win::Variant;

namespace {

// GetProcAddress's generic pointer, turned into the export's real type.
template <class F>
F exportOf(HMODULE dll, const char* name) {
  return reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(dll, name)));
}

std::wstring dllPath();

// The library loaded by path for the length of a test, and let go after.
class Library {
 public:
  Library() : dll_(LoadLibraryW(dllPath().c_str())) {}
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() {
    if (dll_) FreeLibrary(dll_);
  }
  HMODULE get() const { return dll_; }
  template <class F>
  F get(const char* name) const {
    return exportOf<F>(dll_, name);
  }

 private:
  HMODULE dll_;
};

std::wstring dllPath() {
  wchar_t exe[MAX_PATH];
  GetModuleFileNameW(nullptr, exe, MAX_PATH);
  std::wstring path(exe);
  path = path.substr(0, path.find_last_of(L'\\'));  // tests/server -> build root
  path = path.substr(0, path.find_last_of(L'\\'));
  path = path.substr(0, path.find_last_of(L'\\'));
  return path + L"\\src\\server\\Mervane100.dll";
}

class ComEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { CoInitialize(nullptr); }
  void TearDown() override { CoUninitialize(); }
};
const auto* const kEnv = ::testing::AddGlobalTestEnvironment(new ComEnvironment);

ComPtr<ITypeLib> typeLibrary() {
  ComPtr<ITypeLib> lib;
  EXPECT_EQ(LoadTypeLibEx(dllPath().c_str(), REGKIND_NONE, lib.put()), S_OK);
  return lib;
}

std::wstring memberName(ITypeInfo* info, MEMBERID id) {
  BSTR name = nullptr;
  info->GetDocumentation(id, &name, nullptr, nullptr, nullptr);
  Bstr owned = Bstr::attach(name);
  return name ? std::wstring(name) : L"";
}

struct Slot {
  std::wstring name;
  INVOKEKIND kind;
  MEMBERID id;
  std::vector<std::wstring> params;
};

// The vtable view of a dual interface, slot by slot.
std::vector<Slot> slotsOf(REFIID iid) {
  auto lib = typeLibrary();
  ComPtr<ITypeInfo> dispatchView, info;
  EXPECT_EQ(lib->GetTypeInfoOfGuid(iid, dispatchView.put()), S_OK);
  HREFTYPE ref;
  EXPECT_EQ(dispatchView->GetRefTypeOfImplType(static_cast<UINT>(-1), &ref), S_OK);
  EXPECT_EQ(dispatchView->GetRefTypeInfo(ref, info.put()), S_OK);
  TYPEATTR* attr;
  info->GetTypeAttr(&attr);
  EXPECT_EQ(attr->typekind, TKIND_INTERFACE);
  EXPECT_TRUE(attr->wTypeFlags & TYPEFLAG_FHIDDEN);
  EXPECT_TRUE(attr->wTypeFlags & TYPEFLAG_FDUAL);
  EXPECT_TRUE(attr->wTypeFlags & TYPEFLAG_FNONEXTENSIBLE);
  EXPECT_TRUE(attr->wTypeFlags & TYPEFLAG_FOLEAUTOMATION);
  std::vector<Slot> slots;
  for (UINT i = 0; i < attr->cFuncs; ++i) {
    FUNCDESC* fd;
    info->GetFuncDesc(i, &fd);
    Slot s{memberName(info.get(), fd->memid), fd->invkind, fd->memid, {}};
    BSTR names[16] = {};
    UINT count = 0;
    info->GetNames(fd->memid, names, 16, &count);
    for (UINT n = 1; n < count; ++n) s.params.push_back(names[n]);
    for (UINT n = 0; n < count; ++n) SysFreeString(names[n]);
    EXPECT_EQ(fd->oVft, static_cast<SHORT>((7 + i) * sizeof(void*))) << i;
    info->ReleaseFuncDesc(fd);
    slots.push_back(s);
  }
  info->ReleaseTypeAttr(attr);
  return slots;
}

TEST(TypeLibrary, IdentityVersionAndLocale) {
  auto lib = typeLibrary();
  TLIBATTR* attr;
  ASSERT_EQ(lib->GetLibAttr(&attr), S_OK);
  EXPECT_TRUE(IsEqualGUID(attr->guid, LIBID_Mervane100));
  EXPECT_EQ(attr->wMajorVerNum, 1);
  EXPECT_EQ(attr->wMinorVerNum, 6);
  EXPECT_EQ(attr->lcid, 0x409u);
  lib->ReleaseTLibAttr(attr);
  BSTR name = nullptr;
  lib->GetDocumentation(-1, &name, nullptr, nullptr, nullptr);
  EXPECT_STREQ(name, L"Mervane100");
  SysFreeString(name);
}

TEST(TypeLibrary, ReportFunctionsSlotsInInterfaceOrder) {
  auto slots = slotsOf(IID__ReportFunctions);
  const struct {
    const wchar_t* name;
    INVOKEKIND kind;
    MEMBERID id;
  } expected[] = {
      {L"SqlConnString", INVOKE_PROPERTYPUT, 0x6803000C}, {L"SqlDatabase", INVOKE_PROPERTYPUT, 0x6803000B},
      {L"SqlLogin", INVOKE_PROPERTYPUT, 0x6803000A},      {L"SqlPassword", INVOKE_PROPERTYPUT, 0x68030009},
      {L"SqlServer", INVOKE_PROPERTYPUT, 0x68030008},     {L"SqlServer", INVOKE_PROPERTYGET, 0x68030008},
      {L"NewVisualReport", INVOKE_FUNC, 0x6003000D},      {L"UserPassword", INVOKE_PROPERTYPUT, 0x68030007},
      {L"AppName", INVOKE_PROPERTYPUT, 0x68030006},       {L"Path", INVOKE_PROPERTYPUT, 0x68030005},
      {L"UserName", INVOKE_PROPERTYPUT, 0x68030004},      {L"OdbcServer", INVOKE_PROPERTYPUT, 0x68030003},
      {L"ParenthWnd", INVOKE_PROPERTYPUT, 0x68030002},    {L"CopyReport", INVOKE_FUNC, 0x6003000E},
      {L"DeleteReport", INVOKE_FUNC, 0x6003000F},         {L"EditVisualReport", INVOKE_FUNC, 0x60030010},
      {L"Module", INVOKE_PROPERTYPUT, 0x68030001},        {L"RegistryPath", INVOKE_PROPERTYPUT, 0x68030000},
      {L"GetReports", INVOKE_FUNC, 0x60030012},           {L"RecentReportsRemove", INVOKE_FUNC, 0x60030014},
      {L"RecentReportsAdd", INVOKE_FUNC, 0x60030015},     {L"RecentReportsGet", INVOKE_FUNC, 0x60030016},
      {L"Export", INVOKE_FUNC, 0x60030017},               {L"Import", INVOKE_FUNC, 0x60030019},
      {L"GetFavourites", INVOKE_FUNC, 0x6003001A},
  };
  ASSERT_EQ(slots.size(), std::size(expected));
  for (size_t i = 0; i < slots.size(); ++i) {
    EXPECT_EQ(slots[i].name, expected[i].name) << i;
    EXPECT_EQ(slots[i].kind, expected[i].kind) << i;
    EXPECT_EQ(slots[i].id, expected[i].id) << i;
  }
  EXPECT_EQ(slots[13].params, (std::vector<std::wstring>{L"OldRepName", L"OldRepFileName", L"RepPath",
                                                         L"NewFileName", L"iReportType"}));
  EXPECT_EQ(slots[24].params, (std::vector<std::wstring>{L"oReports", L"bStripPath"}));
}

TEST(TypeLibrary, CollectionItemAndPrinterSlots) {
  auto reports = slotsOf(IID__Reports);
  ASSERT_EQ(reports.size(), 5u);
  EXPECT_EQ(reports[0].name, L"Add");
  EXPECT_EQ(reports[0].id, 0x60030001);
  EXPECT_EQ(reports[0].params, (std::vector<std::wstring>{L"ReportTitle", L"FileName", L"sKey", L"rhs"}));
  EXPECT_EQ(reports[1].name, L"Item");
  EXPECT_EQ(reports[1].id, 0);
  EXPECT_EQ(reports[2].name, L"Count");
  EXPECT_EQ(reports[3].name, L"Remove");
  EXPECT_EQ(reports[4].name, L"NewEnum");
  EXPECT_EQ(reports[4].id, DISPID_NEWENUM);

  auto item = slotsOf(IID__ReportItem);
  const wchar_t* itemNames[] = {L"Favourite", L"RegKey", L"FileName", L"ReportTitle", L"ReportType",
                                L"ApplicationData"};
  const MEMBERID itemIds[] = {0x68030003, 0x68030002, 0x68030001, 0x68030000, 0x68030004, 0x68030005};
  ASSERT_EQ(item.size(), 12u);
  for (size_t i = 0; i < 12; ++i) {
    EXPECT_EQ(item[i].name, itemNames[i / 2]);
    EXPECT_EQ(item[i].id, itemIds[i / 2]);
    EXPECT_EQ(item[i].kind, i % 2 ? INVOKE_PROPERTYGET : INVOKE_PROPERTYPUT);
  }

  auto printer = slotsOf(IID__cPrinter);
  ASSERT_EQ(printer.size(), 20u);
  EXPECT_EQ(printer[0].name, L"PaperBin");
  EXPECT_EQ(printer[0].id, 0x6803000D);
  EXPECT_EQ(printer[9].name, L"ToPage");
  EXPECT_EQ(printer[9].kind, INVOKE_PROPERTYPUT);
  EXPECT_EQ(printer[18].name, L"ShowPrinterDialog");
  EXPECT_EQ(printer[18].id, 0x6003000E);
  EXPECT_EQ(printer[18].params, (std::vector<std::wstring>{L"OwnerhWnd", L"rhs"}));
  EXPECT_EQ(printer[19].name, L"Orientation");
  EXPECT_EQ(printer[19].kind, INVOKE_PROPERTYPUT);
}

TEST(TypeLibrary, OptionalArgumentsCarryTheirDefaults) {
  auto lib = typeLibrary();
  ComPtr<ITypeInfo> dispatchView, info;
  lib->GetTypeInfoOfGuid(IID__ReportFunctions, dispatchView.put());
  HREFTYPE ref;
  dispatchView->GetRefTypeOfImplType(static_cast<UINT>(-1), &ref);
  dispatchView->GetRefTypeInfo(ref, info.put());
  auto defaultOf = [&](UINT func, UINT param) {
    FUNCDESC* fd;
    info->GetFuncDesc(func, &fd);
    PARAMDESC& pd = fd->lprgelemdescParam[param].paramdesc;
    EXPECT_TRUE(pd.wParamFlags & PARAMFLAG_FOPT);
    EXPECT_TRUE(pd.wParamFlags & PARAMFLAG_FHASDEFAULT);
    Variant v;
    VariantChangeType(v.get(), &pd.pparamdescex->varDefaultValue, 0, VT_I4);
    info->ReleaseFuncDesc(fd);
    return V_I4(v.get());
  };
  EXPECT_EQ(defaultOf(13, 4), 1);  // CopyReport iReportType = vdCrystal
  EXPECT_EQ(defaultOf(24, 1), 0);  // GetFavourites bStripPath = False
}

TEST(TypeLibrary, EnumerationAliasesAndClasses) {
  auto lib = typeLibrary();
  const GUID enumId = {0x1938F557, 0xAB72, 0x4340, {0x88, 0xF3, 0x01, 0x91, 0xEA, 0xAF, 0xE1, 0x1C}};
  ComPtr<ITypeInfo> e;
  ASSERT_EQ(lib->GetTypeInfoOfGuid(enumId, e.put()), S_OK);
  EXPECT_EQ(memberName(e.get(), MEMBERID_NIL), L"vdReportType");
  VARDESC* vd;
  e->GetVarDesc(1, &vd);
  EXPECT_EQ(memberName(e.get(), vd->memid), L"vdVardo");
  EXPECT_EQ(V_I4(vd->lpvarValue), 2);
  e->ReleaseVarDesc(vd);

  struct Alias {
    GUID iid;
    const wchar_t* name;
  } aliases[] = {
      {{0x378004BF, 0x4EA6, 0x452A, {0xA8, 0xA2, 0x82, 0xDF, 0x4A, 0x2D, 0x03, 0x60}}, L"ReportFunctions___v0"},
      {{0x04D075D2, 0xFF89, 0x4FC6, {0xB9, 0xBB, 0xE3, 0xFA, 0x38, 0xBF, 0x0B, 0xF3}}, L"ReportFunctions___v2"},
      {{0x7A62C4BE, 0x763D, 0x497F, {0xA2, 0xE6, 0x75, 0xC8, 0xD1, 0x1E, 0x04, 0x61}}, L"ReportItem___v1"},
      {{0x96E793B6, 0xEF91, 0x477E, {0xB2, 0xBB, 0x1F, 0xF1, 0x11, 0x6B, 0x48, 0x4A}}, L"cPrinter___v0"},
  };
  for (const Alias& a : aliases) {
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(lib->GetTypeInfoOfGuid(a.iid, info.put()), S_OK) << a.name;
    TYPEATTR* attr;
    info->GetTypeAttr(&attr);
    EXPECT_EQ(attr->typekind, TKIND_ALIAS);
    EXPECT_TRUE(attr->wTypeFlags & TYPEFLAG_FHIDDEN);
    info->ReleaseTypeAttr(attr);
    EXPECT_EQ(memberName(info.get(), MEMBERID_NIL), a.name);
  }

  ComPtr<ITypeInfo> item;
  ASSERT_EQ(lib->GetTypeInfoOfGuid(CLSID_ReportItem, item.put()), S_OK);
  TYPEATTR* attr;
  item->GetTypeAttr(&attr);
  EXPECT_FALSE(attr->wTypeFlags & TYPEFLAG_FCANCREATE);
  item->ReleaseTypeAttr(attr);
  ComPtr<ITypeInfo> functions;
  ASSERT_EQ(lib->GetTypeInfoOfGuid(CLSID_ReportFunctions, functions.put()), S_OK);
  functions->GetTypeAttr(&attr);
  EXPECT_TRUE(attr->wTypeFlags & TYPEFLAG_FCANCREATE);
  functions->ReleaseTypeAttr(attr);
}

TEST(Module, ExportsByOrdinalAndVersionBlock) {
  Library dll;
  ASSERT_NE(dll.get(), nullptr);
  const char* names[] = {"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"};
  for (int ordinal = 1; ordinal <= 4; ++ordinal)
    EXPECT_EQ(GetProcAddress(dll.get(), MAKEINTRESOURCEA(ordinal)), GetProcAddress(dll.get(), names[ordinal - 1]))
        << ordinal;

  DWORD handle = 0;
  DWORD size = GetFileVersionInfoSizeW(dllPath().c_str(), &handle);
  ASSERT_GT(size, 0u);
  std::vector<char> block(size);
  ASSERT_TRUE(GetFileVersionInfoW(dllPath().c_str(), 0, size, block.data()));
  auto value = [&](const wchar_t* name) {
    wchar_t* text = nullptr;
    UINT len = 0;
    std::wstring query = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
    if (!VerQueryValueW(block.data(), query.c_str(), reinterpret_cast<void**>(&text), &len)) return std::wstring(L"<none>");
    return std::wstring(text);
  };
  EXPECT_EQ(value(L"FileDescription"), L"Provides access to reports.");
  EXPECT_EQ(value(L"FileVersion"), L"13.00.0009");
  EXPECT_EQ(value(L"ProductVersion"), L"13.00.0009");
  EXPECT_EQ(value(L"InternalName"), L"Mervane100");
  EXPECT_EQ(value(L"OriginalFilename"), L"Mervane100.dll");
  EXPECT_EQ(value(L"OLESelfRegister"), L"");
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT len = 0;
  ASSERT_TRUE(VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &len));
  EXPECT_EQ(fixed->dwFileVersionMS, 0x000D0000u);
  EXPECT_EQ(fixed->dwFileVersionLS, 0x00000009u);
}

TEST(Module, ClassFactoriesAndUnloadCounting) {
  Library dll;
  auto getClassObject = dll.get<HRESULT(WINAPI*)(REFCLSID, REFIID, void**)>("DllGetClassObject");
  auto canUnload = dll.get<HRESULT(WINAPI*)()>("DllCanUnloadNow");
  ASSERT_TRUE(getClassObject && canUnload);
  ComPtr<IClassFactory> none;
  EXPECT_EQ(getClassObject(CLSID_ReportItem, IID_IClassFactory, none.putVoid()), CLASS_E_CLASSNOTAVAILABLE);
  ComPtr<IClassFactory> factory;
  ASSERT_EQ(getClassObject(CLSID_Reports, IID_IClassFactory, factory.putVoid()), S_OK);
  // A factory kept by the host does not hold the DLL; a server lock or a live object does.
  EXPECT_EQ(canUnload(), S_OK);
  ASSERT_EQ(factory->LockServer(TRUE), S_OK);
  EXPECT_EQ(canUnload(), S_FALSE);
  factory->LockServer(FALSE);
  ComPtr<_Reports> reports;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID__Reports, reports.putVoid()), S_OK);
  EXPECT_EQ(canUnload(), S_FALSE);
  reports.reset();
  EXPECT_EQ(canUnload(), S_OK);
}

TEST(Registration, CreatesByProgIdAndAnswersEarlierInterfaces) {
  for (const wchar_t* progId : {L"Mervane100.ReportFunctions", L"Mervane100.Reports", L"Mervane100.cPrinter"}) {
    CLSID clsid;
    ASSERT_EQ(CLSIDFromProgID(progId, &clsid), S_OK) << progId;
    ComPtr<IDispatch> object;
    EXPECT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.putVoid()), S_OK);
  }
  ComPtr<IUnknown> item;
  EXPECT_NE(CoCreateInstance(CLSID_ReportItem, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, item.putVoid()), S_OK);

  ComPtr<_ReportFunctions> functions;
  ASSERT_EQ(CoCreateInstance(CLSID_ReportFunctions, nullptr, CLSCTX_INPROC_SERVER, IID__ReportFunctions,
                             functions.putVoid()),
            S_OK);
  const IID older = {0x378004BF, 0x4EA6, 0x452A, {0xA8, 0xA2, 0x82, 0xDF, 0x4A, 0x2D, 0x03, 0x60}};
  ComPtr<IUnknown> viaOld;
  ASSERT_EQ(functions->QueryInterface(older, viaOld.putVoid()), S_OK);
  EXPECT_EQ(viaOld.get(), static_cast<IUnknown*>(functions.get()));

  HKEY key;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, L"CLSID\\{905CB68A-BFE1-42D3-A918-B1A9CD0DEDBC}\\InprocServer32", 0,
                          KEY_READ, &key),
            ERROR_SUCCESS);
  wchar_t model[32] = {};
  DWORD size = sizeof(model);
  RegQueryValueExW(key, L"ThreadingModel", nullptr, nullptr, reinterpret_cast<BYTE*>(model), &size);
  RegCloseKey(key);
  EXPECT_STREQ(model, L"Apartment");
}

TEST(Registration, UnregisterRemovesEverythingAndRegisterRestoresIt) {
  Library dll;
  auto reg = dll.get<HRESULT(WINAPI*)()>("DllRegisterServer");
  auto unreg = dll.get<HRESULT(WINAPI*)()>("DllUnregisterServer");
  ASSERT_EQ(unreg(), S_OK);
  CLSID clsid;
  EXPECT_NE(CLSIDFromProgID(L"Mervane100.Reports", &clsid), S_OK);
  HKEY key;
  EXPECT_NE(RegOpenKeyExW(HKEY_CLASSES_ROOT, L"CLSID\\{A3F5B2B6-B041-4F38-BDD8-33CAA848D92B}", 0, KEY_READ, &key),
            ERROR_SUCCESS);
  EXPECT_NE(RegOpenKeyExW(HKEY_CLASSES_ROOT, L"Interface\\{378004BF-4EA6-452A-A8A2-82DF4A2D0360}", 0, KEY_READ, &key),
            ERROR_SUCCESS);
  EXPECT_NE(RegOpenKeyExW(HKEY_CLASSES_ROOT, L"TypeLib\\{C3361E46-0FAB-4E02-B99A-6D5BA5367EE4}\\1.6", 0, KEY_READ,
                          &key),
            ERROR_SUCCESS);
  ASSERT_EQ(reg(), S_OK);
  EXPECT_EQ(CLSIDFromProgID(L"Mervane100.Reports", &clsid), S_OK);
  EXPECT_EQ(RegOpenKeyExW(HKEY_CLASSES_ROOT, L"Interface\\{378004BF-4EA6-452A-A8A2-82DF4A2D0360}", 0, KEY_READ, &key),
            ERROR_SUCCESS);
  RegCloseKey(key);
}

// An object driven late-bound, as a script host drives it: members by name,
// arguments given in the order written (Invoke wants them last-first).
class Late {
 public:
  explicit Late(const wchar_t* progId) {
    CLSID clsid;
    if (SUCCEEDED(CLSIDFromProgID(progId, &clsid)))
      CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object_.putVoid());
  }
  explicit Late(IDispatch* object) : object_(object) {}
  IDispatch* get() const { return object_.get(); }
  DISPID id(const wchar_t* name) const {
    LPOLESTR n = const_cast<LPOLESTR>(name);
    DISPID id = DISPID_UNKNOWN;
    object_->GetIDsOfNames(IID_NULL, &n, 1, 0, &id);
    return id;
  }
  HRESULT invoke(DISPID id, WORD flags, std::vector<VARIANT> args, VARIANT* result = nullptr,
                 UINT* argError = nullptr) const {
    std::reverse(args.begin(), args.end());
    DISPID put = DISPID_PROPERTYPUT;
    bool isPut = flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF);
    DISPPARAMS dp = {args.data(), isPut ? &put : nullptr, static_cast<UINT>(args.size()), isPut ? 1u : 0u};
    EXCEPINFO exception{};
    HRESULT hr = object_->Invoke(id, IID_NULL, 0, flags, &dp, result, &exception, argError);
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrHelpFile);
    return hr;
  }
  HRESULT call(const wchar_t* name, std::vector<VARIANT> args, VARIANT* result = nullptr) const {
    return invoke(id(name), DISPATCH_METHOD, std::move(args), result);
  }
  HRESULT put(const wchar_t* name, VARIANT value) const { return invoke(id(name), DISPATCH_PROPERTYPUT, {value}); }

 private:
  ComPtr<IDispatch> object_;
};

// Argument values; each borrows what it points at.
VARIANT text(const Bstr& b) {
  VARIANT v;
  V_VT(&v) = VT_BSTR;
  V_BSTR(&v) = b.get();
  return v;
}
VARIANT number(LONG n) {
  VARIANT v;
  V_VT(&v) = VT_I4;
  V_I4(&v) = n;
  return v;
}
VARIANT object(IDispatch* d) {
  VARIANT v;
  V_VT(&v) = VT_DISPATCH;
  V_DISPATCH(&v) = d;
  return v;
}

TEST(LateBound, WrongCountsAreErrorsAndWrongTypesSkipTheCall) {
  Late reports(L"Mervane100.Reports"), functions(L"Mervane100.ReportFunctions");
  ASSERT_TRUE(reports.get() && functions.get());
  Bstr x(u"x");
  Variant result;
  EXPECT_EQ(reports.call(L"Remove", {text(x), text(x)}), DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(reports.invoke(0x1234, DISPATCH_METHOD, {}), DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(reports.call(L"Add", {text(x)}, result.get()), DISP_E_PARAMNOTOPTIONAL);
  // Another object where a collection is declared: GetReports is not called.
  EXPECT_EQ(functions.call(L"GetReports", {object(functions.get())}), S_OK);
  EXPECT_EQ(functions.call(L"GetReports", {object(nullptr)}), S_OK);
  // A text for a number: the empty result.
  Variant added;
  V_VT(added.get()) = VT_I4;
  EXPECT_EQ(functions.call(L"RecentReportsAdd", {text(x), object(reports.get())}, added.get()), S_OK);
  EXPECT_EQ(V_VT(added.get()), VT_I2);
  EXPECT_EQ(V_I2(added.get()), 0);
}

TEST(LateBound, PropertyPutWithANumberForAString) {
  Late functions(L"Mervane100.ReportFunctions");
  ASSERT_EQ(functions.put(L"SqlServer", number(7)), S_OK);
  Variant read;
  ASSERT_EQ(functions.invoke(functions.id(L"SqlServer"), DISPATCH_PROPERTYGET, {}, read.get()), S_OK);
  EXPECT_STREQ(V_BSTR(read.get()), L"7");
}

TEST(EarlyBound, LongTextsAndEmbeddedNulsAreStoredUnchanged) {
  ComPtr<_Reports> reports;
  ASSERT_EQ(CoCreateInstance(CLSID_Reports, nullptr, CLSCTX_INPROC_SERVER, IID__Reports, reports.putVoid()), S_OK);
  std::wstring big(1 << 20, L'x');
  big[10] = L'\0';
  big[500000] = L';';
  BSTR title = SysAllocStringLen(big.data(), static_cast<UINT>(big.size()));
  BSTR file = SysAllocStringLen(L"a\0b.rpt", 7);
  BSTR key = SysAllocString(L"");
  ComPtr<_ReportItem> item;
  ASSERT_EQ(reports->Add(&title, &file, &key, item.put()), S_OK);
  BSTR back = nullptr;
  item->get_ReportTitle(&back);
  EXPECT_EQ(SysStringLen(back), big.size());
  EXPECT_EQ(std::wstring(back, SysStringLen(back)), big);
  SysFreeString(back);
  item->get_FileName(&back);
  EXPECT_EQ(SysStringLen(back), 7u);
  SysFreeString(back);
  item->put_RegKey(nullptr);  // a null BSTR is the empty text
  item->get_RegKey(&back);
  EXPECT_EQ(SysStringLen(back), 0u);
  SysFreeString(back);
  SysFreeString(title);
  SysFreeString(file);
  SysFreeString(key);
  LONG count = -1;
  reports->get_Count(&count);
  EXPECT_EQ(count, 1);  // an empty key adds without a key
}

// The example reports folder, as the host gives Path: with a final "\\".
Text examplesFolder() {
  std::string folder = MERVANE_EXAMPLE_REPORTS "/";
  std::replace(folder.begin(), folder.end(), '/', '\\');
  return u"Z:" + Text(folder.begin(), folder.end());
}

// Every kind of value a host can hand over.
std::vector<std::unique_ptr<Variant>> hostileValues(IDispatch* someObject) {
  std::vector<std::unique_ptr<Variant>> values;
  auto value = [&](VARTYPE vt) -> VARIANT* {
    values.push_back(std::make_unique<Variant>());
    V_VT(values.back()->get()) = vt;
    return values.back()->get();
  };
  value(VT_EMPTY);
  value(VT_NULL);
  V_DISPATCH(value(VT_DISPATCH)) = nullptr;  // Nothing
  V_DISPATCH(value(VT_DISPATCH)) = ComPtr<IDispatch>(someObject).detach();
  V_ARRAY(value(VT_ARRAY | VT_VARIANT)) = SafeArrayCreateVector(VT_VARIANT, 0, 3);
  V_BSTR(value(VT_BSTR)) = SysAllocStringLen(std::wstring(1000000, L'x').c_str(), 1000000);
  V_BSTR(value(VT_BSTR)) = SysAllocStringLen(L"a\0b.rpt\0", 8);
  V_BSTR(value(VT_BSTR)) = SysAllocString(L"\xDC00x\xD800");  // unpaired surrogates
  V_R8(value(VT_R8)) = -1e300;
  V_I4(value(VT_I4)) = -1;
  V_DATE(value(VT_DATE)) = 1e7;
  V_UNKNOWN(value(VT_UNKNOWN)) = ComPtr<IDispatch>(someObject).detach();
  // By reference, as compiled hosts and script variables pass them.
  static BSTR nullText = nullptr;
  static short small = 7;
  static VARIANT scriptNull = [] {
    VARIANT v;
    V_VT(&v) = VT_NULL;
    return v;
  }();
  V_BSTRREF(value(VT_BYREF | VT_BSTR)) = &nullText;
  V_I2REF(value(VT_BYREF | VT_I2)) = &small;
  V_VARIANTREF(value(VT_BYREF | VT_VARIANT)) = &scriptNull;
  return values;
}

// Every member that shows no window, every argument given every kind of
// value: nothing crashes and no error comes back.
TEST(LateBound, EveryMemberTakesAnyValueWithoutError) {
  Late reports(L"Mervane100.Reports"), functions(L"Mervane100.ReportFunctions"), printer(L"Mervane100.cPrinter");
  Bstr title(u"t"), file(u"f.rpt");
  Variant added;
  ASSERT_EQ(reports.call(L"Add", {text(title), text(file)}, added.get()), S_OK);
  Late item(V_DISPATCH(added.get()));

  auto values = hostileValues(reports.get());

  // Members that show a window, or move files, are driven by their own tests.
  const std::wstring windowed = L"|NewVisualReport|EditVisualReport|CopyReport|Export|Import|ShowPrinterDialog|"
                                L"DeleteReport|";
  Bstr root(u"Mervane100 Hostile Test");
  int calls = 0;
  auto sweep = [&](const Late& object, bool properties) {
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(object.get()->GetTypeInfo(0, 0, info.put()), S_OK);
    TYPEATTR* attr = nullptr;
    info->GetTypeAttr(&attr);
    for (UINT f = 0; f < attr->cFuncs; ++f) {
      FUNCDESC* fd = nullptr;
      info->GetFuncDesc(f, &fd);
      const std::wstring name = memberName(info.get(), fd->memid);
      const bool isProperty = fd->invkind != INVOKE_FUNC;
      WORD flags = fd->invkind == INVOKE_FUNC ? DISPATCH_METHOD
                   : fd->invkind == INVOKE_PROPERTYGET ? DISPATCH_PROPERTYGET | DISPATCH_METHOD
                                                      : static_cast<WORD>(fd->invkind);
      if (!(fd->wFuncFlags & FUNCFLAG_FRESTRICTED) && isProperty == properties &&
          windowed.find(L"|" + name + L"|") == std::wstring::npos) {
        for (size_t v = 0; v < values.size(); ++v) {
          std::vector<VARIANT> args(static_cast<size_t>(fd->cParams), *values[v]->get());
          Variant result;
          EXPECT_EQ(object.invoke(fd->memid, flags, args, result.get()), S_OK) << name << " with value " << v;
          // None of them selects the one item, which has no key.
          if (name == L"Item") {
            EXPECT_TRUE(V_VT(result.get()) == VT_DISPATCH && !V_DISPATCH(result.get())) << v;
          }
          ++calls;
        }
      }
      info->ReleaseFuncDesc(fd);
    }
    info->ReleaseTypeAttr(attr);
  };
  for (const Late* object : {&functions, &reports, &item, &printer}) sweep(*object, true);
  ASSERT_EQ(functions.put(L"RegistryPath", text(root)), S_OK);
  for (const Late* object : {&functions, &reports, &item, &printer}) sweep(*object, false);
  // The catalogue scan of every kind of reports folder, and of the example
  // reports for every kind of module.
  for (auto& v : values) {
    EXPECT_EQ(functions.put(L"Path", *v->get()), S_OK);
    EXPECT_EQ(functions.call(L"GetReports", {object(reports.get())}), S_OK);
  }
  Bstr examples(examplesFolder());
  ASSERT_EQ(functions.put(L"Path", text(examples)), S_OK);
  for (auto& v : values) {
    EXPECT_EQ(functions.put(L"Module", *v->get()), S_OK);
    EXPECT_EQ(functions.call(L"GetReports", {object(reports.get())}), S_OK);
  }
  RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\VB and VBA Program Settings\\Mervane100 Hostile Test");
  EXPECT_GT(calls, 400);
  Variant count;
  EXPECT_EQ(reports.invoke(reports.id(L"Count"), DISPATCH_PROPERTYGET, {}, count.get()), S_OK);
}

// Closes every window this process shows, as a person who wants none of
// them would, until dropped.
class WindowCloser {
 public:
  WindowCloser() : thread_([this] {
    while (!stop_) {
      EnumWindows(close, 0);
      Sleep(50);
    }
  }) {}
  ~WindowCloser() {
    stop_ = true;
    thread_.join();
  }
  // How many times a window was found showing and told to close.
  static int closed() { return closed_; }
  WindowCloser(const WindowCloser&) = delete;
  WindowCloser& operator=(const WindowCloser&) = delete;

 private:
  static BOOL CALLBACK close(HWND window, LPARAM) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process == GetCurrentProcessId() && IsWindowVisible(window)) {
      PostMessageW(window, WM_CLOSE, 0, 0);
      ++closed_;
    }
    return TRUE;
  }
  static inline std::atomic<int> closed_{0};
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

// The members that show windows, every argument given every kind of value,
// each window closed as soon as it shows: no error comes back, and nothing
// is written or moved.
TEST(LateBound, MembersWithWindowsTakeAnyValueWithoutError) {
  Late functions(L"Mervane100.ReportFunctions"), printer(L"Mervane100.cPrinter");
  ASSERT_TRUE(functions.get() && printer.get());
  wchar_t temp[MAX_PATH] = {};
  GetTempPathW(MAX_PATH, temp);
  const std::wstring folder = std::wstring(temp) + L"mervane-hostile-" + std::to_wstring(GetCurrentProcessId());
  CreateDirectoryW(folder.c_str(), nullptr);
  Bstr root(u"Mervane100 Hostile Test"), path(Text(folder.begin(), folder.end()) + u"\\");
  ASSERT_EQ(functions.put(L"RegistryPath", text(root)), S_OK);
  ASSERT_EQ(functions.put(L"Path", text(path)), S_OK);
  auto values = hostileValues(functions.get());
  WindowCloser closer;
  for (const wchar_t* name : {L"NewVisualReport", L"Export", L"Import"}) {
    Variant result;
    EXPECT_EQ(functions.call(name, {}, result.get()), S_OK) << name;
  }
  for (size_t v = 0; v < values.size(); ++v) {
    const VARIANT any = *values[v]->get();
    Variant result;
    EXPECT_EQ(functions.call(L"EditVisualReport", {any, any}), S_OK) << v;
    EXPECT_EQ(functions.call(L"CopyReport", {any, any, any, any, any}), S_OK) << v;
    EXPECT_EQ(functions.call(L"DeleteReport", {text(path), any}, result.get()), S_OK) << v;
    EXPECT_EQ(printer.call(L"ShowPrinterDialog", {any}, result.get()), S_OK) << v;
  }
  EXPECT_GE(WindowCloser::closed(), 8);  // the windows did show: designer, details, print and file dialogs
  WIN32_FIND_DATAW found;
  HANDLE listing = FindFirstFileW((folder + L"\\*.*").c_str(), &found);
  int entries = 0;
  if (listing != INVALID_HANDLE_VALUE) {
    do {
      if (std::wstring(found.cFileName) != L"." && std::wstring(found.cFileName) != L"..") ++entries;
    } while (FindNextFileW(listing, &found));
    FindClose(listing);
  }
  EXPECT_LE(entries, 1);  // at most the Deleted Reports folder
  RemoveDirectoryW((folder + L"\\Deleted Reports").c_str());
  RemoveDirectoryW(folder.c_str());
  RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\VB and VBA Program Settings\\Mervane100 Hostile Test");
}

// Last in this file: the host's objects from every test before are gone too.
TEST(Module, UnloadsOnceTheHostHasReleasedEverything) {
  {
    Late reports(L"Mervane100.Reports"), functions(L"Mervane100.ReportFunctions"), printer(L"Mervane100.cPrinter");
    ASSERT_TRUE(reports.get() && functions.get() && printer.get());
    Bstr title(u"Sales"), file(u"a.rpt"), key(u"A"), root(u"Mervane100 Unload Test");
    Variant added, item, enumerator;
    ASSERT_EQ(reports.call(L"Add", {text(title), text(file), text(key)}, added.get()), S_OK);
    ASSERT_EQ(reports.call(L"Item", {number(1)}, item.get()), S_OK);
    ASSERT_EQ(reports.invoke(DISPID_NEWENUM, DISPATCH_METHOD | DISPATCH_PROPERTYGET, {}, enumerator.get()), S_OK);
    auto items = ComPtr<IUnknown>(V_UNKNOWN(enumerator.get())).query<IEnumVARIANT>(IID_IEnumVARIANT);
    ASSERT_TRUE(items);
    ComPtr<IEnumVARIANT> copy;
    ASSERT_EQ(items->Clone(copy.put()), S_OK);
    Variant visited;
    EXPECT_EQ(copy->Next(1, visited.get(), nullptr), S_OK);
    ASSERT_EQ(functions.put(L"RegistryPath", text(root)), S_OK);
    Bstr path(examplesFolder());
    ASSERT_EQ(functions.put(L"Path", text(path)), S_OK);
    EXPECT_EQ(functions.call(L"GetReports", {object(reports.get())}), S_OK);
    Variant count;
    ASSERT_EQ(reports.invoke(reports.id(L"Count"), DISPATCH_PROPERTYGET, {}, count.get()), S_OK);
    EXPECT_GT(V_I4(count.get()), 10);  // the example reports were listed
    EXPECT_EQ(functions.call(L"GetFavourites", {object(reports.get())}), S_OK);
    EXPECT_EQ(functions.call(L"RecentReportsGet", {object(reports.get())}), S_OK);
  }
  HMODULE dll = GetModuleHandleW(L"Mervane100.dll");
  ASSERT_NE(dll, nullptr);
  WNDCLASSEXW form{sizeof(form)};
  EXPECT_TRUE(GetClassInfoExW(dll, L"Mervane100Form", &form));  // the scan's progress window
  EXPECT_EQ(exportOf<HRESULT(WINAPI*)()>(dll, "DllCanUnloadNow")(), S_OK);
  // The library let go of the host's settings store too, so the host's DLL
  // goes on the next round.
  CoFreeUnusedLibrariesEx(0, 0);
  EXPECT_EQ(GetModuleHandleW(L"Mervane100.dll"), nullptr);
  // Its window classes went with it: none points at code that is gone.
  EXPECT_FALSE(GetClassInfoExW(dll, L"Mervane100Form", &form));
  CoFreeUnusedLibrariesEx(0, 0);
  EXPECT_EQ(GetModuleHandleW(L"MervaneHost.dll"), nullptr);
}

}  // namespace
