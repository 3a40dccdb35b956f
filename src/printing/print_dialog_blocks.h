// The memory blocks and values that cPrinter hands to the system's print
// dialog, and the reading of what the dialog hands back.
//
// The dialog takes two blocks of global memory: a DEVMODE (622 bytes, the
// ANSI form of the published layout for its first 124 bytes) describing the
// printer's settings, and a DEVNAMES (108 bytes: four 16-bit offsets and a
// 100-byte text area) naming driver, device and port. Both are written here
// byte by byte with explicit offsets, so this file needs no Windows header;
// the Windows side checks the offsets against the real structures when it
// compiles. Texts are bytes in the system's ANSI code page: the caller
// converts them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "printing/printer_settings.h"

namespace mervane::printing {

// The application's current printer as the dialog is told about it.
struct CurrentPrinter {
  std::string deviceName;  // ANSI
  std::string driverName;  // ANSI
  std::string portName;    // ANSI
  std::int16_t orientation = 0;
  std::int16_t paperSize = 0;
  std::int16_t duplex = 0;
};

// Byte offsets of the DEVMODE fields we write or read (ANSI form).
namespace devmode {
constexpr std::size_t kBlockSize = 622;
constexpr std::size_t kDeviceName = 0;  // 32 bytes
constexpr std::size_t kDeviceNameSize = 32;
constexpr std::size_t kSize = 36;
constexpr std::size_t kFields = 40;  // 32 bits
constexpr std::size_t kOrientation = 44;
constexpr std::size_t kPaperSize = 46;
constexpr std::size_t kCopies = 54;
constexpr std::size_t kDefaultSource = 56;
constexpr std::size_t kPrintQuality = 58;
constexpr std::size_t kColor = 60;
constexpr std::size_t kDuplex = 62;
constexpr std::size_t kCollate = 68;
constexpr std::size_t kPublishedSize = 124;  // through dmDisplayFrequency
constexpr std::uint32_t kFieldsSent = 0x1001;  // orientation and duplex
}  // namespace devmode

// Byte offsets of the DEVNAMES block.
namespace devnames {
constexpr std::size_t kBlockSize = 108;
constexpr std::size_t kDriverOffset = 0;
constexpr std::size_t kDeviceOffset = 2;
constexpr std::size_t kOutputOffset = 4;
constexpr std::size_t kDefault = 6;
constexpr std::size_t kText = 8;
constexpr std::size_t kTextSize = 100;
}  // namespace devnames

using DevModeBlock = std::array<std::uint8_t, devmode::kBlockSize>;
using DevNamesBlock = std::array<std::uint8_t, devnames::kBlockSize>;

// The DEVMODE sent to the dialog: the current printer's name (blank-padded
// to 32), paper size and duplex, and the object's orientation when it is
// portrait (1) or landscape (2), the printer's own otherwise.
DevModeBlock buildDevMode(const CurrentPrinter& printer, std::int16_t orientation);

// The DEVNAMES sent to the dialog: driver, device and port, each ended by a
// NUL, then blanks to the end of the 100-byte text area.
DevNamesBlock buildDevNames(const CurrentPrinter& printer);

// The dialog's option flags: the object's when set, else no selection and
// no print-to-file.
constexpr std::uint32_t kDefaultPrintFlags = 0x180004;

// The scalar fields of the PRINTDLG record that come from the object.
struct DialogRequest {
  std::uint32_t flags = 0;
  std::uint16_t fromPage = 0;
  std::uint16_t toPage = 0;
  std::uint16_t minPage = 0;
  std::uint16_t maxPage = 0;
};
DialogRequest dialogRequest(const PrinterSettings& settings);

// Flags that ask the dialog to call a hook function. The record never
// carries one, and the system dialog refuses such a record (no hook), so it
// is answered as a dialog that failed without being shown.
constexpr std::uint32_t kHookFlags = 0x1000 | 0x2000;
constexpr bool asksForMissingHook(std::uint32_t flags) { return (flags & kHookFlags) != 0; }

// A page number as the dialog's 16-bit field holds it: values from -32768
// to 32767 in two's complement, anything else 0.
std::uint16_t pageField(std::int32_t page);

// What a successful dialog gives back.
struct DialogResult {
  std::string deviceName;  // ANSI, up to the first NUL of dmDeviceName
  std::uint16_t fromPage = 0;
  std::uint16_t toPage = 0;
  std::int16_t collate = 0;
  std::int16_t copies = 0;
  std::int16_t duplex = 0;
  std::int16_t orientation = 0;
  std::int16_t paperSize = 0;
  std::int16_t printQuality = 0;
  std::int16_t colorMode = 0;
  std::int16_t paperBin = 0;
};

// Reads the returned DEVMODE. A block shorter than 622 bytes reads as if
// zero-filled to that size.
DialogResult readDevMode(std::span<const std::uint8_t> block);

// Stores a successful dialog's results in the object; printerName is the
// device name already turned into text. Page limits and flags stay.
void applyDialogResult(PrinterSettings& settings, const DialogResult& result,
                       const Text& printerName);

}  // namespace mervane::printing
