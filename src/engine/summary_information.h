// Reads the standard SummaryInformation property set from the bytes of its
// stream ("\005SummaryInformation" in a compound file).
//
// The property set format is read here rather than through the platform's
// property storage because that storage converts ANSI strings through the
// system code page instead of the set's own (Wine refuses characters outside
// it), and because a byte reader can be checked against every malformed input.
// Only what the engine needs is taken out: the code page, the title and the
// comments. Strings in an ANSI set are handed back as bytes with the set's
// code page, for the caller to decode.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "base/text.h"

namespace mervane::engine {

// The property ids and value types the reader knows, numbered as the format
// numbers them.
namespace summary {
constexpr std::uint32_t kPidCodePage = 1;
constexpr std::uint32_t kPidTitle = 2;
constexpr std::uint32_t kPidComments = 6;
constexpr std::uint16_t kVtI2 = 2;
constexpr std::uint16_t kVtLpstr = 30;
constexpr std::uint16_t kVtLpwstr = 31;
}  // namespace summary

// One string property: UTF-16 text (VT_LPWSTR, or VT_LPSTR in a Unicode set)
// or bytes in the set's code page (VT_LPSTR in an ANSI set). Cut at the
// first NUL.
struct PropertyString {
  bool isUnicode = false;
  Text unicode;
  std::string bytes;
};

struct SummaryInformation {
  static constexpr std::uint16_t kUnicodeCodePage = 1200;
  std::optional<std::uint16_t> codePage;  // PID_CODEPAGE, when present
  std::optional<PropertyString> title;     // PIDSI_TITLE
  std::optional<PropertyString> comments;  // PIDSI_COMMENTS
};

// Nothing when the bytes are not a property set holding the SummaryInformation
// section. Properties of other types, or whose value runs past the section,
// are left out; the others are still read.
std::optional<SummaryInformation> parseSummaryInformation(std::span<const std::uint8_t> stream);

}  // namespace mervane::engine
