// cPrinter's print dialog under Windows (or Wine), two ways:
//  - a stand-in dialog behind the PrintDialogApi seam: the record and blocks
//    it receives, blocks it replaces, failed allocations; every block we
//    allocate is freed;
//  - the real dialog, driven like a person from a second thread. It needs a
//    printer, which pdf-printer.sh provides; without any printer the same
//    calls check the dialog's failure path (False, nothing changed) instead.
// MERVANE_DIALOG_HOLD_MS keeps each real dialog open that long (screenshots).
#include <windows.h>
#include <commdlg.h>
#include <dlgs.h>
#include <winspool.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "printing/win/print_dialog.h"
#include "server/printer_object.h"

using namespace mervane;
using namespace mervane::printing;
using mervane::printing::win::PrintDialogApi;
using mervane::printing::win::showPrinterDialog;

namespace {

// What the seam saw: blocks allocated and freed, the record sent and returned.
struct Ledger {
  int allocs = 0, frees = 0, dialogCalls = 0;
  bool failAlloc = false, failLock = false;
  std::vector<HGLOBAL> freed;
  PRINTDLGA sent{}, returned{};
  std::vector<std::uint8_t> sentDevMode, sentDevNames;
} ledger;

HGLOBAL WINAPI countingAlloc(UINT flags, SIZE_T bytes) {
  HGLOBAL h = ledger.failAlloc ? nullptr : GlobalAlloc(flags, bytes);
  ledger.allocs += h != nullptr;
  return h;
}
LPVOID WINAPI failableLock(HGLOBAL h) { return ledger.failLock ? nullptr : GlobalLock(h); }
HGLOBAL WINAPI countingFree(HGLOBAL h) {
  ++ledger.frees;
  ledger.freed.push_back(h);
  return GlobalFree(h);
}

std::vector<std::uint8_t> contents(HGLOBAL h) {
  std::vector<std::uint8_t> out(h ? GlobalSize(h) : 0);
  if (void* p = h ? GlobalLock(h) : nullptr) {
    std::memcpy(out.data(), p, out.size());
    GlobalUnlock(h);
  }
  return out;
}
void noteSent(const PRINTDLGA* pd) {
  ++ledger.dialogCalls;
  ledger.sent = *pd;
  ledger.sentDevMode = contents(pd->hDevMode);
  ledger.sentDevNames = contents(pd->hDevNames);
}

BOOL WINAPI cancellingDialog(PRINTDLGA* pd) {
  noteSent(pd);
  return FALSE;
}
// Answers OK as the system dialog does: the DEVMODE reallocated to the
// driver's (smaller) size, a DEVNAMES of its own, the page range changed.
BOOL WINAPI acceptingDialog(PRINTDLGA* pd) {
  noteSent(pd);
  DEVMODEA dm{};
  std::strcpy(reinterpret_cast<char*>(dm.dmDeviceName), "desk laser");
  dm.dmSize = sizeof dm;
  dm.dmFields = DM_ORIENTATION | DM_COPIES;  // collate not flagged: read all the same
  dm.dmOrientation = DMORIENT_LANDSCAPE;
  dm.dmPaperSize = DMPAPER_A4;
  dm.dmCopies = 3;
  dm.dmCollate = DMCOLLATE_TRUE;
  dm.dmDuplex = DMDUP_VERTICAL;
  dm.dmPrintQuality = DMRES_HIGH;
  dm.dmColor = DMCOLOR_COLOR;
  dm.dmDefaultSource = DMBIN_MANUAL;
  GlobalFree(pd->hDevMode);
  GlobalFree(pd->hDevNames);
  pd->hDevMode = countingAlloc(GMEM_MOVEABLE, sizeof dm);
  pd->hDevNames = countingAlloc(GMEM_MOVEABLE, 64);
  if (void* p = GlobalLock(pd->hDevMode)) std::memcpy(p, &dm, sizeof dm);
  GlobalUnlock(pd->hDevMode);
  pd->nFromPage = 3;
  pd->nToPage = 4;
  ledger.returned = *pd;
  return TRUE;
}
BOOL WINAPI recordingSystemDialog(PRINTDLGA* pd) {
  noteSent(pd);
  BOOL ok = PrintDlgA(pd);
  ledger.returned = *pd;
  return ok;
}

CurrentPrinter deskLaser() { return {"desk laser", "winspool", "LPT1:", 1, 9, 1}; }

PrintDialogApi countingApi(BOOL(WINAPI* dialog)(PRINTDLGA*), CurrentPrinter (*printer)()) {
  ledger = Ledger{};
  PrintDialogApi api;
  api.globalAlloc = countingAlloc;
  api.globalLock = failableLock;
  api.globalFree = countingFree;
  api.printDlg = dialog;
  api.currentPrinter = printer;
  return api;
}

PrinterSettings preset() {
  PrinterSettings s;
  s.minPage = 1;
  s.maxPage = 9;
  s.fromPage = 2;
  s.toPage = 5;
  s.printerName = u"EARLIER";
  s.copies = 7;
  s.paperBin = 15;
  return s;
}

void expectUnchanged(const PrinterSettings& a, const PrinterSettings& b) {
  EXPECT_EQ(std::tie(a.printFlags, a.minPage, a.maxPage, a.fromPage, a.toPage, a.printerName),
            std::tie(b.printFlags, b.minPage, b.maxPage, b.fromPage, b.toPage, b.printerName));
  EXPECT_EQ(std::tie(a.collate, a.copies, a.duplex, a.orientation, a.paperSize, a.printQuality,
                     a.colorMode, a.paperBin),
            std::tie(b.collate, b.copies, b.duplex, b.orientation, b.paperSize, b.printQuality,
                     b.colorMode, b.paperBin));
}

TEST(PrintDialogSeam, RecordAndBlocksSentAndNothingChangesOnCancel) {
  auto api = countingApi(cancellingDialog, deskLaser);
  PrinterSettings s = preset();
  s.orientation = 2;
  s.fromPage = 40000;
  const PrinterSettings before = s;
  const HWND owner = reinterpret_cast<HWND>(static_cast<std::intptr_t>(0x1234));
  EXPECT_FALSE(showPrinterDialog(s, owner, api));
  expectUnchanged(s, before);
  ASSERT_EQ(ledger.dialogCalls, 1);
  const PRINTDLGA& r = ledger.sent;
  EXPECT_EQ(r.lStructSize, sizeof(PRINTDLGA));
  EXPECT_EQ(r.hwndOwner, owner);
  EXPECT_EQ(r.Flags, 0x180004u);
  EXPECT_EQ((std::vector<int>{r.nFromPage, r.nToPage, r.nMinPage, r.nMaxPage, r.nCopies}),
            (std::vector<int>{0, 5, 1, 9, 0}));
  EXPECT_EQ(r.hDC, nullptr);
  const auto devMode = buildDevMode(deskLaser(), 2);
  const auto devNames = buildDevNames(deskLaser());
  ASSERT_GE(ledger.sentDevMode.size(), devMode.size());
  ASSERT_GE(ledger.sentDevNames.size(), devNames.size());
  EXPECT_TRUE(std::equal(devMode.begin(), devMode.end(), ledger.sentDevMode.begin()));
  EXPECT_TRUE(std::equal(devNames.begin(), devNames.end(), ledger.sentDevNames.begin()));
  EXPECT_EQ(ledger.sentDevMode[44], 2);  // the preset orientation, not the printer's
  EXPECT_EQ(ledger.freed, (std::vector<HGLOBAL>{r.hDevNames, r.hDevMode}));
}

TEST(PrintDialogSeam, OkReadsEveryResultFromTheReplacedBlocks) {
  auto api = countingApi(acceptingDialog, deskLaser);
  PrinterSettings s = preset();
  s.printFlags = PD_PRINTSETUP;
  ASSERT_TRUE(showPrinterDialog(s, nullptr, api));
  EXPECT_EQ(ledger.sent.Flags, static_cast<DWORD>(PD_PRINTSETUP));  // nothing added
  EXPECT_TRUE(s.printerName == u"DESK LASER");
  EXPECT_EQ((std::vector<int>{s.fromPage, s.toPage, s.orientation, s.paperSize, s.copies,
                              s.collate, s.duplex, s.printQuality, s.colorMode, s.paperBin}),
            (std::vector<int>{3, 4, DMORIENT_LANDSCAPE, DMPAPER_A4, 3, DMCOLLATE_TRUE,
                              DMDUP_VERTICAL, DMRES_HIGH, DMCOLOR_COLOR, DMBIN_MANUAL}));
  EXPECT_EQ(std::tie(s.minPage, s.maxPage, s.printFlags), std::make_tuple(1, 9, PD_PRINTSETUP));
  // The dialog's replacements are freed, DEVNAMES first; ours went with it.
  EXPECT_EQ(ledger.freed,
            (std::vector<HGLOBAL>{ledger.returned.hDevNames, ledger.returned.hDevMode}));
}

TEST(PrintDialogSeam, FailedAllocationOrLockNoPrinterAndHookFlags) {
  auto api = countingApi(cancellingDialog, deskLaser);
  PrinterSettings s = preset();
  ledger.failAlloc = true;
  EXPECT_FALSE(showPrinterDialog(s, nullptr, api));
  EXPECT_EQ(std::tie(ledger.sent.hDevMode, ledger.sent.hDevNames, ledger.frees),
            std::make_tuple(HGLOBAL{}, HGLOBAL{}, 0));

  api = countingApi(acceptingDialog, deskLaser);
  ledger.failLock = true;  // blocks go unfilled and the result cannot be read
  EXPECT_TRUE(showPrinterDialog(s, nullptr, api));
  EXPECT_EQ(ledger.sentDevMode, std::vector<std::uint8_t>(622, 0));
  EXPECT_TRUE(s.printerName.empty());
  EXPECT_EQ(std::tie(s.copies, s.fromPage), std::make_tuple(std::int16_t{0}, 3));

  api = countingApi(cancellingDialog, [] { return CurrentPrinter{}; });
  EXPECT_FALSE(showPrinterDialog(s, nullptr, api));
  EXPECT_EQ(ledger.sentDevNames[2], 9);
  EXPECT_EQ(ledger.frees, 2);

  // The record carries no hook, so asking for one is refused without a dialog.
  for (LONG hook : {PD_ENABLEPRINTHOOK, PD_ENABLESETUPHOOK | PD_PRINTSETUP}) {
    api = countingApi(acceptingDialog, deskLaser);
    s.printFlags = hook;
    EXPECT_FALSE(showPrinterDialog(s, nullptr, api));
    EXPECT_EQ(std::tie(ledger.dialogCalls, ledger.frees), std::make_tuple(0, ledger.allocs));
  }
}

// ---- The real dialog ---------------------------------------------------------

// The person at the keyboard: waits for a dialog of this process, does `act`
// to the first, and cancels anything that appears after it until told to stop.
class User {
 public:
  explicit User(std::function<void(HWND)> act) : act_(std::move(act)), thread_([this] { run(); }) {}
  ~User() { leave(); }
  void leave() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }
  static void click(HWND dlg, int id) { SendMessageW(GetDlgItem(dlg, id), BM_CLICK, 0, 0); }
  static void cancel(HWND dlg) {
    if (GetDlgItem(dlg, IDCANCEL)) click(dlg, IDCANCEL);
    else PostMessageW(dlg, WM_COMMAND, IDCANCEL, 0);  // a message box with OK only
  }
  std::vector<std::wstring> captions;  // of every dialog seen, in order
  HWND firstOwner = nullptr;

