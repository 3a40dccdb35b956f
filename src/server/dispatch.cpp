// Late binding for the library's dual interfaces.
//
// The system's own ITypeInfo::Invoke is not used: some automation runtimes
// refuse a script variable passed to a by-reference parameter. Instead the
// member's FUNCDESC is read here, each argument is brought to the declared
// type, and the vtable slot is called through DispCallFunc.
//
// A by-reference argument of another type than the declared one is coerced
// into a temporary. The caller's variable keeps its value and its type: the
// temporary is written back only when the method gave it a new value (the
// in/out strings of EditVisualReport and CopyReport), never for the mere
// coercion.
#include "server/dispatch.h"

#include <cstddef>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace mervane::server {

bool sameIid(REFIID a, REFIID b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }

// Arguments reach DispCallFunc and the methods by the address of their value
// inside a VARIANT: every member used here starts 8 bytes in, on 32-bit hosts
// as on 64-bit ones, and the 8 bytes there hold the widest of them.
static_assert(sizeof(VARIANT) == (sizeof(void*) == 8 ? 24 : 16));
static_assert(offsetof(VARIANT, lVal) == 8 && offsetof(VARIANT, llVal) == 8 && offsetof(VARIANT, iVal) == 8 &&
              offsetof(VARIANT, boolVal) == 8 && offsetof(VARIANT, bstrVal) == 8 &&
              offsetof(VARIANT, pdispVal) == 8 && offsetof(VARIANT, byref) == 8);
static_assert(sizeof(VARIANT_BOOL) == 2 && sizeof(LONG) == 4 && sizeof(LONGLONG) == 8);

