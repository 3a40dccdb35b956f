// The print dialog's blocks byte by byte: what cPrinter sends (DEVMODE,
// DEVNAMES, flags and page fields) and what it reads back.
#include "printing/print_dialog_blocks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

using namespace mervane;
using namespace mervane::printing;

namespace {

std::uint16_t u16(std::span<const std::uint8_t> b, std::size_t at) {
  return static_cast<std::uint16_t>(b[at] | (b[at + 1] << 8));
}
std::string bytes(std::span<const std::uint8_t> b, std::size_t at, std::size_t n) {
  return std::string(b.begin() + static_cast<std::ptrdiff_t>(at),
                     b.begin() + static_cast<std::ptrdiff_t>(at + n));
}
void set16(std::vector<std::uint8_t>& b, std::size_t at, std::int16_t v) {
  b[at] = static_cast<std::uint8_t>(v & 0xFF);
  b[at + 1] = static_cast<std::uint8_t>((static_cast<std::uint16_t>(v) >> 8) & 0xFF);
}

const CurrentPrinter kPrinter{"mervane_pdf", "winspool", "CUPS:mervane_pdf", 1, 9, 2};

}  // namespace

TEST(PrintDialogBlocks, DevModeHoldsThePrinterAndOrientationAndZeroElsewhere) {
  const auto block = buildDevMode(kPrinter, 0);
  EXPECT_EQ(bytes(block, 0, 32), "mervane_pdf" + std::string(21, ' '));
  std::vector<std::uint8_t> rest(block.begin(), block.end());
  std::fill(rest.begin(), rest.begin() + 32, 0);
  const std::pair<std::size_t, std::uint16_t> fields[] = {
      {36, 622}, {40, 0x1001}, {42, 0}, {44, 1}, {46, 9}, {62, 2}};
  for (auto [at, value] : fields) {
    EXPECT_EQ(u16(block, at), value) << "offset " << at;
    rest[at] = rest[at + 1] = 0;
  }
  EXPECT_EQ(rest, std::vector<std::uint8_t>(622, 0));

  CurrentPrinter longName = kPrinter;
  longName.deviceName = std::string(40, 'x');
  longName.orientation = 2;
  EXPECT_EQ(bytes(buildDevMode(longName, 0), 0, 33), std::string(32, 'x') + '\0');
  EXPECT_EQ(u16(buildDevMode(longName, 1), 44), 1);  // the object's choice wins
  for (std::int16_t notAnOrientation : {0, 3, -1, 258})
    EXPECT_EQ(u16(buildDevMode(longName, notAnOrientation), 44), 2) << notAnOrientation;
}

TEST(PrintDialogBlocks, DevNamesOffsetsTextAreaAndCut) {
  const auto block = buildDevNames(kPrinter);
  EXPECT_EQ(u16(block, 0), 8);
  EXPECT_EQ(u16(block, 2), 17);
  EXPECT_EQ(u16(block, 4), 29);
  EXPECT_EQ(u16(block, 6), 0);
  const std::string names = std::string("winspool\0mervane_pdf\0CUPS:mervane_pdf\0", 38);
  EXPECT_EQ(bytes(block, 8, 100), names + std::string(62, ' '));

  CurrentPrinter longNames = kPrinter;
  longNames.deviceName = std::string(60, 'd');
  longNames.portName = std::string(60, 'p');
  const auto cut = buildDevNames(longNames);
  EXPECT_EQ(u16(cut, 4), 17 + 61);
  EXPECT_EQ(bytes(cut, 8, 100),
            std::string("winspool\0", 9) + std::string(60, 'd') + '\0' + std::string(30, 'p'));
}

TEST(PrintDialogBlocks, PageNumbersBeyondSignedSixteenBitsGoAsZero) {
  PrinterSettings s;
  s.fromPage = 40000;  // above To and beyond 16 bits
  s.toPage = 32767;
  s.minPage = -1;
  s.maxPage = -32769;
  const DialogRequest r = dialogRequest(s);
  EXPECT_EQ((std::vector<int>{r.fromPage, r.toPage, r.minPage, r.maxPage}),
            (std::vector<int>{0, 32767, 0xFFFF, 0}));
  EXPECT_EQ(pageField(32768), 0);
  EXPECT_EQ(pageField(-32768), 0x8000);
}

TEST(PrintDialogBlocks, ReadsTheReturnedDevModeIncludingShortBlocks) {
  std::vector<std::uint8_t> b(622, 0);
  const std::string name("hp LaserJet\0garbage", 19);
  std::copy(name.begin(), name.end(), b.begin());
  const std::pair<std::size_t, std::int16_t> fields[] = {
      {68, 1}, {54, 3}, {62, 2}, {44, 2}, {46, 9}, {58, -4}, {60, 2}, {56, 260}};
  for (auto [at, value] : fields) set16(b, at, value);
  DialogResult r = readDevMode(b);
  EXPECT_EQ(r.deviceName, "hp LaserJet");
  EXPECT_EQ((std::vector<int>{r.collate, r.copies, r.duplex, r.orientation, r.paperSize,
                              r.printQuality, r.colorMode, r.paperBin}),
            (std::vector<int>{1, 3, 2, 2, 9, -4, 2, 260}));

  std::fill(b.begin(), b.begin() + 32, 'N');  // no NUL: all 32 bytes
  EXPECT_EQ(readDevMode(b).deviceName, std::string(32, 'N'));
  b.resize(56);  // ends after dmCopies
  r = readDevMode(b);
  EXPECT_EQ(r.copies, 3);
  EXPECT_EQ(r.paperBin, 0);
  EXPECT_EQ(r.collate, 0);
  EXPECT_EQ(readDevMode({}).deviceName, "");
}
