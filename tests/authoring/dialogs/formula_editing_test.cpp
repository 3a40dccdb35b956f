// The formula editor's helpers: positions the language reports found in the
// editor's "\r\n" text, the status line, and the names it offers.
#include "authoring/designer/formula_editing.h"

#include <gtest/gtest.h>

#include "engine/formula/syntax.h"

namespace mervane::authoring {
namespace {

using engine::formula::Position;

TEST(FormulaEditing, PositionsCountColumnsWithinEditorLines) {
  const Text text = u"1 +\r\n* 2\r\nx";
  EXPECT_EQ(offsetOf(text, Position{1, 1}), 0u);
  EXPECT_EQ(offsetOf(text, Position{1, 3}), 2u);
  EXPECT_EQ(offsetOf(text, Position{2, 1}), 5u);
  EXPECT_EQ(offsetOf(text, Position{3, 1}), 10u);
  // Past a line's end: the line's end, never into the next line or past the text.
  EXPECT_EQ(offsetOf(text, Position{1, 40}), 3u);
  EXPECT_EQ(offsetOf(text, Position{9, 1}), text.size());
  EXPECT_EQ(offsetOf(u"a\nb", Position{2, 1}), 2u);
}

TEST(FormulaEditing, MistakeRangeAgreesWithTheChecker) {
  // The checker's own position for a mistake on the second line.
  const Text text = u"1 +\r\n* 2";
  auto mistake = engine::formula::check(text);
  ASSERT_TRUE(mistake);
  EXPECT_EQ(mistake->position().line, 2);
  EXPECT_EQ(mistake->position().column, 1);
  EXPECT_EQ(mistakeRange(text, mistake->position()), (TextRange{5, 6}));
  EXPECT_EQ(text.substr(5, 1), u"*");

  // A formula that stops short: an empty range at the very end.
  const Text shortText = u"Left(\"abc\", 2";
  mistake = engine::formula::check(shortText);
  ASSERT_TRUE(mistake);
  EXPECT_EQ(mistakeRange(shortText, mistake->position()), (TextRange{shortText.size(), shortText.size()}));

  // A character outside the basic plane is selected whole.
  const Text astral = u"\"a\" & \U0001F600";
  mistake = engine::formula::check(astral);
  ASSERT_TRUE(mistake);
  EXPECT_EQ(mistakeRange(astral, mistake->position()), (TextRange{6, 8}));
}

TEST(FormulaEditing, StatusLineSaysWhereAndWhat) {
  EXPECT_EQ(statusLine(std::nullopt), kNoMistake);
  auto mistake = engine::formula::check(u"{Orders.Amount} * * 2");
  ASSERT_TRUE(mistake);
  EXPECT_EQ(statusLine(mistake), u"Line 1, column 19: " + mistake->problem());
}

TEST(FormulaEditing, EveryOfferedNameIsOneTheLanguageKnows) {
  for (const InsertableName& name : functionNames()) {
    Text inserted = name.inserted;
    ASSERT_EQ(inserted.back(), u'(');
    inserted.pop_back();
    EXPECT_NE(engine::formula::findFunction(inserted), nullptr) << toUtf8(inserted);
    EXPECT_EQ(Text(name.shown).rfind(inserted + u"(", 0), 0u) << toUtf8(name.shown);
  }
  for (const InsertableName& name : specialValueNames()) {
    EXPECT_FALSE(engine::formula::check(name.inserted)) << toUtf8(name.inserted);
  }
  EXPECT_EQ(specialValueNames().size(), 23u);
}

}  // namespace
}  // namespace mervane::authoring
