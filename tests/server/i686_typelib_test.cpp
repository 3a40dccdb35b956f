// The 32-bit DLL as far as this 64-bit process can read it: its embedded type
// library must describe the same library as the 64-bit one (every type,
// member, dispatch id, argument and default), with 32-bit vtable offsets.
// Nothing of the 32-bit DLL runs here; its exports are compared by
// i686_dll_check.sh.
#include <windows.h>
#include <oleauto.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/win/com.h"

using mervane::win::Bstr;
using mervane::win::ComPtr;
using mervane::win::Variant;

namespace {

std::wstring windowsPath(std::string unix) {
  std::replace(unix.begin(), unix.end(), '/', '\\');
  return L"Z:" + std::wstring(unix.begin(), unix.end());
}

std::wstring dll64() {
  wchar_t exe[MAX_PATH];
  GetModuleFileNameW(nullptr, exe, MAX_PATH);
  std::wstring path(exe);
  for (int up = 0; up < 3; ++up) path = path.substr(0, path.find_last_of(L'\\'));  // tests/server/x.exe
  return path + L"\\src\\server\\Mervane100.dll";
}

std::wstring text(BSTR b) { return b ? std::wstring(b, SysStringLen(b)) : L""; }

std::wstring nameOf(ITypeInfo* info, MEMBERID id) {
  BSTR name = nullptr;
  info->GetDocumentation(id, &name, nullptr, nullptr, nullptr);
  return text(Bstr::attach(name).get());
}

std::wstring guidText(const GUID& g) {
  wchar_t buffer[40] = {};
  StringFromGUID2(g, buffer, 40);
  return buffer;
}

// A type as text; user-defined types by name, so the two libraries compare.
std::wstring typeText(ITypeInfo* info, const TYPEDESC& t) {
  if (t.vt == VT_PTR || t.vt == VT_SAFEARRAY) return (t.vt == VT_PTR ? L"*" : L"[]") + typeText(info, *t.lptdesc);
  if (t.vt != VT_USERDEFINED) return std::to_wstring(t.vt);
  ComPtr<ITypeInfo> ref;
  if (FAILED(info->GetRefTypeInfo(t.hreftype, ref.put()))) return L"?";
  return nameOf(ref.get(), MEMBERID_NIL);
}

std::wstring valueText(const VARIANT* v) {
  Variant copy;
  if (FAILED(VariantChangeType(copy.get(), const_cast<VARIANT*>(v), 0, VT_BSTR))) return L"?";
  return std::to_wstring(V_VT(v)) + L":" + text(V_BSTR(copy.get()));
}

// Every fact of a type library that a host or our dispatcher relies on, one
// line each. Vtable offsets are given as slot numbers.
std::vector<std::wstring> describe(ITypeLib* lib, SYSKIND& syskind) {
  std::vector<std::wstring> out;
  TLIBATTR* la = nullptr;
  if (FAILED(lib->GetLibAttr(&la))) return out;
  syskind = la->syskind;
  // The loader gives vtable offsets for this process, whatever the library
  // was built for; as slot numbers they compare.
  const int pointer = sizeof(void*);
  out.push_back(L"library " + guidText(la->guid) + L" " + std::to_wstring(la->wMajorVerNum) + L"." +
                std::to_wstring(la->wMinorVerNum) + L" lcid " + std::to_wstring(la->lcid) + L" flags " +
                std::to_wstring(la->wLibFlags));
  lib->ReleaseTLibAttr(la);
  for (UINT t = 0; t < lib->GetTypeInfoCount(); ++t) {
    ComPtr<ITypeInfo> info;
    if (FAILED(lib->GetTypeInfo(t, info.put()))) continue;
    TYPEATTR* ta = nullptr;
    info->GetTypeAttr(&ta);
    std::wstring type = nameOf(info.get(), MEMBERID_NIL);
    out.push_back(L"type " + type + L" " + guidText(ta->guid) + L" kind " + std::to_wstring(ta->typekind) +
                  L" flags " + std::to_wstring(ta->wTypeFlags) + L" funcs " + std::to_wstring(ta->cFuncs) +
                  L" vars " + std::to_wstring(ta->cVars) + L" impl " + std::to_wstring(ta->cImplTypes) +
                  L" vtable slots " + std::to_wstring(ta->cbSizeVft / pointer));
    if (ta->typekind == TKIND_ALIAS) out.push_back(type + L" = " + typeText(info.get(), ta->tdescAlias));
    for (UINT i = 0; i < ta->cImplTypes; ++i) {
      HREFTYPE ref;
      ComPtr<ITypeInfo> base;
      INT flags = 0;
      info->GetImplTypeFlags(i, &flags);
      if (SUCCEEDED(info->GetRefTypeOfImplType(i, &ref)) && SUCCEEDED(info->GetRefTypeInfo(ref, base.put())))
        out.push_back(type + L" implements " + nameOf(base.get(), MEMBERID_NIL) + L" " + std::to_wstring(flags));
    }
    for (UINT f = 0; f < ta->cFuncs; ++f) {
      FUNCDESC* fd = nullptr;
      if (FAILED(info->GetFuncDesc(f, &fd))) continue;
      BSTR names[32] = {};
      UINT count = 0;
      info->GetNames(fd->memid, names, 32, &count);
      std::wstring line = type + L"." + text(names[0]) + L" id " + std::to_wstring(fd->memid) + L" invoke " +
                          std::to_wstring(fd->invkind) + L" call " + std::to_wstring(fd->callconv) + L" slot " +
                          std::to_wstring(fd->oVft / pointer) + L" flags " + std::to_wstring(fd->wFuncFlags) +
                          L" optional " + std::to_wstring(fd->cParamsOpt) + L" returns " +
                          typeText(info.get(), fd->elemdescFunc.tdesc);
      for (SHORT p = 0; p < fd->cParams; ++p) {
        const ELEMDESC& e = fd->lprgelemdescParam[p];
        line += L" (" + (p + 1 < static_cast<SHORT>(count) ? text(names[p + 1]) : std::wstring()) + L" " +
                typeText(info.get(), e.tdesc) + L" " + std::to_wstring(e.paramdesc.wParamFlags);
        if ((e.paramdesc.wParamFlags & PARAMFLAG_FHASDEFAULT) && e.paramdesc.pparamdescex)
          line += L" = " + valueText(&e.paramdesc.pparamdescex->varDefaultValue);
        line += L")";
      }
      for (UINT n = 0; n < count; ++n) SysFreeString(names[n]);
      out.push_back(line);
      info->ReleaseFuncDesc(fd);
    }
    for (UINT v = 0; v < ta->cVars; ++v) {
      VARDESC* vd = nullptr;
      if (FAILED(info->GetVarDesc(v, &vd))) continue;
      out.push_back(type + L"." + nameOf(info.get(), vd->memid) + L" = " +
                    (vd->varkind == VAR_CONST ? valueText(vd->lpvarValue) : L"?"));
      info->ReleaseVarDesc(vd);
    }
    info->ReleaseTypeAttr(ta);
  }
  return out;
}

TEST(ThirtyTwoBitDll, TypeLibraryDescribesTheSameLibrary) {
  CoInitialize(nullptr);
  {
    ComPtr<ITypeLib> lib32, lib64;
    ASSERT_EQ(LoadTypeLibEx(windowsPath(MERVANE_I686_DLL).c_str(), REGKIND_NONE, lib32.put()), S_OK)
        << "the i686 DLL is built by scripts/test.sh into build/win32: " << MERVANE_I686_DLL;
    ASSERT_EQ(LoadTypeLibEx(dll64().c_str(), REGKIND_NONE, lib64.put()), S_OK);
    SYSKIND kind32 = SYS_WIN16, kind64 = SYS_WIN16;
    std::vector<std::wstring> described32 = describe(lib32.get(), kind32);
    std::vector<std::wstring> described64 = describe(lib64.get(), kind64);
    EXPECT_EQ(kind32, SYS_WIN32);
    EXPECT_EQ(kind64, SYS_WIN64);
    EXPECT_GT(described64.size(), 100u);
    for (size_t i = 0; i < std::max(described32.size(), described64.size()); ++i) {
      std::wstring a = i < described32.size() ? described32[i] : L"<none>";
      std::wstring b = i < described64.size() ? described64[i] : L"<none>";
      EXPECT_EQ(a, b) << "line " << i;
    }
  }
  CoUninitialize();
}

}  // namespace
