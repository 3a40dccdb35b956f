#include "base/text.h"

#include <gtest/gtest.h>

namespace mervane {
namespace {

TEST(Text, Utf8RoundTripKeepsAccentsSurrogatesAndNuls) {
  std::string s = std::string("Gr\xC3\xBC\xC3\x9F" "e \xF0\x9F\x93\x8A ", 12) + '\0' + "x";
  Text t = fromUtf8(s);
  EXPECT_EQ(t.size(), 10u);  // G r ü ß e space, two surrogates, NUL, x
  EXPECT_EQ(toUtf8(t), s);
  EXPECT_EQ(fromUtf8("\xFF"), Text(u"\uFFFD"));
  EXPECT_EQ(fromUtf8("\xE2\x82"), Text(u"\uFFFD\uFFFD"));
}

TEST(Text, TrimRemovesBlanksOnly) {
  EXPECT_EQ(trim(u"  a b  "), u"a b");
  EXPECT_EQ(trim(u"\ta\t"), u"\ta\t");
  EXPECT_TRUE(isBlank(u"   "));
  EXPECT_TRUE(isBlank(u""));
  EXPECT_FALSE(isBlank(u" \t "));
}

TEST(Text, UpperAndCaseInsensitiveEquality) {
  EXPECT_EQ(upper(u"sales.rpt"), u"SALES.RPT");
  EXPECT_EQ(upper(u"éçåøÿ"), u"ÉÇÅØŸ");
  EXPECT_EQ(upper(u"łźđ"), u"ŁŹĐ");
  EXPECT_EQ(upper(u"жαß"), u"ЖΑß");
  EXPECT_TRUE(equalsNoCase(u"Ärger.RPT", u"ärger.rpt"));
  EXPECT_FALSE(equalsNoCase(u"a.rpt", u"a.rpt "));
}

struct LongCase {
  const char16_t* text;
  std::optional<std::int32_t> value;
};

class ParseLong : public ::testing::TestWithParam<LongCase> {};

TEST_P(ParseLong, ConvertsLikeTheAutomationRuntime) {
  EXPECT_EQ(parseLong(GetParam().text), GetParam().value) << toUtf8(GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ParseLong,
    ::testing::Values(LongCase{u"17", 17}, LongCase{u"  -42 ", -42}, LongCase{u"+7", 7}, LongCase{u"7-", -7},
                      LongCase{u"(12)", -12}, LongCase{u"&H10", 16}, LongCase{u"&hFF", 255},
                      LongCase{u"&HFFFFFFFF", -1}, LongCase{u"&O17", 15}, LongCase{u"&H1FFFFFFFF", std::nullopt},
                      LongCase{u"2.5", 2}, LongCase{u"3.5", 4}, LongCase{u"-2.5", -2}, LongCase{u"1,000", 1000},
                      LongCase{u"1e3", 1000}, LongCase{u"2147483647", 2147483647},
                      LongCase{u"2147483648", std::nullopt}, LongCase{u"-2147483648", INT32_MIN},
                      LongCase{u"", std::nullopt}, LongCase{u"   ", std::nullopt}, LongCase{u"12a", std::nullopt},
                      LongCase{u"a12", std::nullopt}, LongCase{u"1 2", std::nullopt}, LongCase{u".", std::nullopt},
                      LongCase{u"--1", std::nullopt}, LongCase{u"99999999999999999999", std::nullopt},
                      LongCase{u"&", std::nullopt}, LongCase{u"&H", std::nullopt}, LongCase{u"&HG", std::nullopt}));

TEST(Text, DecimalWritesPlainNumbers) {
  EXPECT_EQ(decimal(0), u"0");
  EXPECT_EQ(decimal(-2147483648LL), u"-2147483648");
}

}  // namespace
}  // namespace mervane
