// cPrinter: the printer-selection object the host creates on its own.
#pragma once

#include "Mervane100.h"
#include "printing/printer_settings.h"
#include "server/dispatch.h"

namespace mervane::server {

class PrinterObject final : public DispatchObject<PrinterObject, _cPrinter> {
 public:
  static const IID& interfaceId() { return IID__cPrinter; }
  static std::span<const IID* const> earlierInterfaceIds();

  HRESULT STDMETHODCALLTYPE get_PaperBin(short* value) override;
  HRESULT STDMETHODCALLTYPE get_ColorMode(short* value) override;
  HRESULT STDMETHODCALLTYPE get_PrintQuality(short* value) override;
  HRESULT STDMETHODCALLTYPE get_PaperSize(short* value) override;
  HRESULT STDMETHODCALLTYPE get_Orientation(short* value) override;
  HRESULT STDMETHODCALLTYPE get_Duplex(short* value) override;
  HRESULT STDMETHODCALLTYPE get_Copies(short* value) override;
  HRESULT STDMETHODCALLTYPE get_Collate(short* value) override;
  HRESULT STDMETHODCALLTYPE get_PrinterName(BSTR* value) override;
  HRESULT STDMETHODCALLTYPE put_ToPage(LONG value) override;
  HRESULT STDMETHODCALLTYPE get_ToPage(LONG* value) override;
  HRESULT STDMETHODCALLTYPE put_FromPage(LONG value) override;
  HRESULT STDMETHODCALLTYPE get_FromPage(LONG* value) override;
  HRESULT STDMETHODCALLTYPE put_MaxPage(LONG value) override;
  HRESULT STDMETHODCALLTYPE get_MaxPage(LONG* value) override;
  HRESULT STDMETHODCALLTYPE put_MinPage(LONG value) override;
  HRESULT STDMETHODCALLTYPE get_MinPage(LONG* value) override;
  HRESULT STDMETHODCALLTYPE put_PrintFlags(LONG value) override;
  HRESULT STDMETHODCALLTYPE ShowPrinterDialog(LONG* OwnerhWnd, VARIANT_BOOL* result) override;
  HRESULT STDMETHODCALLTYPE put_Orientation(short value) override;

 private:
  PrinterSettings state_;
};

}  // namespace mervane::server
