#include "server/reports_object.h"

#include <variant>

namespace mervane::server {

namespace {

// How a vntIndexKey selects: a position, a key, or nothing at all.
using Selector = std::variant<std::monostate, long long, Text>;

Selector selectorOf(const VARIANT* index) {
  if (!index) return {};
  win::Variant value;
  if (FAILED(VariantCopyInd(value.get(), const_cast<VARIANT*>(index)))) return {};
  VARIANT* v = value.get();
  while (V_VT(v) == (VT_BYREF | VT_VARIANT)) v = V_VARIANTREF(v);
  switch (V_VT(v)) {
    case VT_BSTR:
      return win::toText(V_BSTR(v));
    case VT_I1: case VT_UI1: case VT_I2: case VT_UI2: case VT_I4: case VT_UI4: case VT_INT:
    case VT_UINT: case VT_I8: case VT_UI8: case VT_R4: case VT_R8: case VT_CY: case VT_DECIMAL:
    case VT_BOOL: case VT_DATE: {
      win::Variant position;
      if (FAILED(VariantChangeType(position.get(), v, 0, VT_I4))) return {};
      return static_cast<long long>(V_I4(position.get()));
    }
    default:
      return {};  // Empty, Null, objects, arrays: nothing is selected
  }
}

}  // namespace

HRESULT ReportsObject::Add(BSTR* ReportTitle, BSTR* FileName, BSTR* sKey, _ReportItem** item) {
  if (!item) return E_POINTER;
  *item = nullptr;
  return guarded([&] {
    auto created = ReportItemObject::create();
    created->put_ReportTitle(ReportTitle ? *ReportTitle : nullptr);
    created->put_FileName(FileName ? *FileName : nullptr);
    Text key = sKey ? win::toText(*sKey) : Text();
    items_.add(created, key);
    *item = created.detach();
    return S_OK;
  });
}

HRESULT ReportsObject::get_Item(VARIANT* vntIndexKey, _ReportItem** item) {
  if (!item) return E_POINTER;
  *item = nullptr;
  return guarded([&] {
    Selector s = selectorOf(vntIndexKey);
    const win::ComPtr<ReportItemObject>* found = nullptr;
    if (auto* position = std::get_if<long long>(&s)) found = items_.at(*position);
    if (auto* key = std::get_if<Text>(&s)) found = items_.find(*key);
    if (found) *item = win::ComPtr<ReportItemObject>(*found).detach();
    return S_OK;
  });
}

HRESULT ReportsObject::get_Count(LONG* count) { return putOut<LONG>(count, static_cast<LONG>(items_.size())); }

HRESULT ReportsObject::Remove(VARIANT* vntIndexKey) {
  return guarded([&] {
    Selector s = selectorOf(vntIndexKey);
    if (auto* position = std::get_if<long long>(&s)) items_.removeAt(*position);
    if (auto* key = std::get_if<Text>(&s)) items_.remove(*key);
    return S_OK;
  });
}

HRESULT ReportsObject::get_NewEnum(IUnknown** enumerator) {
  if (!enumerator) return E_POINTER;
  *enumerator = nullptr;
  return guarded([&] {
    std::vector<win::ComPtr<IDispatch>> snapshot;
    for (const auto& item : items_.values()) snapshot.emplace_back(static_cast<IDispatch*>(item.get()));
    *enumerator = makeItemEnumerator(std::move(snapshot)).detach();
    return S_OK;
  });
}

namespace {

class ItemEnumerator final : public ComObject<ItemEnumerator, IEnumVARIANT> {
 public:
  ItemEnumerator(std::shared_ptr<const std::vector<win::ComPtr<IDispatch>>> items, size_t next)
      : items_(std::move(items)), next_(next) {
    objectCreated();
  }
  ~ItemEnumerator() { objectDestroyed(); }
  static bool answersTo(REFIID iid) { return sameIid(iid, IID_IEnumVARIANT); }

  HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* out, ULONG* fetched) override {
    if (!out) return E_POINTER;
    ULONG n = 0;
    while (n < count && next_ < items_->size()) {
      VariantInit(&out[n]);
      V_VT(&out[n]) = VT_DISPATCH;
      V_DISPATCH(&out[n]) = win::ComPtr<IDispatch>((*items_)[next_]).detach();
      ++n;
      ++next_;
    }
    if (fetched) *fetched = n;
    return n == count ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
    size_t left = items_->size() - next_;
    next_ += count < left ? count : left;
    return count <= left ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Reset() override {
    next_ = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    return guarded([&] {
      *out = create(items_, next_).detach();
      return S_OK;
    });
  }

 private:
  std::shared_ptr<const std::vector<win::ComPtr<IDispatch>>> items_;
  size_t next_;
};

}  // namespace

win::ComPtr<IEnumVARIANT> makeItemEnumerator(std::vector<win::ComPtr<IDispatch>> items) {
  auto shared = std::make_shared<const std::vector<win::ComPtr<IDispatch>>>(std::move(items));
  return win::ComPtr<IEnumVARIANT>::attach(ItemEnumerator::create(shared, 0).detach());
}

}  // namespace mervane::server