namespace {

// What a parameter is, once aliases and enumerations are resolved.
struct ParamType {
  VARTYPE vt = VT_EMPTY;  // base type: VT_BSTR, VT_I4, VT_I2, VT_BOOL, VT_VARIANT, VT_DISPATCH, ...
  bool byRef = false;
  IID iid = IID_IDispatch;  // for VT_DISPATCH / VT_UNKNOWN parameters
};

bool resolve(ITypeInfo* info, const TYPEDESC& desc, ParamType& out, int pointerLevels) {
  switch (desc.vt) {
    case VT_PTR:
      return resolve(info, *desc.lptdesc, out, pointerLevels + 1);
    case VT_USERDEFINED: {
      win::ComPtr<ITypeInfo> ref;
      if (FAILED(info->GetRefTypeInfo(desc.hreftype, ref.put()))) return false;
      TYPEATTR* attr = nullptr;
      if (FAILED(ref->GetTypeAttr(&attr))) return false;
      bool ok = true;
      switch (attr->typekind) {
        case TKIND_ENUM:
          out.vt = VT_I4;
          out.byRef = pointerLevels > 0;
          break;
        case TKIND_ALIAS:
          ok = resolve(ref.get(), attr->tdescAlias, out, pointerLevels);
          break;
        case TKIND_INTERFACE:
        case TKIND_DISPATCH:
          out.vt = (attr->wTypeFlags & TYPEFLAG_FDISPATCHABLE) ? VT_DISPATCH : VT_UNKNOWN;
          out.iid = attr->guid;
          out.byRef = pointerLevels > 1;
          break;
        default:
          ok = false;
      }
      ref->ReleaseTypeAttr(attr);
      return ok;
    }
    case VT_UNKNOWN:
    case VT_DISPATCH:
      out.vt = desc.vt;
      out.iid = desc.vt == VT_UNKNOWN ? IID_IUnknown : IID_IDispatch;
      out.byRef = pointerLevels > 0;
      return true;
    default:
      out.vt = desc.vt;
      out.byRef = pointerLevels > 0;
      return true;
  }
}

struct Param {
  ParamType type;
  USHORT flags = 0;
  const VARIANT* defaultValue = nullptr;
};

struct Member {
  MEMBERID id;
  INVOKEKIND kind;
  short vtableOffset;
  std::vector<Param> params;  // without the retval
  bool hasRetval = false;
  ParamType retval;
};

using MemberTable = std::vector<Member>;

std::mutex gTablesMutex;
std::map<ITypeInfo*, std::unique_ptr<MemberTable>> gTables;

// The vtable view of a dual interface: its dispatch view hides the retval
// parameters that the vtable call needs.
ITypeInfo* vtableView(ITypeInfo* info) {
  TYPEATTR* attr = nullptr;
  if (FAILED(info->GetTypeAttr(&attr))) return info;
  bool dual = attr->typekind == TKIND_DISPATCH && (attr->wTypeFlags & TYPEFLAG_FDUAL);
  info->ReleaseTypeAttr(attr);
  HREFTYPE ref = 0;
  ITypeInfo* view = nullptr;  // kept for the process, like the table built from it
  if (dual && SUCCEEDED(info->GetRefTypeOfImplType(static_cast<UINT>(-1), &ref)) &&
      SUCCEEDED(info->GetRefTypeInfo(ref, &view)))
    return view;
  return info;
}

const MemberTable& membersOf(ITypeInfo* dispatchView) {
  std::lock_guard<std::mutex> lock(gTablesMutex);
  auto& slot = gTables[dispatchView];
  if (slot) return *slot;
  slot = std::make_unique<MemberTable>();
  ITypeInfo* info = vtableView(dispatchView);
  TYPEATTR* attr = nullptr;
  if (FAILED(info->GetTypeAttr(&attr))) return *slot;
  WORD count = attr->cFuncs;
  info->ReleaseTypeAttr(attr);
  for (UINT i = 0; i < count; ++i) {
    FUNCDESC* fd = nullptr;
    if (FAILED(info->GetFuncDesc(i, &fd))) continue;
    // FUNCDESCs stay alive for the process: default values point into them.
    Member m{fd->memid, fd->invkind, fd->oVft, {}, false, {}};
    bool ok = true;
    for (SHORT p = 0; p < fd->cParams && ok; ++p) {
      const ELEMDESC& e = fd->lprgelemdescParam[p];
      Param param;
      param.flags = e.paramdesc.wParamFlags;
      ok = resolve(info, e.tdesc, param.type, 0);
      if ((param.flags & PARAMFLAG_FHASDEFAULT) && e.paramdesc.pparamdescex)
        param.defaultValue = &e.paramdesc.pparamdescex->varDefaultValue;
      if (param.flags & PARAMFLAG_FRETVAL) {
        m.hasRetval = true;
        m.retval = param.type;
        m.retval.byRef = false;
      } else {
        m.params.push_back(param);
      }
    }
    if (ok) slot->push_back(std::move(m));
  }
  return *slot;
}

const Member* findMember(const MemberTable& table, DISPID id, WORD flags) {
  auto find = [&](INVOKEKIND kind) -> const Member* {
    for (const Member& m : table)
      if (m.id == id && m.kind == kind) return &m;
    return nullptr;
  };
  if (flags & DISPATCH_PROPERTYPUT) {
    if (auto m = find(INVOKE_PROPERTYPUT)) return m;
  }
  if (flags & DISPATCH_PROPERTYPUTREF) {
    if (auto m = find(INVOKE_PROPERTYPUTREF)) return m;
    if (auto m = find(INVOKE_PROPERTYPUT)) return m;
  }
  if (flags & DISPATCH_METHOD) {
    if (auto m = find(INVOKE_FUNC)) return m;
  }
  if (flags & (DISPATCH_PROPERTYGET | DISPATCH_METHOD)) {
    if (auto m = find(INVOKE_PROPERTYGET)) return m;
  }
  return nullptr;
}

// Follows VT_BYREF|VT_VARIANT chains to the variant that holds the value.
const VARIANT* innermost(const VARIANT* v) {
  while (v && V_VT(v) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(v)) v = V_VARIANTREF(v);
  return v;
}

bool isMissing(const VARIANT* v) {
  v = innermost(v);
  return V_VT(v) == VT_ERROR && V_ERROR(v) == DISP_E_PARAMNOTFOUND;
}

// Where a by-reference parameter's value lives inside a VARIANT.
void* valueSlot(VARIANT* v) { return &v->lVal; }

// One argument brought to the parameter's type, ready for DispCallFunc.
struct Slot {
  win::Variant value;     // the coerced value we own
  win::Variant received;  // a copy of value as the method received it
  VARIANT callArg;        // what is passed: the value, or a pointer to it
  VARIANT* source = nullptr;  // the caller's variant, for writing back
  bool direct = false;    // the caller's own storage is passed
};

HRESULT coerceObject(const VARIANT* in, const ParamType& type, VARIANT* out) {
  const VARIANT* v = innermost(in);
  IUnknown* unk = nullptr;
  switch (V_VT(v)) {
    case VT_DISPATCH: unk = V_DISPATCH(v); break;
    case VT_UNKNOWN: unk = V_UNKNOWN(v); break;
    case VT_DISPATCH | VT_BYREF: unk = V_DISPATCHREF(v) ? *V_DISPATCHREF(v) : nullptr; break;
    case VT_UNKNOWN | VT_BYREF: unk = V_UNKNOWNREF(v) ? *V_UNKNOWNREF(v) : nullptr; break;
    case VT_EMPTY:
    case VT_NULL: break;  // treated as Nothing
    default: return DISP_E_TYPEMISMATCH;
  }
  V_VT(out) = type.vt;
  V_UNKNOWN(out) = nullptr;
  if (!unk) return S_OK;
  void* p = nullptr;
  if (FAILED(unk->QueryInterface(type.iid, &p))) return DISP_E_TYPEMISMATCH;
  V_UNKNOWN(out) = static_cast<IUnknown*>(p);
  return S_OK;
}

HRESULT coerce(const VARIANT* in, const ParamType& type, VARIANT* out) {
  if (type.vt == VT_DISPATCH || type.vt == VT_UNKNOWN) return coerceObject(in, type, out);
  const VARIANT* v = innermost(in);
  if (type.vt == VT_VARIANT) return VariantCopyInd(out, const_cast<VARIANT*>(v));
  HRESULT hr = VariantChangeType(out, const_cast<VARIANT*>(v), 0, type.vt);
  if (FAILED(hr)) {
    // A by-reference variant of another type: take its value first.
    win::Variant plain;
    if (SUCCEEDED(VariantCopyInd(plain.get(), const_cast<VARIANT*>(v)))) hr = VariantChangeType(out, plain.get(), 0, type.vt);
  }
  if (hr == DISP_E_OVERFLOW) return hr;
  return FAILED(hr) ? DISP_E_TYPEMISMATCH : S_OK;
}

// The value an omitted optional parameter takes.
HRESULT missingValue(const Param& p, VARIANT* out) {
  if (p.defaultValue) return coerce(p.defaultValue, p.type, out);
  if (p.type.vt == VT_VARIANT) {
    V_VT(out) = VT_ERROR;
    V_ERROR(out) = DISP_E_PARAMNOTFOUND;
    return S_OK;
  }
  V_VT(out) = p.type.vt;
  if (p.type.vt == VT_BSTR) {
    V_BSTR(out) = SysAllocStringLen(nullptr, 0);
    return V_BSTR(out) ? S_OK : E_OUTOFMEMORY;
  }
  V_I8(out) = 0;  // zero for every numeric or pointer type
  return S_OK;
}

// Whether two values of a by-reference temporary are the same. Only the
// scalar and string types of the library's parameters are compared; any
// other type counts as unchanged, so it is never written back.
bool sameValue(const VARIANT* a, const VARIANT* b) {
  if (V_VT(a) != V_VT(b)) return false;
  std::size_t size = 0;
  switch (V_VT(a)) {
    case VT_BSTR: {
      UINT bytes = SysStringByteLen(V_BSTR(a));
      return bytes == SysStringByteLen(V_BSTR(b)) && std::memcmp(V_BSTR(a), V_BSTR(b), bytes) == 0;
    }
    case VT_I1: case VT_UI1: size = 1; break;
    case VT_I2: case VT_UI2: case VT_BOOL: size = 2; break;
    case VT_I4: case VT_UI4: case VT_INT: case VT_UINT: case VT_R4: case VT_ERROR: size = 4; break;
    case VT_I8: case VT_UI8: case VT_R8: case VT_CY: case VT_DATE: size = 8; break;
    default: return true;
  }
  return std::memcmp(&a->lVal, &b->lVal, size) == 0;
}

// Writes a by-reference result back into the caller's variable, when the
// method changed it.
void writeBack(Slot& s, const ParamType& type) {
  if (s.direct || !s.source || !(V_VT(s.source) & VT_BYREF)) return;
  // Objects are not replaced, and variants (the collection's index) are never written.
  if (type.vt == VT_DISPATCH || type.vt == VT_UNKNOWN || type.vt == VT_VARIANT) return;
  if (sameValue(s.value.get(), s.received.get())) return;
  VARIANT* target = s.source;
  if (V_VT(target) == (VT_BYREF | VT_VARIANT)) {
    VARIANT* inner = V_VARIANTREF(target);
    while (V_VT(inner) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(inner)) inner = V_VARIANTREF(inner);
    if (V_VT(inner) & VT_BYREF) {
      target = inner;
    } else {
      VariantClear(inner);
      VariantCopy(inner, s.value.get());
      return;
    }
  }
  VARTYPE want = static_cast<VARTYPE>(V_VT(target) & ~VT_BYREF);
  win::Variant converted;
  if (FAILED(VariantChangeType(converted.get(), s.value.get(), 0, want))) return;
  switch (want) {
    case VT_BSTR:
      SysFreeString(*V_BSTRREF(target));
      *V_BSTRREF(target) = V_BSTR(converted.get());
      V_VT(converted.get()) = VT_EMPTY;
      break;
    case VT_I2: *V_I2REF(target) = V_I2(converted.get()); break;
    case VT_I4: *V_I4REF(target) = V_I4(converted.get()); break;
    case VT_BOOL: *V_BOOLREF(target) = V_BOOL(converted.get()); break;
    case VT_R8: *V_R8REF(target) = V_R8(converted.get()); break;
    case VT_R4: *V_R4REF(target) = V_R4(converted.get()); break;
    case VT_UI1: *V_UI1REF(target) = V_UI1(converted.get()); break;
    case VT_CY: *V_CYREF(target) = V_CY(converted.get()); break;
    case VT_DATE: *V_DATEREF(target) = V_DATE(converted.get()); break;
    default: break;
  }
}

HRESULT prepare(Slot& s, VARIANT* source, const Param& p) {
  s.source = source;
  VariantInit(&s.callArg);
  HRESULT hr;
  if (p.type.byRef && source) {
    // The caller's own variable already has exactly the declared type.
    VARIANT* inner = source;
    if (V_VT(inner) == (VT_BYREF | VT_VARIANT)) inner = const_cast<VARIANT*>(innermost(inner));
    if (p.type.vt == VT_VARIANT && V_VT(source) == (VT_BYREF | VT_VARIANT)) {
      V_VT(&s.callArg) = VT_BYREF | VT_VARIANT;
      V_BYREF(&s.callArg) = inner;
      s.direct = true;
      return S_OK;
    }
    if (p.type.vt != VT_VARIANT && p.type.vt != VT_DISPATCH && p.type.vt != VT_UNKNOWN) {
      if (V_VT(inner) == (VT_BYREF | p.type.vt)) {
        V_VT(&s.callArg) = VT_BYREF | p.type.vt;
        V_BYREF(&s.callArg) = V_BYREF(inner);
        s.direct = true;
        return S_OK;
      }
      if (inner != source && V_VT(inner) == p.type.vt) {
        V_VT(&s.callArg) = VT_BYREF | p.type.vt;
        V_BYREF(&s.callArg) = valueSlot(inner);
        s.direct = true;
        return S_OK;
      }
    }
  }
  hr = source ? coerce(source, p.type, s.value.get()) : missingValue(p, s.value.get());
  if (FAILED(hr)) return hr;
  if (p.type.byRef) {
    if (p.type.vt != VT_VARIANT) {
      hr = VariantCopy(s.received.get(), s.value.get());
      if (FAILED(hr)) return hr;
    }
    V_VT(&s.callArg) = static_cast<VARTYPE>(VT_BYREF | p.type.vt);
    V_BYREF(&s.callArg) = p.type.vt == VT_VARIANT ? static_cast<void*>(s.value.get()) : valueSlot(s.value.get());
  } else {
    s.callArg = *s.value.get();  // shallow: the value stays owned by s.value
  }
  return S_OK;
}

// What a member that was not called gives back: its result type's empty
// value (an empty text, zero, False, Nothing).
HRESULT emptyResult(const Member& m, VARIANT* result) {
  if (!result) return S_OK;
  VariantInit(result);
  if (!m.hasRetval || m.retval.vt == VT_VARIANT) return S_OK;
  V_VT(result) = m.retval.vt;
  V_I8(result) = 0;  // zero for every numeric type, null for every pointer
  if (m.retval.vt == VT_BSTR) {
    V_BSTR(result) = SysAllocStringLen(nullptr, 0);
    if (!V_BSTR(result)) V_VT(result) = VT_EMPTY;
  }
  return S_OK;
}

}  // namespace

