// The property panel's rows and the values a person may type into them.
#include "authoring/designer/properties.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace mervane::authoring::designer {
namespace {

const Property* row(const std::vector<Property>& rows, const Text& key) {
  auto found = std::find_if(rows.begin(), rows.end(), [&](const Property& p) { return p.key == key; });
  return found == rows.end() ? nullptr : &*found;
}

engine::ReportDocument twoObjects() {
  engine::ReportDocument d;
  d.definition = model::blankReport();
  d.title = u"Sales";
  auto& objects = d.definition.sections[2].objects;
  objects.resize(2);
  objects[0].name = u"Label";
  objects[0].text = u"Total";
  objects[0].format.fontSize = 165;
  objects[1].name = u"Amount";
  objects[1].kind = model::ObjectKind::DatabaseField;
  objects[1].field = {u"Orders", u"Amount"};
  objects[1].format.bold = true;
  return d;
}

Selection both() {
  Selection s;
  s.add({2, 0});
  s.add({2, 1});
  return s;
}

TEST(Properties, ObjectsShowSharedValuesAndTakeValuesTogether) {
  auto doc = twoObjects();
  Selection one;
  one.add({2, 0});
  auto rows = describeSelection(doc, one);
  EXPECT_EQ(row(rows, u"text")->value, u"Total");
  EXPECT_EQ(row(rows, u"fontSize")->value, u"8.25");
  EXPECT_EQ(row(rows, u"colour")->value, u"#000000");
  EXPECT_EQ(row(rows, u"background")->value, u"None");

  rows = describeSelection(doc, both());
  EXPECT_EQ(row(rows, u"text"), nullptr);  // a field has no text of its own
  EXPECT_EQ(row(rows, u"bold")->value, u"");  // the two differ
  EXPECT_EQ(row(rows, u"font")->value, u"Arial");

  auto command = propertyCommand(doc, both(), u"fontSize", u"12.5");
  ASSERT_TRUE(command);
  command->apply(doc);
  EXPECT_EQ(doc.definition.sections[2].objects[0].format.fontSize, 250);
  EXPECT_EQ(doc.definition.sections[2].objects[1].format.fontSize, 250);
  propertyCommand(doc, both(), u"background", u"#ff8000")->apply(doc);
  EXPECT_TRUE(doc.definition.sections[2].objects[1].format.filled);
  EXPECT_EQ(doc.definition.sections[2].objects[1].format.background, 0xFF8000u);
  propertyCommand(doc, both(), u"border", u"dashed")->apply(doc);
  rows = describeSelection(doc, both());
  EXPECT_EQ(row(rows, u"border")->value, u"Dashed");
  command->revert(doc);
  EXPECT_EQ(doc.definition.sections[2].objects[0].format.fontSize, 165);

  // A line alone takes no text format; beside a field, the field does.
  doc.definition.sections[2].objects[0].kind = model::ObjectKind::Line;
  EXPECT_FALSE(selectionShowsText(doc, one));
  EXPECT_TRUE(selectionShowsText(doc, both()));
}

TEST(Properties, RefusedValuesMakeNoCommand) {
  auto doc = twoObjects();
  for (const auto& [key, value] : std::vector<std::pair<Text, Text>>{{u"width", u"-1"},
                                                                    {u"width", u"wide"},
                                                                    {u"fontSize", u"0"},
                                                                    {u"fontSize", u"10pt"},
                                                                    {u"colour", u"#12345"},
                                                                    {u"colour", u"#GG0000"},
                                                                    {u"alignment", u"Middle"},
                                                                    {u"bold", u"perhaps"},
                                                                    {u"name", u"  "},
                                                                    {u"text", u"x"},  // not all are texts
                                                                    {u"nosuch", u"1"},
                                                                    {u"font", u"Arial"}}) {  // no change
    EXPECT_FALSE(propertyCommand(doc, both(), key, value)) << toUtf8(key) << "=" << toUtf8(value);
  }
  EXPECT_FALSE(propertyCommand(doc, Selection::ofSection(2), u"height", u"-5"));
  EXPECT_FALSE(propertyCommand(doc, {}, u"marginLeft", u"200000"));
  EXPECT_FALSE(propertyCommand(doc, {}, u"paperSize", u"B5"));
}

TEST(Properties, SectionsAndTheReport) {
  auto doc = twoObjects();
  auto rows = describeSelection(doc, Selection::ofSection(2));
  EXPECT_EQ(row(rows, u"sectionName")->value, u"Details");
  EXPECT_TRUE(row(rows, u"sectionName")->readOnly);
  auto command = propertyCommand(doc, Selection::ofSection(2), u"newPageAfter", u"yes");
  ASSERT_TRUE(command);
  command->apply(doc);
  EXPECT_TRUE(doc.definition.sections[2].newPageAfter);
  EXPECT_EQ(doc.definition.sections[2].objects.size(), 2u);  // objects untouched
  command->revert(doc);
  EXPECT_EQ(doc.definition, twoObjects().definition);

  rows = describeSelection(doc, {});
  EXPECT_EQ(row(rows, u"title")->value, u"Sales");
  EXPECT_EQ(row(rows, u"paperSize")->value, u"A4");
  propertyCommand(doc, {}, u"paperSize", u"letter")->apply(doc);
  propertyCommand(doc, {}, u"marginTop", u"720")->apply(doc);
  EXPECT_EQ(doc.definition.page.paperSize, model::paper::kLetter);
  EXPECT_EQ(doc.definition.page.marginTop, 720);
}

TEST(Properties, DesignTextNamesWhatPrints) {
  model::ReportObject o;
  o.kind = model::ObjectKind::DatabaseField;
  o.field = {u"Orders", u"Amount"};
  EXPECT_EQ(designText(o), u"{Orders.Amount}");
  o.kind = model::ObjectKind::SummaryField;
  o.summary = model::SummaryOperation::Average;
  EXPECT_EQ(designText(o), u"Average of {Orders.Amount}");
  o.kind = model::ObjectKind::FormulaField;
  o.formula = u"Net";
  EXPECT_EQ(designText(o), u"{@Net}");
  o.kind = static_cast<model::ObjectKind>(99);  // a kind of a newer version
  EXPECT_EQ(designText(o), u"");
}

}  // namespace
}  // namespace mervane::authoring::designer
