// Report printing: the dialog, the job loop over pages, and the progress
// window of a job running on its worker thread.
#include "printing/win/report_printing.h"

#include <commdlg.h>
#include <winspool.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "base/win/form.h"
#include "engine/win/page_painter.h"

namespace mervane::printing::win {

namespace {

constexpr UINT kShowPage = WM_APP + 20;  // wParam: page, lParam: of (0: not known)
constexpr UINT kJobDone = WM_APP + 21;
constexpr UINT kCounting = WM_APP + 22;  // wParam: pages counted so far
constexpr int kTextId = 100;
constexpr wchar_t kProgressClass[] = L"MervanePrintProgress";

// A global memory block the print dialog hands back, freed on scope exit.
struct GlobalBlock {
  HGLOBAL handle;
  ~GlobalBlock() {
    if (handle) GlobalFree(handle);
  }
};

std::vector<std::uint8_t> copyDevMode(const DEVMODEW* dm) {
  if (!dm) return {};
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(dm);
  return std::vector<std::uint8_t>(bytes, bytes + dm->dmSize + dm->dmDriverExtra);
}

// The printer's own settings when the choice carries none.
std::vector<std::uint8_t> printerDevMode(const std::wstring& device) {
  HANDLE printer = nullptr;
  if (!OpenPrinterW(const_cast<wchar_t*>(device.c_str()), &printer, nullptr)) return {};
  std::vector<std::uint8_t> out;
  LONG size = DocumentPropertiesW(nullptr, printer, const_cast<wchar_t*>(device.c_str()), nullptr, nullptr, 0);
  if (size >= static_cast<LONG>(sizeof(DEVMODEW)) || size > 0) {
    out.resize(static_cast<std::size_t>(size));
    if (DocumentPropertiesW(nullptr, printer, const_cast<wchar_t*>(device.c_str()),
                            reinterpret_cast<DEVMODEW*>(out.data()), nullptr, DM_OUT_BUFFER) != IDOK)
      out.clear();
  }
  ClosePrinter(printer);
  return out;
}

// Asks the driver for the page's paper: its orientation, and its size by
// the paper codes where it is a common one, else in tenths of a millimetre.
bool fitPaper(std::vector<std::uint8_t>& devMode, const engine::layout::Page& page) {
  if (devMode.size() < offsetof(DEVMODEW, dmPaperWidth) + sizeof(short)) return false;
  auto* dm = reinterpret_cast<DEVMODEW*>(devMode.data());
  std::int32_t shortSide = std::min(page.width, page.height), longSide = std::max(page.width, page.height);
  short orientation = page.width > page.height ? DMORIENT_LANDSCAPE : DMORIENT_PORTRAIT;
  auto fits = [&](int a, int b) { return std::abs(shortSide - a) < 60 && std::abs(longSide - b) < 60; };
  short paper = fits(11906, 16838) ? DMPAPER_A4 : fits(12240, 15840) ? DMPAPER_LETTER
              : fits(12240, 20160) ? DMPAPER_LEGAL : fits(8391, 11906) ? DMPAPER_A5 : 0;
  bool changed = !(dm->dmFields & DM_ORIENTATION) || dm->dmOrientation != orientation;
  dm->dmFields |= DM_ORIENTATION;
  dm->dmOrientation = orientation;
  if (paper) {
    changed = changed || !(dm->dmFields & DM_PAPERSIZE) || dm->dmPaperSize != paper;
    dm->dmFields = (dm->dmFields | DM_PAPERSIZE) & ~static_cast<DWORD>(DM_PAPERWIDTH | DM_PAPERLENGTH);
    dm->dmPaperSize = paper;
  } else {
    auto tenths = [](std::int32_t twips) { return static_cast<short>(twips * 254 / 1440); };
    changed = changed || dm->dmPaperWidth != tenths(shortSide) || dm->dmPaperLength != tenths(longSide);
    dm->dmFields |= DM_PAPERSIZE | DM_PAPERWIDTH | DM_PAPERLENGTH;
    dm->dmPaperSize = DMPAPER_USER;
    dm->dmPaperWidth = tenths(shortSide);
    dm->dmPaperLength = tenths(longSide);
  }
  return changed;
}

LRESULT CALLBACK progressProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* cancelled = reinterpret_cast<std::atomic<bool>*>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
  switch (message) {
    case WM_COMMAND:
      if (LOWORD(wParam) == IDCANCEL && cancelled) {
        *cancelled = true;
        SetDlgItemTextW(hwnd, kTextId, L"Cancelling\x2026");
        EnableWindow(GetDlgItem(hwnd, IDCANCEL), FALSE);
      }
      return 0;
    case WM_CLOSE:
      if (cancelled) *cancelled = true;
      return 0;
    case kShowPage: {
      if (cancelled && *cancelled) return 0;
      std::wstring text = L"Printing page " + std::to_wstring(wParam);
      if (lParam > 0) text += L" of " + std::to_wstring(lParam);
      SetDlgItemTextW(hwnd, kTextId, text.c_str());
      return 0;
    }
    case kCounting: {
      if (cancelled && *cancelled) return 0;
      std::wstring text = L"Counting pages (" + std::to_wstring(wParam) + L" so far)\x2026";
      SetDlgItemTextW(hwnd, kTextId, text.c_str());
      return 0;
    }
    case kJobDone:
      ShowWindow(hwnd, SW_HIDE);
      return 0;
    default:
      return DefWindowProcW(hwnd, message, wParam, lParam);
  }
}

HWND makeProgressWindow(HWND owner, std::atomic<bool>* cancelled) {
  static const bool registered = [] {
    WNDCLASSEXW wc{};
    wc.lpfnWndProc = progressProc;
    wc.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    wc.lpszClassName = kProgressClass;
    return mervane::win::registerWindowClass(wc);
  }();
  if (!registered) return nullptr;
  RECT area{0, 0, 300, 90};
  AdjustWindowRectEx(&area, WS_POPUP | WS_CAPTION, FALSE, WS_EX_DLGMODALFRAME);
  int width = area.right - area.left, height = area.bottom - area.top;
  RECT ownerRect{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
  if (owner) GetWindowRect(owner, &ownerRect);
  HWND hwnd = CreateWindowExW(WS_EX_DLGMODALFRAME, kProgressClass, L"Printing", WS_POPUP | WS_CAPTION,
                              (ownerRect.left + ownerRect.right - width) / 2,
                              (ownerRect.top + ownerRect.bottom - height) / 2, width, height, owner, nullptr,
                              mervane::win::thisModule(), nullptr);
  if (!hwnd) return nullptr;
  SetWindowLongPtrW(hwnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(cancelled));
  auto font = reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT));
  HWND text = CreateWindowExW(0, L"STATIC", L"Starting the print job\x2026", WS_CHILD | WS_VISIBLE, 12, 12, 276,
                              20, hwnd, reinterpret_cast<HMENU>(kTextId), nullptr, nullptr);
  HWND cancel = CreateWindowExW(0, L"BUTTON", L"Cancel", WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_DEFPUSHBUTTON,
                                108, 50, 84, 26, hwnd, reinterpret_cast<HMENU>(IDCANCEL), nullptr, nullptr);
  SendMessageW(text, WM_SETFONT, font, TRUE);
  SendMessageW(cancel, WM_SETFONT, font, TRUE);
  ShowWindow(hwnd, SW_SHOWNOACTIVATE);
  return hwnd;
}

}  // namespace

