// ReportItem: one entry of a Reports collection; six plain values.
#pragma once

#include "Mervane100.h"
#include "catalogue/report_list.h"
#include "server/dispatch.h"

namespace mervane::server {

class ReportItemObject final : public DispatchObject<ReportItemObject, _ReportItem> {
 public:
  static const IID& interfaceId() { return IID__ReportItem; }
  static std::span<const IID* const> earlierInterfaceIds();

  const ReportItem& values() const { return item_; }

  HRESULT STDMETHODCALLTYPE put_Favourite(VARIANT_BOOL value) override;
  HRESULT STDMETHODCALLTYPE get_Favourite(VARIANT_BOOL* value) override;
  HRESULT STDMETHODCALLTYPE put_RegKey(BSTR value) override;
  HRESULT STDMETHODCALLTYPE get_RegKey(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE put_FileName(BSTR value) override;
  HRESULT STDMETHODCALLTYPE get_FileName(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE put_ReportTitle(BSTR value) override;
  HRESULT STDMETHODCALLTYPE get_ReportTitle(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE put_ReportType(BSTR value) override;
  HRESULT STDMETHODCALLTYPE get_ReportType(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE put_ApplicationData(LONG value) override;
  HRESULT STDMETHODCALLTYPE get_ApplicationData(LONG* value) override;

 private:
  ReportItem item_;
};

}  // namespace mervane::server
