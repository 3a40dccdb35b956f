// The print dialog call of cPrinter: two global blocks built from the current
// printer, PrintDlgA, and the results read back from the blocks it returns.
#include "printing/win/print_dialog.h"

#include <winspool.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>
#include <string>
#include <vector>

#include "base/win/wide.h"

namespace mervane::printing::win {

// The layouts written by the core must be the system's.
static_assert(offsetof(DEVMODEA, dmDeviceName) == devmode::kDeviceName);
static_assert(sizeof(DEVMODEA::dmDeviceName) == devmode::kDeviceNameSize);
static_assert(offsetof(DEVMODEA, dmSize) == devmode::kSize);
static_assert(offsetof(DEVMODEA, dmFields) == devmode::kFields);
static_assert(offsetof(DEVMODEA, dmOrientation) == devmode::kOrientation);
static_assert(offsetof(DEVMODEA, dmPaperSize) == devmode::kPaperSize);
static_assert(offsetof(DEVMODEA, dmCopies) == devmode::kCopies);
static_assert(offsetof(DEVMODEA, dmDefaultSource) == devmode::kDefaultSource);
static_assert(offsetof(DEVMODEA, dmPrintQuality) == devmode::kPrintQuality);
static_assert(offsetof(DEVMODEA, dmColor) == devmode::kColor);
static_assert(offsetof(DEVMODEA, dmDuplex) == devmode::kDuplex);
static_assert(offsetof(DEVMODEA, dmCollate) == devmode::kCollate);
static_assert(offsetof(DEVMODEA, dmICMMethod) == devmode::kPublishedSize);
static_assert((DM_ORIENTATION | DM_DUPLEX) == devmode::kFieldsSent);
static_assert(offsetof(DEVNAMES, wDeviceOffset) == devnames::kDeviceOffset);
static_assert(offsetof(DEVNAMES, wOutputOffset) == devnames::kOutputOffset);
static_assert(offsetof(DEVNAMES, wDefault) == devnames::kDefault);
static_assert(sizeof(DEVNAMES) == devnames::kText);
static_assert((PD_ENABLEPRINTHOOK | PD_ENABLESETUPHOOK) == kHookFlags);
static_assert((PD_NOSELECTION | PD_DISABLEPRINTTOFILE | PD_HIDEPRINTTOFILE) == kDefaultPrintFlags);
static_assert(sizeof(DEVMODEA) == 156 && sizeof(DEVMODEA) <= devmode::kBlockSize);
// The dialog record is byte-packed for 32-bit hosts and naturally aligned for
// 64-bit ones; comdlg32 checks lStructSize against exactly these sizes.
#ifdef _WIN64
static_assert(kPrintDlgRecordSize == 120);
static_assert(offsetof(PRINTDLGA, hwndOwner) == 8 && offsetof(PRINTDLGA, hDevMode) == 16 &&
              offsetof(PRINTDLGA, hDevNames) == 24 && offsetof(PRINTDLGA, hDC) == 32);
static_assert(offsetof(PRINTDLGA, Flags) == 40 && offsetof(PRINTDLGA, nFromPage) == 44 &&
              offsetof(PRINTDLGA, nMaxPage) == 50 && offsetof(PRINTDLGA, hInstance) == 56);
#else
static_assert(kPrintDlgRecordSize == 66);
static_assert(offsetof(PRINTDLGA, hwndOwner) == 4 && offsetof(PRINTDLGA, hDevMode) == 8 &&
              offsetof(PRINTDLGA, hDevNames) == 12 && offsetof(PRINTDLGA, hDC) == 16);
static_assert(offsetof(PRINTDLGA, Flags) == 20 && offsetof(PRINTDLGA, nFromPage) == 24 &&
              offsetof(PRINTDLGA, nToPage) == 26 && offsetof(PRINTDLGA, nMinPage) == 28 &&
              offsetof(PRINTDLGA, nMaxPage) == 30 && offsetof(PRINTDLGA, nCopies) == 32 &&
              offsetof(PRINTDLGA, hInstance) == 34 && offsetof(PRINTDLGA, hSetupTemplate) == 62);
#endif

namespace {

// The driver name a DEVNAMES carries for every printer of the NT spooler.
constexpr char kSpoolerDriver[] = "winspool";

std::string toAnsi(const wchar_t* text) {
  if (!text || !*text) return {};
  int bytes = WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
  if (bytes <= 1) return {};
  std::string out(static_cast<std::size_t>(bytes), '\0');
  WideCharToMultiByte(CP_ACP, 0, text, -1, out.data(), bytes, nullptr, nullptr);
  out.resize(static_cast<std::size_t>(bytes) - 1);
  return out;
}

Text fromAnsi(const std::string& bytes) {
  if (bytes.empty()) return {};
  const int size = static_cast<int>(bytes.size());
  int chars = MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, nullptr, 0);
  if (chars <= 0) return {};
  std::wstring wide(static_cast<std::size_t>(chars), L'\0');
  MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, wide.data(), chars);
  return mervane::win::fromWide(wide);
}

struct PrinterCloser {
  void operator()(HANDLE printer) const { ClosePrinter(printer); }
};
using PrinterHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, PrinterCloser>;