std::optional<PrintChoice> askPrintChoice(HWND owner, std::int32_t pagesKnown, std::optional<std::int32_t> pageCount) {
  PRINTDLGW pd{};
  pd.lStructSize = sizeof(pd);
  pd.hwndOwner = owner;
  pd.Flags = PD_ALLPAGES | PD_NOSELECTION | PD_USEDEVMODECOPIESANDCOLLATE;
  pd.nMinPage = 1;
  pd.nMaxPage = static_cast<WORD>(std::clamp(pageCount.value_or(0xFFFF), 1, 0xFFFF));
  pd.nFromPage = 1;
  pd.nToPage = static_cast<WORD>(std::clamp(pageCount.value_or(pagesKnown), 1, 0xFFFF));
  pd.nCopies = 1;
  BOOL accepted = PrintDlgW(&pd);
  GlobalBlock devMode{pd.hDevMode}, devNames{pd.hDevNames};
  if (!accepted || !pd.hDevNames) return std::nullopt;
  PrintChoice choice;
  if (const auto* names = static_cast<const DEVNAMES*>(GlobalLock(pd.hDevNames))) {
    const auto* base = reinterpret_cast<const wchar_t*>(names);
    choice.driver = base + names->wDriverOffset;
    choice.device = base + names->wDeviceOffset;
    choice.port = base + names->wOutputOffset;
    GlobalUnlock(pd.hDevNames);
  }
  if (pd.hDevMode) {
    if (const auto* dm = static_cast<const DEVMODEW*>(GlobalLock(pd.hDevMode))) {
      choice.devMode = copyDevMode(dm);
      GlobalUnlock(pd.hDevMode);
    }
  }
  if (pd.Flags & PD_PAGENUMS) {
    choice.from = std::max<std::int32_t>(1, pd.nFromPage);
    choice.to = std::max<std::int32_t>(choice.from, pd.nToPage);
  }
  if (pd.hDC) DeleteDC(pd.hDC);
  return choice;
}

std::optional<PrintChoice> defaultPrintChoice() {
  DWORD size = 0;
  GetDefaultPrinterW(nullptr, &size);
  if (size == 0) return std::nullopt;
  std::wstring name(size, L'\0');
  if (!GetDefaultPrinterW(name.data(), &size)) return std::nullopt;
  name.resize(wcslen(name.c_str()));
  PrintChoice choice;
  choice.driver = L"WINSPOOL";
  choice.device = name;
  return choice;
}

