// The summary property set reader against hand-built streams: both string
// types in ANSI and Unicode sets, sections in any order, and damaged input.
#include "engine/summary_information.h"

#include <gtest/gtest.h>

#include "property_set_bytes.h"

namespace mervane::engine {
namespace {

using testing::PropertySetBytes;

constexpr std::uint32_t kTitle = 2, kComments = 6;

TEST(SummaryInformation, AnsiSetGivesBytesInItsCodePage) {
  auto bytes = PropertySetBytes()
                   .codePage(1251)
                   .lpstr(kTitle, "\xCE\xF2\xF7\xB8\xF2; 1")
                   .lpstr(4, "author")
                   .lpstr(kComments, "Dept=4;AppData=17;Owner=x")
                   .build();
  auto info = parseSummaryInformation(bytes);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->codePage, 1251);
  ASSERT_TRUE(info->title && info->comments);
  EXPECT_FALSE(info->title->isUnicode);
  EXPECT_EQ(info->title->bytes, "\xCE\xF2\xF7\xB8\xF2; 1");
  EXPECT_EQ(info->comments->bytes, "Dept=4;AppData=17;Owner=x");
}

TEST(SummaryInformation, UnicodeStringsOfBothTypes) {
  // A code page listed after the strings still governs them; VT_LPSTR in a
  // Unicode set is UTF-16 counted in bytes.
  auto bytes = PropertySetBytes()
                   .lpwstr(kTitle, u"Z\u00FCrich \u0141\u00F3d\u017A; \u03A3")
                   .lpstrUnicode(kComments, u"AppData=3; \u00E9")
                   .codePage(1200)
                   .build(true);
  auto info = parseSummaryInformation(bytes);
  ASSERT_TRUE(info && info->title && info->comments);
  EXPECT_TRUE(info->title->isUnicode);
  EXPECT_EQ(info->title->unicode, u"Z\u00FCrich \u0141\u00F3d\u017A; \u03A3");
  EXPECT_TRUE(info->comments->isUnicode);
  EXPECT_EQ(info->comments->unicode, u"AppData=3; \u00E9");
  // A code page above 32767 is stored as a negative VT_I2.
  EXPECT_EQ(parseSummaryInformation(PropertySetBytes().codePage(65001).build())->codePage, 65001);
}

TEST(SummaryInformation, OddPropertiesAreLeftOutAndTheRestRead) {
  // Cut at the first NUL; a title of another type is no title.
  auto info = parseSummaryInformation(PropertySetBytes()
                                          .codePage(1252)
                                          .i4(kTitle, 5)
                                          .lpstr(kComments, std::string_view("AppData=1;\0tail", 15))
                                          .build());
  ASSERT_TRUE(info);
  EXPECT_FALSE(info->title);
  EXPECT_EQ(info->comments->bytes, "AppData=1;");

  // A string whose length runs past the section.
  auto bytes = PropertySetBytes().codePage(1252).lpstr(kComments, "ok").lpstr(kTitle, "long title").build();
  bytes[bytes.size() - 16] = 0xFF;  // the title's byte count
  info = parseSummaryInformation(bytes);
  ASSERT_TRUE(info);
  EXPECT_FALSE(info->title);
  EXPECT_EQ(info->comments->bytes, "ok");

  // Nothing: not a property set, or no summary section in it.
  EXPECT_FALSE(parseSummaryInformation(std::vector<std::uint8_t>(64, 0)));
  auto other = PropertySetBytes().lpstr(kTitle, "x").build();
  std::copy(PropertySetBytes::kOtherFormat.begin(), PropertySetBytes::kOtherFormat.end(), other.begin() + 28);
  EXPECT_FALSE(parseSummaryInformation(other));
}

TEST(SummaryInformation, DamagedStreamsNeverReadOutOfBounds) {
  const auto good = PropertySetBytes()
                        .codePage(1252)
                        .lpstr(kTitle, "Monthly Sales")
                        .lpstr(kComments, "AppData=17;")
                        .build(true);
  // Every truncation: the bytes are copied so that reads past the end are
  // caught by the sanitizers.
  for (std::size_t n = 0; n < good.size(); ++n) {
    std::vector<std::uint8_t> cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(n));
    auto info = parseSummaryInformation(cut);
    if (info && info->title) {
      EXPECT_EQ(info->title->bytes, "Monthly Sales") << n;
    }
  }
  // Every byte set to each of a few troublesome values.
  for (std::size_t i = 0; i < good.size(); ++i) {
    for (std::uint8_t value : {0x00, 0x7F, 0x80, 0xFF}) {
      std::vector<std::uint8_t> bad = good;
      bad[i] = value;
      auto info = parseSummaryInformation(bad);
      if (info && info->title) {
        EXPECT_LE(info->title->bytes.size(), bad.size());
      }
    }
  }
  // A huge property count is refused at once.
  std::vector<std::uint8_t> counted = PropertySetBytes().lpstr(kTitle, "x").build();
  counted[48 + 4 + 3] = 0x20;
  EXPECT_FALSE(parseSummaryInformation(counted));
}

}  // namespace
}  // namespace mervane::engine