// A global memory block of ours, freed through the api when dropped.
class GlobalBlock {
 public:
  explicit GlobalBlock(const PrintDialogApi& api) : api_(api) {}
  GlobalBlock(const GlobalBlock&) = delete;
  GlobalBlock& operator=(const GlobalBlock&) = delete;
  ~GlobalBlock() { free(); }

  // A moveable zero-filled block holding bytes; left empty if allocation
  // fails, and unfilled if it cannot be locked.
  void allocate(std::span<const std::uint8_t> bytes) {
    free();
    handle_ = api_.globalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes.size());
    if (!handle_) return;
    if (void* p = api_.globalLock(handle_)) {
      std::memcpy(p, bytes.data(), bytes.size());
      api_.globalUnlock(handle_);
    }
  }
  // The dialog may hand back another block in place of ours; the old one is
  // then the dialog's business and this one is ours to free.
  void adopt(HGLOBAL returned) { handle_ = returned; }
  HGLOBAL get() const { return handle_; }

  // Up to size bytes of the block; what the block lacks reads as zero.
  std::vector<std::uint8_t> read(std::size_t size) const {
    std::vector<std::uint8_t> out(size, 0);
    if (!handle_) return out;
    const std::size_t available = std::min<std::size_t>(api_.globalSize(handle_), size);
    if (const void* p = api_.globalLock(handle_)) {
      std::memcpy(out.data(), p, available);
      api_.globalUnlock(handle_);
    }
    return out;
  }
  void free() {
    if (handle_) api_.globalFree(std::exchange(handle_, nullptr));
  }

 private:
  const PrintDialogApi& api_;
  HGLOBAL handle_ = nullptr;
};

}  // namespace

CurrentPrinter defaultPrinter() {
  CurrentPrinter printer;
  DWORD chars = 0;
  GetDefaultPrinterW(nullptr, &chars);
  if (chars == 0) return printer;
  std::wstring name(chars, L'\0');
  if (!GetDefaultPrinterW(name.data(), &chars)) return printer;
  name.resize(wcsnlen(name.c_str(), name.size()));
  printer.deviceName = toAnsi(name.c_str());
  printer.driverName = kSpoolerDriver;

  HANDLE raw = nullptr;
  if (!OpenPrinterW(name.data(), &raw, nullptr) || !raw) return printer;
  PrinterHandle handle(raw);
  DWORD needed = 0;
  GetPrinterW(raw, 2, nullptr, 0, &needed);
  if (needed == 0) return printer;
  std::vector<BYTE> info(needed);
  if (!GetPrinterW(raw, 2, info.data(), needed, &needed)) return printer;
  const auto* details = reinterpret_cast<const PRINTER_INFO_2W*>(info.data());
  printer.portName = toAnsi(details->pPortName);

  const DEVMODEW* mode = details->pDevMode;
  std::vector<BYTE> fetched;
  if (!mode) {
    LONG size = DocumentPropertiesW(nullptr, raw, name.data(), nullptr, nullptr, 0);
    if (size < static_cast<LONG>(sizeof(DEVMODEW))) return printer;
    fetched.resize(static_cast<std::size_t>(size));
    auto* out = reinterpret_cast<DEVMODEW*>(fetched.data());
    if (DocumentPropertiesW(nullptr, raw, name.data(), out, nullptr, DM_OUT_BUFFER) != IDOK)
      return printer;
    mode = out;
  }
  printer.orientation = mode->dmOrientation;
  printer.paperSize = mode->dmPaperSize;
  printer.duplex = mode->dmDuplex;
  return printer;
}

bool showPrinterDialog(PrinterSettings& settings, HWND owner, const PrintDialogApi& api) {
  const DialogRequest request = dialogRequest(settings);
  PRINTDLGA record{};
  record.lStructSize = kPrintDlgRecordSize;
  record.hwndOwner = owner;
  record.Flags = request.flags;
  record.nFromPage = request.fromPage;
  record.nToPage = request.toPage;
  record.nMinPage = request.minPage;
  record.nMaxPage = request.maxPage;

  const CurrentPrinter printer = api.currentPrinter ? api.currentPrinter() : defaultPrinter();
  GlobalBlock devMode(api);
  devMode.allocate(buildDevMode(printer, settings.orientation));
  GlobalBlock devNames(api);
  devNames.allocate(buildDevNames(printer));

  record.hDevMode = devMode.get();
  record.hDevNames = devNames.get();
  const BOOL accepted = asksForMissingHook(record.Flags) ? FALSE : api.printDlg(&record);
  devMode.adopt(record.hDevMode);
  devNames.adopt(record.hDevNames);
  if (record.hDC) DeleteDC(record.hDC);  // asked for by PrintFlags; nothing here draws on it
  if (!accepted) return false;  // both blocks freed on the way out

  devNames.free();
  const std::vector<std::uint8_t> returned = devMode.read(devmode::kBlockSize);
  devMode.free();

  DialogResult result = readDevMode(returned);
  result.fromPage = record.nFromPage;
  result.toPage = record.nToPage;
  PrinterSettings updated = settings;
  applyDialogResult(updated, result, fromAnsi(result.deviceName));
  settings = std::move(updated);
  return true;
}

}  // namespace mervane::printing::win