HRESULT invokeMember(IDispatch* self, ITypeInfo* info, DISPID id, WORD flags, DISPPARAMS* params,
                     VARIANT* result, EXCEPINFO* exception, UINT* argError) {
  return guarded([&]() -> HRESULT {
    static DISPPARAMS none = {nullptr, nullptr, 0, 0};
    if (!params) params = &none;
    const Member* m = findMember(membersOf(info), id, flags);
    if (!m) return DISP_E_MEMBERNOTFOUND;

    // Positional arguments come last-first in rgvarg, after the named ones.
    UINT named = params->cNamedArgs;
    VARIANT* putValue = nullptr;
    if (named > 0) {
      bool isPut = m->kind == INVOKE_PROPERTYPUT || m->kind == INVOKE_PROPERTYPUTREF;
      if (!(isPut && named == 1 && params->rgdispidNamedArgs[0] == DISPID_PROPERTYPUT))
        return DISP_E_NONAMEDARGS;
      putValue = &params->rgvarg[0];
    }
    UINT positional = params->cArgs - named;
    size_t wanted = m->params.size() - (putValue ? 1 : 0);
    if (positional > wanted) return DISP_E_BADPARAMCOUNT;

    std::vector<Slot> slots(m->params.size());
    for (size_t i = 0; i < m->params.size(); ++i) {
      const Param& p = m->params[i];
      VARIANT* source = nullptr;
      UINT index = 0;
      if (putValue && i == m->params.size() - 1) {
        source = putValue;
      } else if (i < positional) {
        index = named + positional - 1 - static_cast<UINT>(i);
        source = &params->rgvarg[index];
      }
      if (source && isMissing(source)) source = nullptr;
      if (!source && !(p.flags & PARAMFLAG_FOPT)) return DISP_E_PARAMNOTOPTIONAL;
      HRESULT hr = prepare(slots[i], source, p);
      // A value that cannot take the declared type (an object or an array for
      // a text, Null for a number, a number out of range) is a step that
      // fails: the member is not called, nothing changes, and the host gets
      // the empty result rather than an error.
      if (hr == DISP_E_TYPEMISMATCH || hr == DISP_E_OVERFLOW) return emptyResult(*m, result);
      if (FAILED(hr)) {
        if (argError) *argError = index;
        return hr;
      }
    }

    win::Variant ret;
    VARIANT retArg;
    VariantInit(&retArg);
    std::vector<VARTYPE> types;
    std::vector<VARIANTARG*> args;
    for (Slot& s : slots) {
      types.push_back(V_VT(&s.callArg));
      args.push_back(&s.callArg);
    }
    if (m->hasRetval) {
      V_VT(ret.get()) = m->retval.vt;
      V_I8(ret.get()) = 0;
      V_VT(&retArg) = static_cast<VARTYPE>(VT_BYREF | m->retval.vt);
      V_BYREF(&retArg) = m->retval.vt == VT_VARIANT ? static_cast<void*>(ret.get()) : valueSlot(ret.get());
      if (m->retval.vt == VT_VARIANT) V_VT(ret.get()) = VT_EMPTY;
      types.push_back(V_VT(&retArg));
      args.push_back(&retArg);
    }

    VARIANT hrResult;
    VariantInit(&hrResult);
    HRESULT hr = DispCallFunc(self, m->vtableOffset, CC_STDCALL, VT_ERROR, static_cast<UINT>(args.size()),
                              types.data(), args.data(), &hrResult);
    if (FAILED(hr)) return hr;
    HRESULT callHr = V_ERROR(&hrResult);
    for (size_t i = 0; i < slots.size(); ++i)
      if (m->params[i].type.byRef) writeBack(slots[i], m->params[i].type);
    if (FAILED(callHr)) {
      if (exception) {
        std::memset(exception, 0, sizeof(*exception));
        exception->scode = callHr;
      }
      return DISP_E_EXCEPTION;
    }
    if (result) {
      VariantInit(result);
      if (m->hasRetval) {
        *result = *ret.get();
        V_VT(ret.get()) = VT_EMPTY;  // ownership moved to the caller
      }
    }
    return S_OK;
  });
}

}  // namespace mervane::server