PrintOutcome printPages(const engine::exporting::PageFeed& pages, const PrintChoice& choice,
                        const std::wstring& documentName,
                        const std::function<bool(std::int32_t, std::int32_t)>& progress, std::int32_t* printed) {
  if (printed) *printed = 0;
  std::vector<std::uint8_t> devMode = choice.devMode.empty() ? printerDevMode(choice.device) : choice.devMode;
  auto* dm = devMode.size() >= offsetof(DEVMODEW, dmFormName) ? reinterpret_cast<DEVMODEW*>(devMode.data()) : nullptr;
  if (!dm) devMode.clear();
  // The first page's paper before the job starts, so the job's first page
  // comes out right on drivers that ignore a change before it.
  std::shared_ptr<const engine::layout::Page> page;
  try {
    page = pages(std::max(1, choice.from));
  } catch (const engine::exporting::FeedStopped&) {
    return PrintOutcome::Cancelled;
  }
  if (!page) return PrintOutcome::Printed;  // nothing to print
  if (dm) fitPaper(devMode, *page);
  HDC dc = CreateDCW(choice.driver.empty() ? nullptr : choice.driver.c_str(), choice.device.c_str(), nullptr,
                     dm ? reinterpret_cast<DEVMODEW*>(devMode.data()) : nullptr);
  if (!dc) return PrintOutcome::Failed;
  struct DcOwner {
    HDC dc;
    ~DcOwner() { DeleteDC(dc); }
  } owner{dc};

  DOCINFOW doc{};
  doc.cbSize = sizeof(doc);
  doc.lpszDocName = documentName.c_str();
  if (StartDocW(dc, &doc) <= 0) return PrintOutcome::Failed;
  engine::win::PagePainter painter;
  std::int32_t of = choice.to > 0 ? choice.to - choice.from + 1 : 0;
  bool stopped = false;
  auto next = [&pages, &stopped](std::int32_t number) -> std::shared_ptr<const engine::layout::Page> {
    try {
      return pages(number);
    } catch (const engine::exporting::FeedStopped&) {
      stopped = true;
      return nullptr;
    }
  };
  std::int32_t number = std::max(1, choice.from);
  for (; page; page = next(++number)) {
    if (progress && !progress(number, of)) {
      AbortDoc(dc);
      return PrintOutcome::Cancelled;
    }
    if (dm && fitPaper(devMode, *page)) ResetDCW(dc, reinterpret_cast<DEVMODEW*>(devMode.data()));
    if (StartPage(dc) <= 0) {
      AbortDoc(dc);
      return PrintOutcome::Failed;
    }
    painter.paint(dc, *page, engine::win::devicePlacement(dc));
    if (EndPage(dc) <= 0) {
      AbortDoc(dc);
      return PrintOutcome::Failed;
    }
    if (printed) ++*printed;
    if (choice.to > 0 && number >= choice.to) break;
  }
  if (stopped) {
    AbortDoc(dc);
    return PrintOutcome::Cancelled;
  }
  return EndDoc(dc) > 0 ? PrintOutcome::Printed : PrintOutcome::Failed;
}

PrintJob::PrintJob(HWND owner, std::shared_ptr<engine::layout::PageSource> run, PrintChoice choice,
                   std::wstring documentName)
    : run_(std::move(run)) {
  progress_ = makeProgressWindow(owner, &cancelled_);
  worker_ = std::thread([this, choice = std::move(choice), name = std::move(documentName)]() mutable {
    this->run(std::move(choice), std::move(name));
  });
}

PrintJob::~PrintJob() {
  cancelled_ = true;
  if (worker_.joinable()) worker_.join();
  if (progress_) DestroyWindow(progress_);
}

void PrintJob::run(PrintChoice choice, std::wstring documentName) {
  std::int32_t printed = 0;
  try {
    auto pages = engine::exporting::finalPagesOf(run_, [this] { return cancelled_.load(); },
                                                 [this](std::int32_t known) {
                                                   if (progress_) PostMessageW(progress_, kCounting, known, 0);
                                                 });
    outcome_ = printPages(
        pages, choice, documentName,
        [this, &choice](std::int32_t page, std::int32_t of) {
          if (of == 0)
            if (auto count = run_->pageCount()) of = *count - choice.from + 1;
          if (progress_) PostMessageW(progress_, kShowPage, static_cast<WPARAM>(page - choice.from + 1), of);
          return !cancelled_.load();
        },
        &printed);
  } catch (...) {
    outcome_ = PrintOutcome::Failed;
  }
  printed_ = printed;
  finished_ = true;
  if (progress_) PostMessageW(progress_, kJobDone, 0, 0);
}

}  // namespace mervane::printing::win
