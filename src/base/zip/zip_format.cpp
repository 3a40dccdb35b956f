// Field encoding, timestamps and entry names of the zip format.
#include "base/zip/zip_format.h"

#include <zlib.h>

#include <algorithm>
#include <array>

namespace mervane::zip {

void RecordWriter::u16(std::uint16_t v) {
  out_.push_back(static_cast<char>(v & 0xFF));
  out_.push_back(static_cast<char>(v >> 8));
}

void RecordWriter::u32(std::uint32_t v) {
  u16(static_cast<std::uint16_t>(v & 0xFFFF));
  u16(static_cast<std::uint16_t>(v >> 16));
}

void RecordWriter::u64(std::uint64_t v) {
  u32(static_cast<std::uint32_t>(v & 0xFFFFFFFF));
  u32(static_cast<std::uint32_t>(v >> 32));
}

std::string endRecords(std::uint64_t count, std::uint64_t start, std::uint64_t size, std::uint64_t end,
                       bool forceZip64) {
  const bool zip64 = forceZip64 || count >= kMax16 || start >= kMax32 || size >= kMax32;
  std::string tail;
  RecordWriter w(tail);
  if (zip64) {
    w.u32(kZip64EndSignature);
    w.u64(kZip64EndSize - 12);
    w.u16(kVersionZip64);
    w.u16(kVersionZip64);
    w.u32(0);  // this disk
    w.u32(0);  // the central directory's disk
    w.u64(count);
    w.u64(count);
    w.u64(size);
    w.u64(start);
    w.u32(kZip64LocatorSignature);
    w.u32(0);
    w.u64(end);  // where the ZIP64 end record starts
    w.u32(1);    // disks
  }
  const auto fit16 = [&](std::uint64_t v) { return forceZip64 || v >= kMax16 ? kMax16 : static_cast<std::uint16_t>(v); };
  const auto fit32 = [&](std::uint64_t v) { return forceZip64 || v >= kMax32 ? kMax32 : static_cast<std::uint32_t>(v); };
  w.u32(kEndSignature);
  w.u16(0);
  w.u16(0);
  w.u16(fit16(count));
  w.u16(fit16(count));
  w.u32(fit32(size));
  w.u32(fit32(start));
  w.u16(0);  // comment
  return tail;
}

std::uint16_t readU16(const unsigned char* p) {
  return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

std::uint32_t readU32(const unsigned char* p) {
  return readU16(p) | (static_cast<std::uint32_t>(readU16(p + 2)) << 16);
}

std::uint64_t readU64(const unsigned char* p) {
  return readU32(p) | (static_cast<std::uint64_t>(readU32(p + 4)) << 32);
}

bool RecordReader::take(std::size_t n) {
  if (failed_ || n > size_ - pos_) {
    failed_ = true;
    return false;
  }
  return true;
}

std::uint16_t RecordReader::u16() {
  if (!take(2)) return 0;
  pos_ += 2;
  return readU16(data_ + pos_ - 2);
}

std::uint32_t RecordReader::u32() {
  if (!take(4)) return 0;
  pos_ += 4;
  return readU32(data_ + pos_ - 4);
}

std::uint64_t RecordReader::u64() {
  if (!take(8)) return 0;
  pos_ += 8;
  return readU64(data_ + pos_ - 8);
}

std::string_view RecordReader::bytes(std::size_t n) {
  if (!take(n)) return {};
  pos_ += n;
  return {reinterpret_cast<const char*>(data_ + pos_ - n), n};
}

void RecordReader::skip(std::size_t n) {
  if (take(n)) pos_ += n;
}

DosTime dosTimeFromLocal(int year, int month, int day, int hour, int minute, int second) {
  DosTime t;
  if (year < 1980) return t;
  if (year > 2107) year = 2107;
  t.date = static_cast<std::uint16_t>(((year - 1980) << 9) | (month << 5) | day);
  t.time = static_cast<std::uint16_t>((hour << 11) | (minute << 5) | (second / 2));
  return t;
}

bool isValidUtf8(std::string_view bytes) {
  std::size_t i = 0;
  while (i < bytes.size()) {
    unsigned char c = static_cast<unsigned char>(bytes[i]);
    std::size_t len = c < 0x80           ? 1
                      : (c >> 5) == 0x6  ? 2
                      : (c >> 4) == 0xE  ? 3
                      : (c >> 3) == 0x1E ? 4
                                         : 0;
    if (len == 0 || i + len > bytes.size()) return false;
    char32_t cp = len == 1 ? c : c & (0x7F >> len);
    for (std::size_t k = 1; k < len; ++k) {
      unsigned char cc = static_cast<unsigned char>(bytes[i + k]);
      if ((cc >> 6) != 0x2) return false;
      cp = (cp << 6) | (cc & 0x3F);
    }
    static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (cp < kSmallest[len] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
    i += len;
  }
  return true;
}

Text fromCodePage437(std::string_view bytes) {
  // Bytes 0x80 to 0xFF, sixteen a line.
  static constexpr std::u16string_view kHigh =
      u"ÇüéâäàåçêëèïîìÄÅ"
      u"ÉæÆôöòûùÿÖÜ¢£¥₧ƒ"
      u"áíóúñÑªº¿⌐¬½¼¡«»"
      u"░▒▓│┤╡╢╖╕╣║╗╝╜╛┐"
      u"└┴┬├─┼╞╟╚╔╩╦╠═╬╧"
      u"╨╤╥╙╘╒╓╫╪┘┌█▄▌▐▀"
      u"αßΓπΣσµτΦΘΩδ∞φε∩"
      u"≡±≥≤⌠⌡÷≈°∙·√ⁿ²■\u00A0";
  static_assert(kHigh.size() == 128);
  Text out;
  out.reserve(bytes.size());
  for (char ch : bytes) {
    unsigned char c = static_cast<unsigned char>(ch);
    out.push_back(c < 0x80 ? static_cast<char16_t>(c) : kHigh[c - 0x80]);
  }
  return out;
}

namespace {

// The Info-ZIP Unicode path extra field: version 1, the CRC-32 of the header
// name it stands for, then the name in UTF-8. Ignored when the CRC shows that
// the header name was changed by a tool that did not know the field.
std::optional<std::string> unicodePathExtra(std::string_view headerName, std::string_view extra) {
  RecordReader r(reinterpret_cast<const unsigned char*>(extra.data()), extra.size());
  while (r.remaining() >= 4) {
    std::uint16_t id = r.u16();
    std::uint16_t size = r.u16();
    std::string_view body = r.bytes(size);
    if (r.failed()) break;
    if (id != kExtraUnicodePath || body.size() < 5 || body[0] != 1) continue;
    auto crc = ::crc32(0, reinterpret_cast<const Bytef*>(headerName.data()),
                       static_cast<uInt>(headerName.size()));
    if (readU32(reinterpret_cast<const unsigned char*>(body.data() + 1)) != crc) continue;
    std::string_view name = body.substr(5);
    if (isValidUtf8(name)) return std::string(name);
  }
  return std::nullopt;
}

}  // namespace

Text decodeEntryName(std::string_view bytes, std::uint16_t flags, std::uint8_t hostSystem,
                     std::string_view extraField) {
  if (flags & kFlagUtf8) return fromUtf8(bytes);
  if (auto unicode = unicodePathExtra(bytes, extraField)) return fromUtf8(*unicode);
  bool oemHost = hostSystem == 0 || hostSystem == 6 || hostSystem == 10 || hostSystem == 11 ||
                 hostSystem == 14;
  // Unix and Mac tools write the bytes of their locale, nowadays UTF-8.
  if (!oemHost && isValidUtf8(bytes)) return fromUtf8(bytes);
  return fromCodePage437(bytes);
}

bool isFolderEntry(TextView name) {
  return !name.empty() && (name.back() == u'/' || name.back() == u'\\');
}

namespace {

bool isReservedDeviceName(TextView component) {
  // Windows opens a device for these names, whatever the extension.
  TextView stem = component.substr(0, component.find(u'.'));
  while (!stem.empty() && stem.back() == u' ') stem.remove_suffix(1);
  Text s = upper(stem);
  static constexpr std::array<std::u16string_view, 6> kPlain = {u"CON", u"PRN",    u"AUX",
                                                                u"NUL", u"CONIN$", u"CONOUT$"};
  if (std::find(kPlain.begin(), kPlain.end(), s) != kPlain.end()) return true;
  if (s.size() == 4 && (s.starts_with(u"COM") || s.starts_with(u"LPT"))) {
    char16_t d = s[3];
    return (d >= u'0' && d <= u'9') || d == u'¹' || d == u'²' || d == u'³';
  }
  return false;
}

}  // namespace

std::optional<Text> safeFileName(TextView entryName) {
  if (entryName.empty()) return std::nullopt;
  if (entryName.front() == u'/' || entryName.front() == u'\\') return std::nullopt;
  for (char16_t c : entryName) {
    if (c < 0x20 || c == 0x7F || c == u':' || c == u'<' || c == u'>' || c == u'"' || c == u'|' ||
        c == u'?' || c == u'*')
      return std::nullopt;
  }
  TextView last;
  std::size_t start = 0;
  while (start <= entryName.size()) {
    std::size_t end = entryName.find_first_of(u"/\\", start);
    if (end == TextView::npos) end = entryName.size();
    TextView component = entryName.substr(start, end - start);
    if (component == u"..") return std::nullopt;
    last = component;
    start = end + 1;
  }
  // Windows drops trailing dots and blanks, so "a.rpt." would land on "a.rpt".
  if (last.empty() || last == u"." || last.back() == u'.' || last.back() == u' ')
    return std::nullopt;
  if (isReservedDeviceName(last)) return std::nullopt;
  return Text(last);
}

}  // namespace mervane::zip
