// The host's settings store behind the library's SettingsStore: one COM
// object per thread, called through its vtable.
#include "components/win/host_components.h"
#include "components/win/host_interfaces.h"

#include <utility>

#include "base/win/com.h"

namespace mervane {

namespace {

using win::Bstr;
using win::ComError;
using win::ComPtr;
using win::check;

class HostSettingsStore final : public SettingsStore {
 public:
  explicit HostSettingsStore(ComPtr<win::host::Settings> store) : store_(std::move(store)) {}

  void remove(const Text& root, const Text& section, const Text& key) override {
    check(store_->DeleteSetting(Bstr(root).get(), Bstr(section).get(), Bstr(key).get()));
  }
  std::vector<Row> readAll(const Text& root, const Text& section) override {
    win::Variant table;
    check(store_->GetAllSettings(Bstr(root).get(), Bstr(section).get(), table.get()));
    return settingsRows(*table.get());
  }
  Text read(const Text& root, const Text& section, const Text& key, const Text& fallback) override {
    Bstr value;
    check(store_->GetSetting(Bstr(root).get(), Bstr(section).get(), Bstr(key).get(), Bstr(fallback).get(),
                             value.put()));
    return value.text();
  }
  void write(const Text& root, const Text& section, const Text& key, const Text& value) override {
    check(store_->SaveSetting(Bstr(root).get(), Bstr(section).get(), Bstr(key).get(), Bstr(value).get()));
  }

 private:
  ComPtr<win::host::Settings> store_;
};

ComPtr<win::host::Settings> createHostSettings() {
  ComPtr<IUnknown> object;
  check(CoCreateInstance(win::host::kSettingsClass, nullptr, CLSCTX_SERVER, IID_IUnknown, object.putVoid()));
  ComPtr<win::host::Settings> store;
  check(object->QueryInterface(win::host::kSettingsInterface, store.putVoid()));
  if (!store) throw ComError(E_NOINTERFACE);
  return store;
}

// A cell of the table as text: Empty and Null are the empty text.
Text cellText(SAFEARRAY* table, VARTYPE element, LONG row, LONG column) {
  LONG index[2] = {row, column};
  if (element == VT_BSTR) {
    Bstr cell;
    check(SafeArrayGetElement(table, index, cell.put()));
    return cell.text();
  }
  if (element != VT_VARIANT) throw ComError(DISP_E_TYPEMISMATCH);
  win::Variant cell;
  check(SafeArrayGetElement(table, index, cell.get()));
  VARTYPE vt = V_VT(cell.get());
  if (vt == VT_EMPTY || vt == VT_NULL) return Text();
  win::Variant text;
  check(VariantChangeType(text.get(), cell.get(), 0, VT_BSTR));
  return win::toText(V_BSTR(text.get()));
}

}  // namespace

std::vector<SettingsStore::Row> settingsRows(const VARIANT& answer) {
  const VARIANT* v = &answer;
  while (V_VT(v) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(v)) v = V_VARIANTREF(v);
  VARTYPE vt = V_VT(v);
  if (vt == VT_EMPTY) return {};
  if (!(vt & VT_ARRAY)) throw ComError(DISP_E_TYPEMISMATCH);
  SAFEARRAY* table = (vt & VT_BYREF) ? (V_ARRAYREF(v) ? *V_ARRAYREF(v) : nullptr) : V_ARRAY(v);
  if (!table) return {};
  if (SafeArrayGetDim(table) != 2) throw ComError(DISP_E_TYPEMISMATCH);
  LONG rowLow = 0, rowHigh = -1, columnLow = 0, columnHigh = -1;
  check(SafeArrayGetLBound(table, 1, &rowLow));
  check(SafeArrayGetUBound(table, 1, &rowHigh));
  check(SafeArrayGetLBound(table, 2, &columnLow));
  check(SafeArrayGetUBound(table, 2, &columnHigh));
  if (rowHigh < rowLow) return {};
  if (columnHigh - columnLow < 1) throw ComError(DISP_E_BADINDEX);
  VARTYPE element = static_cast<VARTYPE>(vt & VT_TYPEMASK);
  std::vector<SettingsStore::Row> rows;
  for (LONG row = rowLow; row <= rowHigh; ++row)
    rows.emplace_back(cellText(table, element, row, columnLow), cellText(table, element, row, columnLow + 1));
  return rows;
}

namespace {
// Created on the thread's first use and never destroyed at thread exit: a
// thread_local object would be released then, when the thread may already
// have left COM or the host's DLL may be unloaded, and a Release then would
// crash the host. It is let go only when the host may unload the library.
thread_local SettingsStore* tStore = nullptr;
}  // namespace

SettingsStore& threadSettingsStore() {
  if (!tStore) tStore = new HostSettingsStore(createHostSettings());
  return *tStore;
}

void releaseThreadSettingsStore() { delete std::exchange(tStore, nullptr); }

}  // namespace mervane
