// The TrueType reader and subsetter, on the fonts of this machine.
#include "engine/export/truetype.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

using namespace mervane::engine::exporting;

namespace {

std::string fontBytes(const std::string& name) {
  std::ifstream in("/usr/share/fonts/truetype/" + name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The first composite glyph of a font (negative contour count), or 0.
std::uint16_t firstComposite(const TrueTypeFont& font) {
  for (int g = 1; g < font.glyphCount(); ++g) {
    auto data = font.glyphData(static_cast<std::uint16_t>(g));
    if (data.size() >= 10 && static_cast<signed char>(data[0]) < 0) return static_cast<std::uint16_t>(g);
  }
  return 0;
}

}  // namespace

TEST(TrueType, ReadsMetricsNamesAndCharacters) {
  TrueTypeFont sans(fontBytes("liberation/LiberationSans-Regular.ttf"));
  EXPECT_EQ(sans.family(), "Liberation Sans");
  EXPECT_EQ(sans.postScriptName(), "LiberationSans");
  EXPECT_EQ(sans.unitsPerEm(), 2048);
  EXPECT_FALSE(sans.bold());
  // Arial's metrics, which Liberation Sans copies: 'A' is 1366 units wide.
  EXPECT_EQ(sans.advance(sans.glyphFor(U'A')), 1366);
  EXPECT_EQ(sans.advance(sans.glyphFor(U'ł')), sans.advance(sans.glyphFor(U'l')));
  EXPECT_TRUE(sans.has(U'Ř'));
  EXPECT_FALSE(sans.has(U'\u2603'));  // a snowman: only DejaVu has one
  EXPECT_EQ(sans.glyphFor(U'\U0001F600'), 0);

  TrueTypeFont bold(fontBytes("dejavu/DejaVuSans-BoldOblique.ttf"));
  EXPECT_TRUE(bold.bold());
  EXPECT_TRUE(bold.italic());
  EXPECT_TRUE(bold.has(U'\u2603'));
}

TEST(TrueType, SubsetKeepsGlyphNumbersAndPullsInCompositeParts) {
  TrueTypeFont font(fontBytes("dejavu/DejaVuSans.ttf"));
  std::uint16_t composite = firstComposite(font);
  ASSERT_NE(composite, 0);
  std::uint16_t a = font.glyphFor(U'A'), unused = font.glyphFor(U'Z');
  std::string bytes = font.subset({a, composite}, {{U'A', a}});
  EXPECT_LT(bytes.size() * 10, fontBytes("dejavu/DejaVuSans.ttf").size());

  TrueTypeFont subset(bytes);
  EXPECT_EQ(subset.glyphCount(), font.glyphCount());
  EXPECT_EQ(subset.glyphFor(U'A'), a);
  EXPECT_FALSE(subset.has(U'Z'));
  EXPECT_EQ(subset.glyphData(a), font.glyphData(a));
  EXPECT_EQ(subset.glyphData(composite), font.glyphData(composite));
  EXPECT_EQ(subset.advance(a), font.advance(a));
  EXPECT_TRUE(subset.glyphData(unused).empty());
  // Every part of the composite came along.
  auto data = font.glyphData(composite);
  for (std::size_t at = 10;;) {
    auto flags = static_cast<std::uint16_t>(static_cast<std::uint8_t>(data[at]) << 8 | static_cast<std::uint8_t>(data[at + 1]));
    auto part = static_cast<std::uint16_t>(static_cast<std::uint8_t>(data[at + 2]) << 8 | static_cast<std::uint8_t>(data[at + 3]));
    EXPECT_EQ(subset.glyphData(part), font.glyphData(part)) << part;
    at += 4 + ((flags & 1) ? 4 : 2) + ((flags & 8) ? 2 : (flags & 0x40) ? 4 : (flags & 0x80) ? 8 : 0);
    if (!(flags & 0x20)) break;
  }
}

TEST(TrueType, DamagedFontsAreRefusedNotReadBeyond) {
  std::string good = fontBytes("liberation/LiberationSerif-Italic.ttf");
  ASSERT_FALSE(good.empty());
  for (std::size_t cut : {0ul, 11ul, 200ul, 5000ul, good.size() / 2})
    EXPECT_THROW(TrueTypeFont(good.substr(0, cut)), FontError) << cut;
  EXPECT_THROW(TrueTypeFont("OTTO" + good.substr(4)), FontError);  // outlines in CFF: not ours to embed
}
