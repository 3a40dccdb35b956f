// The SummaryInformation property set reader. Every offset and length comes
// from the file, so each is checked against the bytes at hand before use.
#include "engine/summary_information.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace mervane::engine {
namespace {

using namespace summary;

// {F29F85E0-4FF9-1068-AB91-08002B27B3D9} as it is stored.
constexpr std::array<std::uint8_t, 16> kSummaryFormatId = {0xE0, 0x85, 0x9F, 0xF2, 0xF9, 0x4F, 0x68, 0x10,
                                                           0xAB, 0x91, 0x08, 0x00, 0x2B, 0x27, 0xB3, 0xD9};

// Little-endian reads within a bounded window; out-of-range reads fail.
class Bytes {
 public:
  explicit Bytes(std::span<const std::uint8_t> b) : b_(b) {}
  std::size_t size() const { return b_.size(); }
  bool has(std::uint64_t at, std::uint64_t count) const { return at <= b_.size() && count <= b_.size() - at; }
  std::optional<std::uint16_t> u16(std::uint64_t at) const {
    if (!has(at, 2)) return std::nullopt;
    return static_cast<std::uint16_t>(b_[at] | (b_[at + 1] << 8));
  }
  std::optional<std::uint32_t> u32(std::uint64_t at) const {
    if (!has(at, 4)) return std::nullopt;
    return static_cast<std::uint32_t>(b_[at]) | (static_cast<std::uint32_t>(b_[at + 1]) << 8) |
           (static_cast<std::uint32_t>(b_[at + 2]) << 16) | (static_cast<std::uint32_t>(b_[at + 3]) << 24);
  }
  std::span<const std::uint8_t> slice(std::uint64_t at, std::uint64_t count) const { return b_.subspan(at, count); }

 private:
  std::span<const std::uint8_t> b_;
};

Text utf16UpToNul(std::span<const std::uint8_t> b) {
  Text out;
  for (std::size_t i = 0; i + 1 < b.size(); i += 2) {
    char16_t c = static_cast<char16_t>(b[i] | (b[i + 1] << 8));
    if (c == 0) break;
    out.push_back(c);
  }
  return out;
}

std::string bytesUpToNul(std::span<const std::uint8_t> b) {
  std::string out(reinterpret_cast<const char*>(b.data()), b.size());
  std::size_t nul = out.find('\0');
  if (nul != std::string::npos) out.resize(nul);
  return out;
}

// A string property whose value starts at `at` in the section. A VT_LPSTR
// counts bytes, a VT_LPWSTR counts characters; both include the NUL.
std::optional<PropertyString> readString(const Bytes& section, std::uint64_t at, bool unicodeSet) {
  std::optional<std::uint16_t> type = section.u16(at);
  std::optional<std::uint32_t> count = section.u32(at + 4);
  if (!type || !count) return std::nullopt;
  PropertyString out;
  if (*type == kVtLpstr) {
    if (!section.has(at + 8, *count)) return std::nullopt;
    auto value = section.slice(at + 8, *count);
    out.isUnicode = unicodeSet;
    if (unicodeSet)
      out.unicode = utf16UpToNul(value);
    else
      out.bytes = bytesUpToNul(value);
    return out;
  }
  if (*type == kVtLpwstr) {
    std::uint64_t length = std::uint64_t{*count} * 2;
    if (!section.has(at + 8, length)) return std::nullopt;
    out.isUnicode = true;
    out.unicode = utf16UpToNul(section.slice(at + 8, length));
    return out;
  }
  return std::nullopt;
}

}  // namespace

std::optional<SummaryInformation> parseSummaryInformation(std::span<const std::uint8_t> stream) {
  // Header: byte order, version, system, class id, section count; then one
  // (format id, offset) pair per section.
  Bytes file(stream);
  if (file.u16(0) != 0xFFFE) return std::nullopt;
  std::optional<std::uint32_t> sections = file.u32(24);
  if (!sections) return std::nullopt;
  std::optional<std::uint32_t> sectionOffset;
  for (std::uint64_t i = 0; i < *sections && file.has(28 + i * 20, 20); ++i) {
    if (std::memcmp(stream.data() + 28 + i * 20, kSummaryFormatId.data(), 16) == 0) {
      sectionOffset = file.u32(28 + i * 20 + 16);
      break;
    }
  }
  if (!sectionOffset) return std::nullopt;

  // Section: size, property count, then (id, offset from the section) pairs.
  // A section that claims more bytes than the stream holds is read as far as
  // the stream goes.
  std::optional<std::uint32_t> declaredSize = file.u32(*sectionOffset);
  std::optional<std::uint32_t> count = file.u32(std::uint64_t{*sectionOffset} + 4);
  if (!declaredSize || !count || *declaredSize < 8) return std::nullopt;
  std::uint64_t available = file.size() - *sectionOffset;
  Bytes section(stream.subspan(*sectionOffset, std::min<std::uint64_t>(*declaredSize, available)));
  if (!section.has(8, std::uint64_t{*count} * 8)) return std::nullopt;

  SummaryInformation out;
  std::optional<std::uint32_t> titleAt, commentsAt;
  for (std::uint32_t i = 0; i < *count; ++i) {
    std::uint32_t id = *section.u32(8 + std::uint64_t{i} * 8);
    std::uint32_t at = *section.u32(12 + std::uint64_t{i} * 8);
    if (id == kPidCodePage) {
      if (section.u16(at) == kVtI2 && section.has(at + 4, 2)) out.codePage = *section.u16(at + 4);
    } else if (id == kPidTitle) {
      titleAt = at;
    } else if (id == kPidComments) {
      commentsAt = at;
    }
  }
  // The code page may be listed after the strings it governs.
  bool unicodeSet = out.codePage == SummaryInformation::kUnicodeCodePage;
  if (titleAt) out.title = readString(section, *titleAt, unicodeSet);
  if (commentsAt) out.comments = readString(section, *commentsAt, unicodeSet);
  return out;
}

}  // namespace mervane::engine
