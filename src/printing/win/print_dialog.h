// cPrinter's dialog call: the system print dialog (PrintDlgA) shown for the
// application's current printer, its results stored in the object's state.
//
// The global-memory functions, the dialog itself and the lookup of the
// current printer go through PrintDialogApi, so tests can count every block
// allocated and freed, or stand in for the dialog.
#pragma once

#include <windows.h>
#include <commdlg.h>

#include "printing/print_dialog_blocks.h"
#include "printing/printer_settings.h"

namespace mervane::printing::win {

struct PrintDialogApi {
  HGLOBAL(WINAPI* globalAlloc)(UINT flags, SIZE_T bytes) = ::GlobalAlloc;
  LPVOID(WINAPI* globalLock)(HGLOBAL block) = ::GlobalLock;
  BOOL(WINAPI* globalUnlock)(HGLOBAL block) = ::GlobalUnlock;
  HGLOBAL(WINAPI* globalFree)(HGLOBAL block) = ::GlobalFree;
  SIZE_T(WINAPI* globalSize)(HGLOBAL block) = ::GlobalSize;
  BOOL(WINAPI* printDlg)(PRINTDLGA* record) = ::PrintDlgA;
  CurrentPrinter (*currentPrinter)() = nullptr;  // null: the system default printer
};

// The application's current printer: the system default printer, its names
// in the ANSI code page and orientation, paper size and duplex from its
// default DEVMODE. All empty and zero when there is no printer.
CurrentPrinter defaultPrinter();

// The size the dialog expects in lStructSize on this platform.
constexpr DWORD kPrintDlgRecordSize = sizeof(PRINTDLGA);

// Shows the dialog, modal to owner (which need not be a window). True when
// the user pressed OK; then every result is stored in settings. On cancel
// or failure settings are left exactly as they were. Both blocks are freed
// in every case.
bool showPrinterDialog(PrinterSettings& settings, HWND owner, const PrintDialogApi& api = {});

}  // namespace mervane::printing::win