 private:
  static BOOL CALLBACK visit(HWND w, LPARAM found) {
    DWORD pid = 0;
    GetWindowThreadProcessId(w, &pid);
    wchar_t cls[16] = {};
    GetClassNameW(w, cls, 16);
    if (pid != GetCurrentProcessId() || !IsWindowVisible(w) || std::wcscmp(cls, L"#32770")) return TRUE;
    *reinterpret_cast<HWND*>(found) = w;
    return FALSE;
  }
  void run() {
    const char* hold = std::getenv("MERVANE_DIALOG_HOLD_MS");
    while (!stop_) {
      HWND dlg = nullptr;
      EnumWindows(visit, reinterpret_cast<LPARAM>(&dlg));
      if (!dlg) {
        Sleep(20);
        continue;
      }
      Sleep(100);  // let it finish initialising
      wchar_t caption[64] = {};
      GetWindowTextW(dlg, caption, 64);
      captions.push_back(caption);
      if (captions.size() == 1) {
        firstOwner = GetWindow(dlg, GW_OWNER);
        if (hold) Sleep(static_cast<DWORD>(std::atoi(hold)));
        act_(dlg);
      } else {
        cancel(dlg);
      }
      for (int i = 0; i < 100 && IsWindowVisible(dlg); ++i) Sleep(20);
    }
  }
  std::function<void(HWND)> act_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

class RealDialog : public ::testing::Test {
 protected:
  void SetUp() override {
    DWORD needed = 0, count = 0;
    EnumPrintersW(PRINTER_ENUM_LOCAL, nullptr, 2, nullptr, 0, &needed, &count);
    printer_ = needed > 0;
    if (!printer_)
      std::printf("[  NOTE    ] no printer here: checking the dialog's failure path instead\n");
  }
  bool printer_ = false;
};

TEST_F(RealDialog, CopiesChangedAndOkPressed) {
  auto api = countingApi(recordingSystemDialog, nullptr);
  PrinterSettings s = preset();
  s.printFlags = PD_NOSELECTION | PD_HIDEPRINTTOFILE | PD_USEDEVMODECOPIESANDCOLLATE;
  const PrinterSettings before = s;
  User user([](HWND dlg) {
    SetDlgItemTextW(dlg, edt3, L"3");
    User::click(dlg, IDOK);
  });
  const bool ok = showPrinterDialog(s, nullptr, api);
  user.leave();
  EXPECT_EQ(std::tie(ledger.allocs, ledger.frees), std::make_tuple(2, 2));
  if (!printer_) {
    EXPECT_FALSE(ok);
    return expectUnchanged(s, before);
  }
  ASSERT_TRUE(ok);
  EXPECT_EQ(user.captions, std::vector<std::wstring>{L"Print"});
  // The current printer is the default one, whose name is in small letters.
  ASSERT_GE(ledger.sentDevNames.size(), 108u);
  EXPECT_STREQ(reinterpret_cast<const char*>(&ledger.sentDevNames[ledger.sentDevNames[2]]),
               "mervane_pdf");
  EXPECT_TRUE(s.printerName == u"MERVANE_PDF");
  EXPECT_EQ((std::vector<int>{s.copies, s.fromPage, s.toPage, s.orientation, s.minPage, s.maxPage}),
            (std::vector<int>{3, 2, 5, DMORIENT_PORTRAIT, 1, 9}));
  EXPECT_GT(s.paperSize, 0);
  EXPECT_EQ(ledger.freed,
            (std::vector<HGLOBAL>{ledger.returned.hDevNames, ledger.returned.hDevMode}));
}

TEST_F(RealDialog, LandscapeChosenThroughTheComObjectModalToItsOwner) {
  HWND owner = CreateWindowExW(0, L"STATIC", L"host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 200,
                               100, nullptr, nullptr, nullptr, nullptr);
  auto printer = server::PrinterObject::create();
  printer->put_PrintFlags(PD_PRINTSETUP);
  printer->put_Orientation(DMORIENT_PORTRAIT);
  User user([](HWND dlg) {
    User::click(dlg, rad2);
    User::click(dlg, IDOK);
  });
  LONG handle = static_cast<LONG>(reinterpret_cast<std::intptr_t>(owner));
  VARIANT_BOOL result = 0;
  EXPECT_EQ(printer->ShowPrinterDialog(&handle, &result), S_OK);
  user.leave();
  DestroyWindow(owner);
  short orientation = 0;
  printer->get_Orientation(&orientation);
  if (!printer_) {
    EXPECT_EQ(std::tie(result, orientation), std::make_tuple(VARIANT_FALSE, DMORIENT_PORTRAIT));
    return;
  }
  EXPECT_EQ(result, VARIANT_TRUE);
  EXPECT_EQ(user.firstOwner, owner);
  EXPECT_EQ(user.captions, std::vector<std::wstring>{L"Print Setup"});
  EXPECT_EQ(orientation, DMORIENT_LANDSCAPE);
}

TEST_F(RealDialog, PresetOrientationReachesTheDialogAndCancelChangesNothing) {
  auto api = countingApi(recordingSystemDialog, nullptr);
  PrinterSettings s = preset();
  s.printFlags = PD_PRINTSETUP;
  s.orientation = DMORIENT_LANDSCAPE;
  const PrinterSettings before = s;
  User user([](HWND dlg) { User::cancel(dlg); });
  EXPECT_FALSE(showPrinterDialog(s, nullptr, api));
  user.leave();
  expectUnchanged(s, before);
  EXPECT_EQ(std::tie(ledger.dialogCalls, ledger.allocs, ledger.frees), std::make_tuple(1, 2, 2));
  EXPECT_EQ(ledger.sentDevMode[44], DMORIENT_LANDSCAPE);
  EXPECT_EQ(user.captions.size(), 1u);
}

TEST_F(RealDialog, OwnersThatAreNotWindowsAndOddFlagsNeverCrash) {
  auto printer = server::PrinterObject::create();
  printer->put_FromPage(9);
  printer->put_ToPage(2);  // From above To
  printer->put_MaxPage(70000);
  VARIANT_BOOL result = VARIANT_TRUE;
  for (LONG bogus : std::initializer_list<LONG>{0x12345678, -1, 1}) {
    User user([](HWND dlg) { User::cancel(dlg); });
    EXPECT_EQ(printer->ShowPrinterDialog(&bogus, &result), S_OK);
    EXPECT_EQ(result, VARIANT_FALSE) << bogus;
  }
  EXPECT_EQ(printer->ShowPrinterDialog(nullptr, nullptr), E_POINTER);
  // A default-printer request (refused when blocks are given), templates that
  // are not there, a device context asked for (deleted again), every bit.
  for (LONG flags : std::initializer_list<LONG>{PD_RETURNDEFAULT, PD_ENABLEPRINTTEMPLATE,
                                                PD_ENABLESETUPTEMPLATEHANDLE | PD_PRINTSETUP,
                                                PD_RETURNDC | PD_PRINTSETUP, -1}) {
    printer->put_PrintFlags(flags);
    User user([](HWND dlg) { User::click(dlg, IDOK); });
    EXPECT_EQ(printer->ShowPrinterDialog(nullptr, &result), S_OK) << flags;
    if (flags == PD_RETURNDEFAULT || flags == -1) {
      EXPECT_EQ(result, VARIANT_FALSE) << flags;
    }
  }
  LONG max = 0;
  printer->get_MaxPage(&max);
  EXPECT_EQ(max, 70000);
}

}  // namespace
