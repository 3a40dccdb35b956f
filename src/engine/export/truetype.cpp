// TrueType reading and subsetting. All numbers in the file are big-endian.
#include "engine/export/truetype.h"

#include <algorithm>
#include <vector>

namespace mervane::engine::exporting {

namespace {

// Bounds-checked big-endian reads from a table.
struct Reader {
  std::string_view data;
  void need(std::size_t offset, std::size_t size) const {
    if (offset > data.size() || size > data.size() - offset) throw FontError("the font is cut short");
  }
  std::uint8_t u8(std::size_t at) const {
    need(at, 1);
    return static_cast<std::uint8_t>(data[at]);
  }
  std::uint16_t u16(std::size_t at) const {
    need(at, 2);
    return static_cast<std::uint16_t>(static_cast<std::uint8_t>(data[at]) << 8 | static_cast<std::uint8_t>(data[at + 1]));
  }
  std::int16_t s16(std::size_t at) const { return static_cast<std::int16_t>(u16(at)); }
  std::uint32_t u32(std::size_t at) const { return static_cast<std::uint32_t>(u16(at)) << 16 | u16(at + 2); }
  std::string_view slice(std::size_t at, std::size_t size) const {
    need(at, size);
    return data.substr(at, size);
  }
};

void put16(std::string& out, std::uint32_t v) {
  out += static_cast<char>((v >> 8) & 0xFF);
  out += static_cast<char>(v & 0xFF);
}
void put32(std::string& out, std::uint32_t v) {
  put16(out, v >> 16);
  put16(out, v & 0xFFFF);
}
void set16(std::string& out, std::size_t at, std::uint32_t v) {
  out[at] = static_cast<char>((v >> 8) & 0xFF);
  out[at + 1] = static_cast<char>(v & 0xFF);
}

std::uint32_t checksum(std::string_view data) {
  std::uint32_t sum = 0;
  for (std::size_t i = 0; i < data.size(); i += 4) {
    std::uint32_t word = 0;
    for (std::size_t k = 0; k < 4; ++k)
      word = word << 8 | (i + k < data.size() ? static_cast<std::uint8_t>(data[i + k]) : 0u);
    sum += word;
  }
  return sum;
}

// Composite glyph flags.
constexpr std::uint16_t kWordArgs = 0x0001, kScale = 0x0008, kMore = 0x0020, kXyScale = 0x0040,
                        kTwoByTwo = 0x0080;

}  // namespace

TrueTypeFont::TrueTypeFont(std::string bytes) : bytes_(std::move(bytes)) {
  Reader file{bytes_};
  std::size_t directory = 0;
  if (file.u32(0) == 0x74746366)  // 'ttcf': a collection, its first font
    directory = file.u32(12);
  std::uint32_t version = file.u32(directory);
  if (version != 0x00010000 && version != 0x74727565)  // 'true'
    throw FontError("not a TrueType font");
  std::uint16_t count = file.u16(directory + 4);
  for (std::uint16_t i = 0; i < count; ++i) {
    std::size_t entry = directory + 12 + 16u * i;
    std::string tag(file.slice(entry, 4));
    tables_[tag] = file.slice(file.u32(entry + 8), file.u32(entry + 12));
  }
  for (const char* needed : {"head", "hhea", "maxp", "hmtx", "loca", "glyf", "cmap"})
    if (!tables_.count(needed)) throw FontError(std::string("the font has no ") + needed + " table");

  Reader head{table("head")};
  unitsPerEm_ = head.u16(18);
  if (unitsPerEm_ < 16 || unitsPerEm_ > 16384) throw FontError("the font's em is out of range");
  for (int i = 0; i < 4; ++i) box_[i] = head.s16(36 + 2u * i);
  macStyle_ = head.u16(44);
  longLoca_ = head.s16(50) != 0;

  glyphCount_ = Reader{table("maxp")}.u16(4);
  Reader hhea{table("hhea")};
  ascent_ = hhea.s16(4);
  descent_ = -hhea.s16(6);
  metricCount_ = std::min<int>(hhea.u16(34), glyphCount_);
  if (metricCount_ < 1) throw FontError("the font has no widths");
  hmtx_ = table("hmtx");
  Reader{hmtx_}.need(0, 4u * metricCount_);
  Reader{table("loca")}.need(0, (longLoca_ ? 4u : 2u) * (glyphCount_ + 1u));

  if (auto os2 = table("OS/2"); os2.size() >= 78) {
    Reader r{os2};
    ascent_ = r.u16(74);
    descent_ = r.u16(76);
    if (r.u16(0) >= 2 && os2.size() >= 90) capHeight_ = r.s16(88);
  }
  if (capHeight_ <= 0) capHeight_ = ascent_ * 7 / 10;
  if (auto post = table("post"); post.size() >= 16) {
    Reader r{post};
    italicAngle_ = r.s16(4) + r.u16(6) / 65536.0;
    fixedPitch_ = r.u32(12) != 0;
  }
  readCmap();
  bmp_.assign(0x10000, 0);
  for (auto [c, glyph] : cmap_)
    if (c < 0x10000) bmp_[c] = glyph;
  family_ = readName(1);
  postScriptName_ = readName(6);
}

std::string_view TrueTypeFont::table(std::string_view tag) const {
  auto found = tables_.find(tag);
  return found == tables_.end() ? std::string_view() : found->second;
}

int TrueTypeFont::advance(std::uint16_t glyph) const {
  if (glyph >= glyphCount_) glyph = 0;
  return Reader{hmtx_}.u16(4u * std::min<int>(glyph, metricCount_ - 1));
}

std::string_view TrueTypeFont::glyphData(std::uint16_t glyph) const {
  if (glyph >= glyphCount_) return {};
  Reader loca{table("loca")};
  std::size_t from = longLoca_ ? loca.u32(4u * glyph) : 2u * loca.u16(2u * glyph);
  std::size_t to = longLoca_ ? loca.u32(4u * glyph + 4) : 2u * loca.u16(2u * glyph + 2);
  if (to <= from) return {};
  return Reader{table("glyf")}.slice(from, to - from);
}

void TrueTypeFont::readCmap() {
  Reader cmap{table("cmap")};
  // The best subtable: Unicode full repertoire (format 12), else the BMP (format 4).
  std::size_t best = 0;
  int bestRank = 0;
  for (std::uint16_t i = 0, n = cmap.u16(2); i < n; ++i) {
    std::size_t record = 4 + 8u * i;
    std::uint16_t platform = cmap.u16(record), encoding = cmap.u16(record + 2);
    std::size_t offset = cmap.u32(record + 4);
    std::uint16_t format = cmap.u16(offset);
    int rank = 0;
    if (format == 12 && (platform == 0 || (platform == 3 && encoding == 10))) rank = 3;
    else if (format == 4 && platform == 3 && encoding == 1) rank = 2;
    else if (format == 4 && platform == 0) rank = 1;
    if (rank > bestRank) best = offset, bestRank = rank;
  }
  if (!bestRank) throw FontError("the font has no Unicode cmap");
  auto add = [&](char32_t c, std::uint32_t glyph) {
    if (glyph != 0 && glyph < static_cast<std::uint32_t>(glyphCount_)) cmap_.emplace(c, static_cast<std::uint16_t>(glyph));
  };
  if (cmap.u16(best) == 12) {
    std::uint32_t groups = cmap.u32(best + 12);
    cmap.need(best + 16, 12ull * groups);
    std::size_t total = 0;
    for (std::uint32_t g = 0; g < groups; ++g) {
      std::size_t at = best + 16 + 12ull * g;
      std::uint32_t first = cmap.u32(at), last = cmap.u32(at + 4), glyph = cmap.u32(at + 8);
      if (last < first || last > 0x10FFFF) continue;
      total += last - first + 1;
      if (total > 0x110000) throw FontError("the font's cmap is too large");
      for (std::uint32_t c = first; c <= last; ++c) add(c, glyph + (c - first));
    }
    return;
  }
  std::size_t segments = cmap.u16(best + 6) / 2u;
  std::size_t ends = best + 14, starts = ends + 2 * segments + 2, deltas = starts + 2 * segments,
              ranges = deltas + 2 * segments;
  std::size_t total = 0;
  for (std::size_t s = 0; s < segments; ++s) {
    std::uint16_t end = cmap.u16(ends + 2 * s), start = cmap.u16(starts + 2 * s);
    std::uint16_t delta = cmap.u16(deltas + 2 * s), range = cmap.u16(ranges + 2 * s);
    if (end >= start && (total += end - start + 1u) > 0x20000) throw FontError("the font's cmap overlaps itself");
    for (std::uint32_t c = start; c <= end && c != 0xFFFF; ++c) {
      std::uint32_t glyph;
      if (range == 0) {
        glyph = (c + delta) & 0xFFFF;
      } else {
        glyph = cmap.u16(ranges + 2 * s + range + 2 * (c - start));
        if (glyph) glyph = (glyph + delta) & 0xFFFF;
      }
      add(c, glyph);
    }
  }
}

std::string TrueTypeFont::readName(std::uint16_t id) const {
  std::string_view data = table("name");
  if (data.size() < 6) return {};
  Reader name{data};
  try {
    std::size_t strings = name.u16(4);
    for (std::uint16_t i = 0, n = name.u16(2); i < n; ++i) {
      std::size_t record = 6 + 12u * i;
      std::uint16_t platform = name.u16(record), nameId = name.u16(record + 6);
      if (nameId != id || (platform != 3 && platform != 1)) continue;
      std::string_view raw = name.slice(strings + name.u16(record + 10), name.u16(record + 8));
      std::string out;
      // Windows names are UTF-16BE; Macintosh names one byte a character.
      for (std::size_t k = platform == 3 ? 1 : 0; k < raw.size(); k += platform == 3 ? 2 : 1) {
        bool wide = platform == 3 && raw[k - 1] != 0;
        out += wide ? '?' : raw[k];
      }
      if (!out.empty()) return out;
    }
  } catch (const FontError&) {
  }
  return {};
}

std::string TrueTypeFont::subset(const std::set<std::uint16_t>& glyphs,
                                 const std::map<char32_t, std::uint16_t>& characters) const {
  // The glyphs to keep: those asked for, .notdef and every composite's parts.
  std::vector<bool> keep(static_cast<std::size_t>(glyphCount_), false);
  std::vector<std::uint16_t> pending(glyphs.begin(), glyphs.end());
  pending.push_back(0);
  while (!pending.empty()) {
    std::uint16_t glyph = pending.back();
    pending.pop_back();
    if (glyph >= glyphCount_ || keep[glyph]) continue;
    keep[glyph] = true;
    Reader data{glyphData(glyph)};
    if (data.data.size() < 10 || data.s16(0) >= 0) continue;
    std::size_t at = 10;
    for (int parts = 0;; ++parts) {
      if (parts > 1000) throw FontError("a composite glyph does not end");
      std::uint16_t flags = data.u16(at);
      pending.push_back(data.u16(at + 2));
      at += 4 + ((flags & kWordArgs) ? 4 : 2);
      if (flags & kScale) at += 2;
      else if (flags & kXyScale) at += 4;
      else if (flags & kTwoByTwo) at += 8;
      if (!(flags & kMore)) break;
    }
  }

  std::map<std::string, std::string> out;
  std::string& glyf = out["glyf"];
  std::string& loca = out["loca"];
  std::string& hmtx = out["hmtx"];
  Reader metrics{table("hmtx")};
  for (int g = 0; g < glyphCount_; ++g) {
    put32(loca, static_cast<std::uint32_t>(glyf.size()));
    auto glyph = static_cast<std::uint16_t>(g);
    if (keep[glyph]) {
      glyf += glyphData(glyph);
      glyf.resize((glyf.size() + 3) & ~std::size_t{3}, '\0');
      put16(hmtx, static_cast<std::uint32_t>(advance(glyph)));
      std::size_t lsb = g < metricCount_ ? 4u * g + 2 : 4u * metricCount_ + 2u * (g - metricCount_);
      put16(hmtx, lsb + 2 <= metrics.data.size() ? metrics.u16(lsb) : 0);
    } else {
      put32(hmtx, 0);
    }
  }
  put32(loca, static_cast<std::uint32_t>(glyf.size()));

  std::string head(table("head"));
  Reader{head}.need(0, 54);
  set16(head, 50, 1);  // long offsets in loca
  out["head"] = head;
  std::string hhea(table("hhea"));
  Reader{hhea}.need(0, 36);
  set16(hhea, 34, static_cast<std::uint32_t>(glyphCount_));
  out["hhea"] = hhea;
  out["maxp"] = std::string(table("maxp"));
  std::string post(table("post").substr(0, 32));
  if (post.size() == 32) {
    set16(post, 0, 3);  // version 3: no glyph names
    set16(post, 2, 0);
    out["post"] = post;
  }
  for (const char* kept : {"OS/2", "cvt ", "fpgm", "prep"})
    if (auto data = table(kept); !data.empty()) out[kept] = std::string(data);

  // cmap: one format 4 subtable, a segment per character of the first plane.
  std::vector<std::pair<std::uint16_t, std::uint16_t>> mapped;
  for (auto [c, glyph] : characters)
    if (c < 0xFFFF && glyph < glyphCount_) mapped.emplace_back(static_cast<std::uint16_t>(c), glyph);
  mapped.emplace_back(0xFFFF, 0);
  std::string& cmap = out["cmap"];
  put16(cmap, 0);
  put16(cmap, 1);
  put16(cmap, 3);
  put16(cmap, 1);
  put32(cmap, 12);
  std::size_t segments = mapped.size();
  std::uint32_t power = 1, log = 0;
  while (power * 2 <= segments) power *= 2, ++log;
  put16(cmap, 4);
  put16(cmap, static_cast<std::uint32_t>(16 + 8 * segments));
  put16(cmap, 0);
  put16(cmap, static_cast<std::uint32_t>(2 * segments));
  put16(cmap, 2 * power);
  put16(cmap, log);
  put16(cmap, static_cast<std::uint32_t>(2 * segments - 2 * power));
  for (auto [c, g] : mapped) put16(cmap, c);
  put16(cmap, 0);
  for (auto [c, g] : mapped) put16(cmap, c);
  for (auto [c, g] : mapped) put16(cmap, c == 0xFFFF ? 1u : static_cast<std::uint16_t>(g - c));
  for (std::size_t i = 0; i < segments; ++i) put16(cmap, 0);
  return sfntOf(out);
}

std::string sfntOf(const std::map<std::string, std::string>& tables) {
  std::uint16_t count = static_cast<std::uint16_t>(tables.size());
  std::uint16_t power = 1, log = 0;
  while (power * 2 <= count) power = static_cast<std::uint16_t>(power * 2), ++log;
  std::string out;
  put32(out, 0x00010000);
  put16(out, count);
  put16(out, power * 16u);
  put16(out, log);
  put16(out, count * 16u - power * 16u);
  std::size_t offset = 12 + 16u * count;
  std::size_t headAt = 0;
  std::string body;
  for (const auto& [tag, data] : tables) {  // a std::map: sorted by tag, as the directory must be
    std::string name = (tag + "    ").substr(0, 4);
    out += name;
    put32(out, checksum(data));
    put32(out, static_cast<std::uint32_t>(offset + body.size()));
    put32(out, static_cast<std::uint32_t>(data.size()));
    if (name == "head") headAt = offset + body.size();
    body += data;
    body.resize((body.size() + 3) & ~std::size_t{3}, '\0');
  }
  out += body;
  if (headAt && tables.at("head").size() >= 12) {
    for (std::size_t i = 0; i < 4; ++i) out[headAt + 8 + i] = 0;
    std::uint32_t adjustment = 0xB1B0AFBA - checksum(out);
    for (std::size_t i = 0; i < 4; ++i) out[headAt + 8 + i] = static_cast<char>(adjustment >> (24 - 8 * i));
  }
  return out;
}

}  // namespace mervane::engine::exporting
