// Building the print dialog's DEVMODE and DEVNAMES blocks and reading the
// DEVMODE it returns; all fields little-endian at fixed offsets.
#include "printing/print_dialog_blocks.h"

#include <algorithm>

namespace mervane::printing {

namespace {

void put16(std::span<std::uint8_t> block, std::size_t at, std::uint16_t value) {
  block[at] = static_cast<std::uint8_t>(value & 0xFF);
  block[at + 1] = static_cast<std::uint8_t>(value >> 8);
}

void put32(std::span<std::uint8_t> block, std::size_t at, std::uint32_t value) {
  put16(block, at, static_cast<std::uint16_t>(value & 0xFFFF));
  put16(block, at + 2, static_cast<std::uint16_t>(value >> 16));
}

std::int16_t get16(std::span<const std::uint8_t> block, std::size_t at) {
  if (at + 2 > block.size()) return 0;
  return static_cast<std::int16_t>(static_cast<std::uint16_t>(block[at] | (block[at + 1] << 8)));
}

bool fits16(std::int64_t value) { return value >= -32768 && value <= 32767; }

}  // namespace

DevModeBlock buildDevMode(const CurrentPrinter& printer, std::int16_t orientation) {
  DevModeBlock block{};
  std::string name = printer.deviceName.substr(0, devmode::kDeviceNameSize);
  name.resize(devmode::kDeviceNameSize, ' ');
  std::copy(name.begin(), name.end(), block.begin() + devmode::kDeviceName);
  put16(block, devmode::kSize, static_cast<std::uint16_t>(devmode::kBlockSize));
  put32(block, devmode::kFields, devmode::kFieldsSent);
  const bool chosen = orientation == 1 || orientation == 2;
  put16(block, devmode::kOrientation,
        static_cast<std::uint16_t>(chosen ? orientation : printer.orientation));
  put16(block, devmode::kPaperSize, static_cast<std::uint16_t>(printer.paperSize));
  put16(block, devmode::kDuplex, static_cast<std::uint16_t>(printer.duplex));
  return block;
}

DevNamesBlock buildDevNames(const CurrentPrinter& printer) {
  DevNamesBlock block{};
  // An offset past what a signed 16-bit field holds is left at 0, as a page
  // number is; printer names never come near it.
  const std::int64_t device = 8 + static_cast<std::int64_t>(printer.driverName.size()) + 1;
  const std::int64_t output = device + static_cast<std::int64_t>(printer.deviceName.size()) + 1;
  put16(block, devnames::kDriverOffset, 8);
  put16(block, devnames::kDeviceOffset, fits16(device) ? static_cast<std::uint16_t>(device) : 0);
  put16(block, devnames::kOutputOffset, fits16(output) ? static_cast<std::uint16_t>(output) : 0);
  put16(block, devnames::kDefault, 0);

  std::string text = printer.driverName;
  text += '\0';
  text += printer.deviceName;
  text += '\0';
  text += printer.portName;
  text += '\0';
  text.resize(devnames::kTextSize, ' ');  // blanks after, or the whole cut at 100
  std::copy(text.begin(), text.end(), block.begin() + devnames::kText);
  return block;
}

std::uint16_t pageField(std::int32_t page) {
  return fits16(page) ? static_cast<std::uint16_t>(page) : 0;
}

DialogRequest dialogRequest(const PrinterSettings& settings) {
  DialogRequest request;
  request.flags = settings.printFlags != 0 ? static_cast<std::uint32_t>(settings.printFlags)
                                           : kDefaultPrintFlags;
  request.fromPage = pageField(settings.fromPage);
  request.toPage = pageField(settings.toPage);
  request.minPage = pageField(settings.minPage);
  request.maxPage = pageField(settings.maxPage);
  return request;
}

DialogResult readDevMode(std::span<const std::uint8_t> block) {
  DialogResult result;
  const auto nameEnd = std::min(block.size(), devmode::kDeviceName + devmode::kDeviceNameSize);
  for (std::size_t i = devmode::kDeviceName; i < nameEnd && block[i] != 0; ++i)
    result.deviceName += static_cast<char>(block[i]);
  result.collate = get16(block, devmode::kCollate);
  result.copies = get16(block, devmode::kCopies);
  result.duplex = get16(block, devmode::kDuplex);
  result.orientation = get16(block, devmode::kOrientation);
  result.paperSize = get16(block, devmode::kPaperSize);
  result.printQuality = get16(block, devmode::kPrintQuality);
  result.colorMode = get16(block, devmode::kColor);
  result.paperBin = get16(block, devmode::kDefaultSource);
  return result;
}

void applyDialogResult(PrinterSettings& settings, const DialogResult& result,
                       const Text& printerName) {
  settings.printerName = upper(printerName);
  // The record's page fields are signed 16-bit numbers to the object.
  settings.fromPage = static_cast<std::int16_t>(result.fromPage);
  settings.toPage = static_cast<std::int16_t>(result.toPage);
  settings.collate = result.collate;
  settings.copies = result.copies;
  settings.duplex = result.duplex;
  settings.orientation = result.orientation;
  settings.paperSize = result.paperSize;
  settings.printQuality = result.printQuality;
  settings.colorMode = result.colorMode;
  settings.paperBin = result.paperBin;
}

}  // namespace mervane::printing
