// Reports: the keyed collection of ReportItem objects that hosts create and
// the catalogue operations fill.
#pragma once

#include "Mervane100.h"
#include "catalogue/keyed_collection.h"
#include "server/dispatch.h"
#include "server/report_item_object.h"

namespace mervane::server {

class ReportsObject final : public DispatchObject<ReportsObject, _Reports> {
 public:
  static const IID& interfaceId() { return IID__Reports; }
  static std::span<const IID* const> earlierInterfaceIds() { return {}; }

  HRESULT STDMETHODCALLTYPE Add(BSTR* ReportTitle, BSTR* FileName, BSTR* sKey, _ReportItem** item) override;
  HRESULT STDMETHODCALLTYPE get_Item(VARIANT* vntIndexKey, _ReportItem** item) override;
  HRESULT STDMETHODCALLTYPE get_Count(LONG* count) override;
  HRESULT STDMETHODCALLTYPE Remove(VARIANT* vntIndexKey) override;
  HRESULT STDMETHODCALLTYPE get_NewEnum(IUnknown** enumerator) override;

 private:
  KeyedCollection<win::ComPtr<ReportItemObject>> items_;
};

// An IEnumVARIANT over a snapshot of items, for For Each.
win::ComPtr<IEnumVARIANT> makeItemEnumerator(std::vector<win::ComPtr<IDispatch>> items);

}  // namespace mervane::server
