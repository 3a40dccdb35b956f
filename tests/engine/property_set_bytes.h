// Builds property set streams byte by byte, for tests that need sets the
// platform's writer will not make: any code page, any layout, damaged ones.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace mervane::testing {

class PropertySetBytes {
 public:
  static constexpr std::array<std::uint8_t, 16> kSummaryFormat = {0xE0, 0x85, 0x9F, 0xF2, 0xF9, 0x4F, 0x68, 0x10,
                                                                  0xAB, 0x91, 0x08, 0x00, 0x2B, 0x27, 0xB3, 0xD9};
  static constexpr std::array<std::uint8_t, 16> kOtherFormat = {0x02, 0xD5, 0xCD, 0xD5, 0x9C, 0x2E, 0x1B, 0x10,
                                                                0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE};

  PropertySetBytes& codePage(std::uint16_t cp) {
    std::vector<std::uint8_t> v = header(2);
    put16(v, cp);
    put16(v, 0);
    return add(1, std::move(v));
  }
  // VT_LPSTR: byte count including the NUL, then the bytes.
  PropertySetBytes& lpstr(std::uint32_t id, std::string_view bytes) {
    std::vector<std::uint8_t> v = header(30);
    put32(v, static_cast<std::uint32_t>(bytes.size() + 1));
    v.insert(v.end(), bytes.begin(), bytes.end());
    v.push_back(0);
    return add(id, std::move(v));
  }
  // VT_LPSTR in a Unicode set: UTF-16, still counted in bytes.
  PropertySetBytes& lpstrUnicode(std::uint32_t id, std::u16string_view text) {
    std::vector<std::uint8_t> v = header(30);
    put32(v, static_cast<std::uint32_t>((text.size() + 1) * 2));
    for (char16_t c : text) put16(v, c);
    put16(v, 0);
    return add(id, std::move(v));
  }
  // VT_LPWSTR: character count including the NUL, then UTF-16.
  PropertySetBytes& lpwstr(std::uint32_t id, std::u16string_view text) {
    std::vector<std::uint8_t> v = header(31);
    put32(v, static_cast<std::uint32_t>(text.size() + 1));
    for (char16_t c : text) put16(v, c);
    put16(v, 0);
    return add(id, std::move(v));
  }
  PropertySetBytes& i4(std::uint32_t id, std::uint32_t value) {
    std::vector<std::uint8_t> v = header(3);
    put32(v, value);
    return add(id, std::move(v));
  }

  // The stream: header, then the section list (another section first when
  // asked), then the sections.
  std::vector<std::uint8_t> build(bool otherSectionFirst = false) const {
    std::vector<std::uint8_t> section = sectionBytes();
    std::vector<std::uint8_t> other = PropertySetBytes().i4(2, 7).sectionBytes();
    const std::uint32_t sections = otherSectionFirst ? 2 : 1;
    std::vector<std::uint8_t> out;
    put16(out, 0xFFFE);
    put16(out, 0);
    put32(out, 0x00020006);
    out.insert(out.end(), 16, 0);
    put32(out, sections);
    std::uint32_t at = 28 + 20 * sections;
    if (otherSectionFirst) {
      out.insert(out.end(), kOtherFormat.begin(), kOtherFormat.end());
      put32(out, at);
      at += static_cast<std::uint32_t>(other.size());
    }
    out.insert(out.end(), kSummaryFormat.begin(), kSummaryFormat.end());
    put32(out, at);
    if (otherSectionFirst) out.insert(out.end(), other.begin(), other.end());
    out.insert(out.end(), section.begin(), section.end());
    return out;
  }

 private:
  static std::vector<std::uint8_t> header(std::uint16_t type) {
    std::vector<std::uint8_t> v;
    put16(v, type);
    put16(v, 0);
    return v;
  }
  static void put16(std::vector<std::uint8_t>& v, std::uint32_t x) {
    v.push_back(static_cast<std::uint8_t>(x));
    v.push_back(static_cast<std::uint8_t>(x >> 8));
  }
  static void put32(std::vector<std::uint8_t>& v, std::uint32_t x) {
    put16(v, x & 0xFFFF);
    put16(v, x >> 16);
  }
  PropertySetBytes& add(std::uint32_t id, std::vector<std::uint8_t> value) {
    while (value.size() % 4) value.push_back(0);
    properties_.emplace_back(id, std::move(value));
    return *this;
  }
  std::vector<std::uint8_t> sectionBytes() const {
    std::vector<std::uint8_t> head, values;
    std::uint32_t at = 8 + 8 * static_cast<std::uint32_t>(properties_.size());
    for (const auto& [id, value] : properties_) {
      put32(head, id);
      put32(head, at + static_cast<std::uint32_t>(values.size()));
      values.insert(values.end(), value.begin(), value.end());
    }
    std::vector<std::uint8_t> out;
    put32(out, static_cast<std::uint32_t>(8 + head.size() + values.size()));
    put32(out, static_cast<std::uint32_t>(properties_.size()));
    out.insert(out.end(), head.begin(), head.end());
    out.insert(out.end(), values.begin(), values.end());
    return out;
  }

  std::vector<std::pair<std::uint32_t, std::vector<std::uint8_t>>> properties_;
};

}  // namespace mervane::testing
