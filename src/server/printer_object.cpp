// cPrinter: property gets and lets read and store the object's fields; the
// print dialog itself lives in printing/win.
#include "server/printer_object.h"

#include <cstdint>

#include "printing/win/print_dialog.h"

namespace mervane::server {

namespace {
const IID kPrinterV0 = {0x96E793B6, 0xEF91, 0x477E, {0xB2, 0xBB, 0x1F, 0xF1, 0x11, 0x6B, 0x48, 0x4A}};
}

std::span<const IID* const> PrinterObject::earlierInterfaceIds() {
  static const IID* const ids[] = {&kPrinterV0};
  return ids;
}

HRESULT PrinterObject::get_PaperBin(short* value) { return putOut<short>(value, state_.paperBin); }
HRESULT PrinterObject::get_ColorMode(short* value) { return putOut<short>(value, state_.colorMode); }
HRESULT PrinterObject::get_PrintQuality(short* value) { return putOut<short>(value, state_.printQuality); }
HRESULT PrinterObject::get_PaperSize(short* value) { return putOut<short>(value, state_.paperSize); }
HRESULT PrinterObject::get_Orientation(short* value) { return putOut<short>(value, state_.orientation); }
HRESULT PrinterObject::get_Duplex(short* value) { return putOut<short>(value, state_.duplex); }
HRESULT PrinterObject::get_Copies(short* value) { return putOut<short>(value, state_.copies); }
HRESULT PrinterObject::get_Collate(short* value) { return putOut<short>(value, state_.collate); }
HRESULT PrinterObject::get_PrinterName(BSTR* value) { return putOut(value, state_.printerName); }
HRESULT PrinterObject::put_ToPage(LONG value) { state_.toPage = value; return S_OK; }
HRESULT PrinterObject::get_ToPage(LONG* value) { return putOut<LONG>(value, state_.toPage); }
HRESULT PrinterObject::put_FromPage(LONG value) { state_.fromPage = value; return S_OK; }
HRESULT PrinterObject::get_FromPage(LONG* value) { return putOut<LONG>(value, state_.fromPage); }
HRESULT PrinterObject::put_MaxPage(LONG value) { state_.maxPage = value; return S_OK; }
HRESULT PrinterObject::get_MaxPage(LONG* value) { return putOut<LONG>(value, state_.maxPage); }
HRESULT PrinterObject::put_MinPage(LONG value) { state_.minPage = value; return S_OK; }
HRESULT PrinterObject::get_MinPage(LONG* value) { return putOut<LONG>(value, state_.minPage); }
HRESULT PrinterObject::put_PrintFlags(LONG value) { state_.printFlags = value; return S_OK; }
HRESULT PrinterObject::put_Orientation(short value) { state_.orientation = value; return S_OK; }

// The owner arrives as the 32-bit handle the host holds; window handles are
// 32-bit values on 64-bit Windows too, so it is widened with its sign.
HRESULT PrinterObject::ShowPrinterDialog(LONG* OwnerhWnd, VARIANT_BOOL* result) {
  if (!result) return E_POINTER;
  *result = VARIANT_FALSE;
  return guarded([&] {
    HWND owner = OwnerhWnd ? reinterpret_cast<HWND>(static_cast<std::intptr_t>(*OwnerhWnd)) : nullptr;
    *result = toVariantBool(printing::win::showPrinterDialog(state_, owner));
    return S_OK;
  });
}

}  // namespace mervane::server
