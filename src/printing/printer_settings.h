// The state of a cPrinter object: what the host presets for the print
// dialog and what the dialog hands back.
#pragma once

#include <cstdint>

#include "base/text.h"

namespace mervane {

struct PrinterSettings {
  std::int32_t printFlags = 0;
  std::int32_t minPage = 0;
  std::int32_t maxPage = 0;
  std::int32_t fromPage = 0;
  std::int32_t toPage = 0;
  Text printerName;
  std::int16_t collate = 0;
  std::int16_t copies = 0;
  std::int16_t duplex = 0;
  std::int16_t orientation = 0;
  std::int16_t paperSize = 0;
  std::int16_t printQuality = 0;
  std::int16_t colorMode = 0;
  std::int16_t paperBin = 0;
};

}  // namespace mervane
