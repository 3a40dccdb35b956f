// The designer's editor: geometry and hit tests, gestures, commands with
// undo and redo, the clipboard, columns dropped from the field list.
#include "authoring/designer/editor.h"

#include <gtest/gtest.h>

#include "authoring/designer/design_scene.h"
#include "authoring/designer/field_list.h"
#include "engine/data/table_connection.h"
#include "engine/model/definition_stream.h"

namespace mervane::authoring::designer {
namespace {

model::ReportObject textObject(Text name, std::int32_t x, std::int32_t y, std::int32_t w = 1440, std::int32_t h = 240) {
  model::ReportObject o;
  o.kind = model::ObjectKind::Text;
  o.name = std::move(name);
  o.text = o.name;
  o.x = x, o.y = y, o.width = w, o.height = h;
  return o;
}

// Blank report (report header, page header, details, page footer, report
// footer, each 360 high) with two objects in the details.
engine::ReportDocument sample() {
  engine::ReportDocument d;
  d.definition = model::blankReport();
  d.title = u"Orders";
  d.definition.data.tables.push_back({.alias = u"Orders", .location = u"Orders"});
  d.definition.sections[2].objects = {textObject(u"A", 0, 0), textObject(u"B", 2880, 120)};
  return d;
}

struct Fixture : ::testing::Test {
  engine::ReportDocument doc = sample();
  Editor editor;
  int changes = 0;
  void SetUp() override { editor.setDocument(&doc, [this] { ++changes; }); }
  // Surface point of a section-local point.
  Point at(std::size_t section, std::int32_t x, std::int32_t y) { return {x, editor.layout().band(section)->bodyTop + y}; }
  void drag(Point from, Point to, unsigned modifiers = 0) {
    editor.press(from, modifiers, 30);
    editor.dragTo({(from.x + to.x) / 2, (from.y + to.y) / 2});
    editor.release(to);
  }
};

TEST(BandGeometry, StacksBandsSnapsAndResizes) {
  auto report = model::blankReport();
  report.sections[1].height = 0;  // a section of no height still has its band
  report.sections[3].height = -50;
  BandLayout layout(report);
  ASSERT_EQ(layout.bands().size(), 5u);
  EXPECT_EQ(layout.bands()[0].bodyTop, kBandHeaderHeight);
  EXPECT_EQ(layout.bands()[1].headerTop, kBandHeaderHeight + 360);
  EXPECT_EQ(layout.bands()[1].bottom(), layout.bands()[2].headerTop);
  EXPECT_EQ(layout.bands()[3].height, 0);
  EXPECT_EQ(layout.width(), 11906 - 2880);
  EXPECT_EQ(layout.bandAt(0)->section, 0u);
  EXPECT_EQ(layout.bandAt(layout.bands()[2].bodyTop + 10)->section, 2u);
  EXPECT_EQ(layout.bandAt(layout.height()), nullptr);
  EXPECT_EQ(layout.bandAt(-1), nullptr);

  EXPECT_EQ(snap(59, 120), 0);
  EXPECT_EQ(snap(60, 120), 120);
  EXPECT_EQ(snap(-59, 120), 0);
  EXPECT_EQ(snap(-61, 120), -120);
  EXPECT_EQ(snap(-240, 120), -240);
  EXPECT_EQ(snap(77, 0), 77);

  const Box box{100, 100, 200, 100};
  EXPECT_EQ(resizeBox(box, BottomRight, 50, 20), (Box{100, 100, 250, 120}));
  EXPECT_EQ(resizeBox(box, TopLeft, 50, -20), (Box{150, 80, 150, 120}));
  EXPECT_EQ(resizeBox(box, Left, 500, 0), (Box{300, 100, 0, 100}));  // never negative
  model::PageSetup landscape;
  landscape.orientation = model::Orientation::Landscape;
  EXPECT_EQ(paperSize(landscape), (Point{16838, 11906}));
}

TEST_F(Fixture, HitTestsHandlesObjectsEdgesAndHeaders) {
  const Band& details = *editor.layout().band(2);
  EXPECT_EQ(editor.hitTest(at(2, 100, 100), 30).kind, HitKind::Object);
  EXPECT_EQ(editor.hitTest(at(2, 100, 100), 30).object, (ObjectRef{2, 0}));
  EXPECT_EQ(editor.hitTest({100, details.headerTop + 120}, 30).kind, HitKind::BandHeader);
  EXPECT_EQ(editor.hitTest({6000, details.bottom() + 5}, 30).kind, HitKind::BandEdge);
  EXPECT_EQ(editor.hitTest({6000, details.bottom() + 5}, 30).section, 2u);
  EXPECT_EQ(editor.hitTest(at(2, 6000, 100), 30).kind, HitKind::BandBody);
  EXPECT_EQ(editor.hitTest({0, editor.layout().height() + 500}, 30).kind, HitKind::Nothing);
  // Handles of the selected object come first.
  Selection s;
  s.add({2, 0});
  editor.select(s);
  const Hit handle = editor.hitTest(at(2, 1440, 240), 30);
  EXPECT_EQ(handle.kind, HitKind::Handle);
  EXPECT_EQ(handle.handle, BottomRight);
  // An object of no size can still be picked.
  doc.definition.sections[0].objects.push_back(textObject(u"Z", 500, 100, 0, 0));
  editor.setDocument(&doc);
  EXPECT_EQ(editor.hitTest(at(0, 510, 105), 30).object, (ObjectRef{0, 0}));
}

TEST_F(Fixture, ClicksSelectShiftAddsRubberBandCollects) {
  editor.press(at(2, 100, 100), 0, 30);
  editor.release(at(2, 100, 100));
  EXPECT_EQ(editor.selection().objects, (std::vector<ObjectRef>{{2, 0}}));
  editor.press(at(2, 3000, 200), kShift, 30);
  editor.release(at(2, 3000, 200));
  EXPECT_EQ(editor.selection().objects.size(), 2u);
  editor.press(at(2, 100, 100), kControl, 30);  // toggles off
  editor.release(at(2, 100, 100));
  EXPECT_EQ(editor.selection().objects, (std::vector<ObjectRef>{{2, 1}}));
  // A click on empty band picks its section; a band drawn across both objects takes both.
  editor.press(at(2, 7000, 100), 0, 30);
  editor.release(at(2, 7000, 100));
  EXPECT_TRUE(editor.selection().hasSection);
  EXPECT_EQ(editor.selection().section, 2u);
  drag(at(2, 8000, 300), at(2, 1000, 10));
  EXPECT_EQ(editor.selection().objects.size(), 2u);
  EXPECT_EQ(changes, 0);  // selecting changes nothing
}

TEST_F(Fixture, DraggingMovesSnappedAsOneUndoableStep) {
  const auto before = doc.definition;
  editor.press(at(2, 100, 100), 0, 30);
  editor.dragTo(at(2, 380, 130));
  // Nothing changes while dragging; the preview shows where it goes (snapped).
  EXPECT_EQ(doc.definition, before);
  ASSERT_EQ(editor.previewBoxes().size(), 1u);
  EXPECT_EQ(editor.previewBoxes()[0].x, 240);
  editor.release(at(2, 430, 150));
  EXPECT_EQ(doc.definition.sections[2].objects[0].x, 360);
  EXPECT_EQ(doc.definition.sections[2].objects[0].y, 0);
  EXPECT_EQ(changes, 1);
  // Never past the surface's left edge or above the first band.
  drag(at(2, 400, 100), at(2, -5000, -5000));
  ASSERT_EQ(doc.definition.sections[0].objects.size(), 1u);
  EXPECT_EQ(doc.definition.sections[0].objects[0].x, 0);
  EXPECT_EQ(doc.definition.sections[0].objects[0].y, 0);
  editor.undo();
  editor.undo();
  EXPECT_EQ(doc.definition, before);
  EXPECT_FALSE(editor.canUndo());
}

TEST_F(Fixture, HandlesResizeAndBandEdgesSetHeights) {
  Selection s;
  s.add({2, 1});
  editor.select(s);
  const auto& b = doc.definition.sections[2].objects[1];
  drag(at(2, b.x + b.width, b.y + b.height), at(2, b.x + b.width + 250, b.y + b.height + 10));
  EXPECT_EQ(doc.definition.sections[2].objects[1].width, 1440 + 240);
  EXPECT_EQ(doc.definition.sections[2].objects[1].height, 240);
  const Band details = *editor.layout().band(2);
  drag({7000, details.bottom()}, {7000, details.bottom() + 700});
  EXPECT_EQ(doc.definition.sections[2].height, 1080);
  drag({7000, editor.layout().band(2)->bottom()}, {7000, 0});  // not below zero
  EXPECT_EQ(doc.definition.sections[2].height, 0);
  EXPECT_EQ(changes, 3);
}

TEST_F(Fixture, EveryKindOfChangeUndoesAndRedoesExactly) {
  const auto original = doc;
  editor.selectAll();
  editor.nudge(120, 0, false);
  editor.nudge(0, 120, true);
  editor.setProperty(u"fontSize", u"12.5");
  editor.setProperty(u"alignment", u"Right");
  editor.select({});
  editor.setProperty(u"title", u"Renamed");
  editor.setProperty(u"orientation", u"Landscape");
  editor.select(Selection::ofSection(1));
  editor.setProperty(u"suppress", u"Yes");
  editor.addGroup({.field = {u"Orders", u"Region"}});
  editor.dropColumn({u"Orders", u"Amount"}, at(3, 2000, 10));  // details, after the group header
  Selection first;
  first.add({3, 2});
  editor.select(first);
  const auto clip = editor.copySelection();
  editor.paste(clip);
  editor.deleteSelection();
  auto parts = reportParts(doc);
  parts.data.recordFilter = u"{Orders.Amount} > 10";
  parts.formulas.push_back({u"Net", u"{Orders.Amount} * 0.8"});
  editor.changeReportParts(parts);
  editor.setSectionHeight(0, 0);
  // A picture taller than its section makes room for itself, in the same step.
  editor.select(Selection::ofSection(0));
  model::ReportObject logo;
  logo.kind = model::ObjectKind::Picture;
  logo.height = 1800;
  logo.picture.image = model::SharedBytes("GIF89a logo");
  editor.insertObject(logo);
  EXPECT_EQ(doc.definition.sections[0].height, 1800);
  const auto changed = doc;
  EXPECT_TRUE(model::sectionsInOrder(changed.definition));
  int steps = 0;
  while (editor.undo()) ++steps;
  EXPECT_EQ(steps, 14);
  EXPECT_EQ(doc.definition, original.definition);
  EXPECT_EQ(doc.title, original.title);
  while (editor.redo()) {
  }
  EXPECT_EQ(doc.definition, changed.definition);
  EXPECT_EQ(doc.title, u"Renamed");
  // A new change after undoing drops what could be redone.
  editor.undo();
  editor.selectAll();
  editor.nudge(1, 1, false);
  EXPECT_FALSE(editor.canRedo());
}

TEST_F(Fixture, ClipboardCarriesObjectsBetweenReports) {
  Selection both;
  both.add({2, 0});
  both.add({2, 1});
  editor.select(both);
  auto& source = doc.definition.sections[2].objects[1];
  source.kind = model::ObjectKind::FormulaField;
  source.formula = u"Net";
  doc.definition.formulas.push_back({u"Net", u"1 + 1"});
  const auto bytes = editor.copySelection();
  ASSERT_FALSE(bytes.empty());

  engine::ReportDocument other;
  other.definition = model::blankReport();
  Editor second;
  second.setDocument(&other);
  second.select(Selection::ofSection(4));  // report footer
  ASSERT_TRUE(second.paste(bytes));
  ASSERT_EQ(other.definition.sections[4].objects.size(), 2u);
  EXPECT_EQ(other.definition.sections[4].objects[1].formula, u"Net");
  EXPECT_EQ(other.definition.formulas.size(), 1u);
  EXPECT_EQ(second.selection().objects.size(), 2u);
  // Pasted again onto itself, the copy moves a grid step to stay visible.
  second.select(Selection::ofSection(4));
  second.paste(bytes);
  EXPECT_EQ(other.definition.sections[4].objects[2].x, 120);
  EXPECT_EQ(other.definition.formulas.size(), 1u);

  const std::uint8_t junk[] = {'M', 'V', 'R', 'D', 9, 9};
  EXPECT_FALSE(second.paste(junk));
  EXPECT_FALSE(second.paste({}));
  // Cut: copy then delete, and undo brings the objects back where they were.
  editor.select(both);
  editor.deleteSelection();
  EXPECT_TRUE(doc.definition.sections[2].objects.empty());
  editor.undo();
  EXPECT_EQ(doc.definition.sections[2].objects[0].name, u"A");
  EXPECT_EQ(editor.selection().objects.size(), 2u);
}

TEST_F(Fixture, ColumnDroppedInDetailsGetsHeadingInPageHeader) {
  ASSERT_TRUE(editor.dropColumn({u"Orders", u"Amount"}, at(2, 4370, 130)));
  const auto& details = doc.definition.sections[2].objects;
  ASSERT_EQ(details.size(), 3u);
  EXPECT_EQ(details[2].kind, model::ObjectKind::DatabaseField);
  EXPECT_EQ(details[2].field.column, u"Amount");
  EXPECT_EQ(details[2].x, 4320);
  EXPECT_EQ(details[2].y, 120);
  const auto& header = doc.definition.sections[1].objects;
  ASSERT_EQ(header.size(), 1u);
  EXPECT_EQ(header[0].text, u"Amount");
  EXPECT_EQ(header[0].x, 4320);
  EXPECT_EQ(header[0].y, 360 - 240);
  EXPECT_EQ(editor.selection().objects.size(), 2u);
  editor.undo();  // both go in one step
  EXPECT_EQ(doc.definition, sample().definition);
  // Elsewhere the field comes alone; outside every band nothing happens.
  editor.dropColumn({u"Orders", u"Amount"}, at(4, 0, 0));
  EXPECT_EQ(doc.definition.sections[4].objects.size(), 1u);
  EXPECT_TRUE(doc.definition.sections[1].objects.empty());
  EXPECT_FALSE(editor.dropColumn({u"Orders", u"Amount"}, {0, editor.layout().height() + 10}));
}

// Every character the same width (100 twips at 10 pt), digits and letters alike.
struct EvenMeasure final : engine::layout::TextMeasure {
  std::int32_t width(const engine::layout::Font& font, TextView text) override {
    return static_cast<std::int32_t>(text.size()) * font.size / 2;
  }
  std::int32_t lineHeight(const engine::layout::Font& font) override { return font.size; }
};

TEST(FieldWidth, FromTheColumnsDeclaredSizeTypeAndFormat) {
  using engine::formula::ValueKind;
  EvenMeasure m;
  model::Format plain, big, money, longDate;
  big.fontSize = 400;
  money.numberFormat = u"#,##0.00";
  longDate.dateFormat = u"d MMMM yyyy";
  // Widths come with 5% and 20 twips to spare.
  const auto spare = [](std::int32_t w) { return w + w / 20 + 20; };
  EXPECT_EQ(fieldWidth({ValueKind::Text, 40, 0}, plain, m), spare(4000));
  EXPECT_EQ(fieldWidth({ValueKind::Text, 40, 0}, big, m), spare(8000));
  EXPECT_EQ(fieldWidth({ValueKind::Text, 0, 0}, plain, m), spare(3000));  // no declared length
  EXPECT_EQ(fieldWidth({ValueKind::Number, 10, 0}, plain, m), spare(1100));  // "-9999999999"
  EXPECT_EQ(fieldWidth({ValueKind::Number, 9, 2}, plain, m), spare(1100));   // "-9999999.99"
  EXPECT_EQ(fieldWidth({ValueKind::Number, 9, 2}, money, m), spare(1300));   // "-9,999,999.99"
  EXPECT_EQ(fieldWidth({ValueKind::Date, 10, 0}, plain, m), spare(1000));    // "2000-09-28"
  EXPECT_EQ(fieldWidth({ValueKind::Date, 19, 0}, plain, m), spare(1900));    // with the time
  EXPECT_EQ(fieldWidth({ValueKind::Date, 10, 0}, longDate, m), spare(1700)); // "28 September 2000"
}

TEST_F(Fixture, DroppedAndInsertedColumnsAreAsWideAsTheirValues) {
  auto measure = std::make_shared<EvenMeasure>();
  editor.setMeasure(measure);
  const auto& details = doc.definition.sections[2].objects;
  const auto& header = doc.definition.sections[1].objects;
  const std::int32_t name = fieldWidth({engine::formula::ValueKind::Text, 40, 0}, {}, *measure);
  ASSERT_TRUE(editor.dropColumn({u"Orders", u"Customer"}, at(2, 0, 0), {engine::formula::ValueKind::Text, 40, 0}));
  EXPECT_EQ(details.back().width, name);
  EXPECT_EQ(header.back().width, name);  // the heading is as wide
  // Near the right margin: no wider than what is left of the printable width.
  const std::int32_t printable = editor.layout().width();
  ASSERT_TRUE(editor.dropColumn({u"Orders", u"Customer"}, at(2, printable - 1200, 0), {engine::formula::ValueKind::Text, 40, 0}));
  EXPECT_EQ(details.back().x + details.back().width, printable);
  EXPECT_EQ(header.back().width, details.back().width);
  // A narrow column is still as wide as its heading ("Region" in bold).
  ASSERT_TRUE(editor.dropColumn({u"Orders", u"Region"}, at(2, 0, 0), {engine::formula::ValueKind::Text, 2, 0}));
  EXPECT_EQ(details.back().width, fieldWidth({engine::formula::ValueKind::Text, 6, 0}, {}, *measure));
  // Inserted (double-click) at the place clicked last: the same width.
  editor.press(at(4, 600, 0), 0, 30);
  editor.release(at(4, 600, 0));
  ASSERT_TRUE(editor.insertColumn({u"Orders", u"Customer"}, {engine::formula::ValueKind::Text, 40, 0}));
  EXPECT_EQ(doc.definition.sections[4].objects.back().width, name);
}

TEST_F(Fixture, ReadOnlyAndForeignLayoutsCannotBeChanged) {
  const auto before = doc.definition;
  editor.options().readOnly = true;
  drag(at(2, 100, 100), at(2, 1000, 100));
  editor.nudge(120, 0, false);
  EXPECT_FALSE(editor.deleteSelection());
  EXPECT_FALSE(editor.setProperty(u"title", u"x"));
  EXPECT_EQ(editor.selection().objects.size(), 1u);  // selecting still works
  editor.options().readOnly = false;
  doc.hasLayout = false;
  EXPECT_FALSE(editor.dropColumn({u"Orders", u"Amount"}, at(2, 0, 0)));
  EXPECT_EQ(doc.definition, before);
  EXPECT_EQ(changes, 0);
  editor.setDocument(nullptr);
  editor.press({0, 0}, 0, 30);
  editor.release({10, 10});
  EXPECT_FALSE(editor.undo());
}

TEST(DesignerLargeReports, FiveThousandObjectsOddSizesAndPlaces) {
  engine::ReportDocument doc;
  doc.definition = model::blankReport();
  auto& details = doc.definition.sections[2];
  details.height = 0;
  for (int i = 0; i < 5000; ++i)
    details.objects.push_back(textObject(u"T" + decimal(i), (i % 50) * 300 - 2000, (i / 50) * 20 - 500, i % 3 ? 300 : 0,
                                         i % 7 ? 200 : 0));
  Editor editor;
  editor.setDocument(&doc);
  editor.selectAll();
  EXPECT_EQ(editor.selection().objects.size(), 5000u);
  editor.nudge(120, 120, false);
  EXPECT_TRUE(editor.deleteSelection());
  EXPECT_TRUE(details.objects.empty());
  editor.undo();
  editor.undo();
  EXPECT_EQ(details.objects.size(), 5000u);
  EXPECT_EQ(details.objects[0].x, -2000);
  const auto items = sceneItems(doc.definition, editor.layout(), {0, 0, 100000, 100000});
  EXPECT_GT(items.size(), 1000u);
  editor.select({});
  EXPECT_EQ(editor.hitTest({-1990, editor.layout().band(2)->bodyTop - 495}, 30).kind, HitKind::Object);
}

struct FakeColumns final : ColumnSource {
  bool reachable = true;
  int asked = 0;
  std::optional<std::vector<FieldColumn>> columns(const engine::ReportDocument&, const model::Table& table) override {
    ++asked;
    if (!reachable) return std::nullopt;
    return std::vector<FieldColumn>{{table.location + u"ID", {}}, {u"Amount", {}}, {u"Region", {}}};
  }
};

TEST(FieldList, DatabaseColumnsElseTheColumnsTheReportUses) {
  engine::ReportDocument doc = sample();
  doc.definition.data.tables.push_back({.alias = u"Lines", .location = u"OrderLines"});
  auto& objects = doc.definition.sections[2].objects;
  objects.push_back({.kind = model::ObjectKind::DatabaseField, .field = {u"Orders", u"Customer"}});
  doc.definition.data.links.push_back({.from = {u"Orders", u"OrderID"}, .to = {u"lines", u"OrderID"}});
  doc.definition.data.sortFields.push_back({.field = {u"Orders", u"customer"}});  // same column, other case
  doc.definition.formulas.push_back({u"Total", u"{Lines.Price} * {Lines.Quantity}"});

  const FieldList used = buildFieldList(doc, nullptr);
  ASSERT_EQ(used.tables.size(), 2u);
  EXPECT_EQ(used.tables[0].columns, (std::vector<FieldColumn>{{u"Customer", {}}, {u"OrderID", {}}}));
  EXPECT_EQ(used.tables[1].columns, (std::vector<FieldColumn>{{u"OrderID", {}}, {u"Price", {}}, {u"Quantity", {}}}));
  EXPECT_FALSE(used.tables[0].fromDatabase);
  EXPECT_EQ(used.formulas, std::vector<Text>{u"Total"});
  EXPECT_EQ(used.specials.size(), 7u);
  EXPECT_EQ(used.specials[2].name, u"Page N of M");

  FakeColumns source;
  const FieldList full = buildFieldList(doc, &source);
  EXPECT_TRUE(full.tables[1].fromDatabase);
  EXPECT_EQ(full.tables[1].columns.front().name, u"OrderLinesID");
  source.reachable = false;
  EXPECT_EQ(buildFieldList(doc, &source).tables[1].columns, used.tables[1].columns);

  // The columns come from the table's own connection, else the report's.
  doc.definition.data.tables[0].connection = readDataSource(u"DSN=Company;PWD=x");
  doc.logOn.connection = readDataSource(u"DSN=Report");
  EXPECT_EQ(engine::data::tableDataSource(doc, doc.definition.data.tables[0]).text, u"DSN=Company;PWD=x");
  EXPECT_EQ(engine::data::tableDataSource(doc, doc.definition.data.tables[1]).text, u"DSN=Report");
}

TEST_F(Fixture, FormatArrangesRelativeToTheObjectClickedLastAsOneStep) {
  doc.definition.sections[2].objects.push_back(textObject(u"C", 6000, 60, 600, 120));
  editor.setDocument(&doc, [this] { ++changes; });
  const auto before = doc.definition;
  editor.press(at(2, 3000, 200), 0, 30);  // B
  editor.release(at(2, 3000, 200));
  EXPECT_FALSE(editor.canArrange(Arrangement::AlignLeft));
  editor.press(at(2, 6100, 100), kShift, 30);  // C
  editor.release(at(2, 6100, 100));
  EXPECT_TRUE(editor.canArrange(Arrangement::AlignLeft));
  EXPECT_FALSE(editor.canArrange(Arrangement::SpaceAcross));
  editor.press(at(2, 100, 100), kShift, 30);  // A, clicked last
  editor.release(at(2, 100, 100));
  ASSERT_EQ(editor.primary(), (ObjectRef{2, 0}));

  const auto& objects = doc.definition.sections[2].objects;
  ASSERT_TRUE(editor.arrange(Arrangement::AlignRight));
  EXPECT_EQ(objects[1].x + objects[1].width, 1440);
  EXPECT_EQ(objects[2].x + objects[2].width, 1440);
  EXPECT_EQ(objects[0].x, 0);
  ASSERT_TRUE(editor.arrange(Arrangement::SameSize));
  EXPECT_EQ(objects[2].width, 1440);
  EXPECT_EQ(objects[2].height, 240);
  EXPECT_EQ(editor.primary(), (ObjectRef{2, 0}));  // still the one to arrange by
  EXPECT_EQ(editor.selection().objects.size(), 3u);
  ASSERT_TRUE(editor.arrange(Arrangement::AlignMiddles));
  EXPECT_EQ(objects[1].y, 0);
  EXPECT_FALSE(editor.arrange(Arrangement::AlignMiddles));  // nothing left to change
  EXPECT_EQ(changes, 3);
  for (int i = 0; i < 3; ++i) editor.undo();
  EXPECT_EQ(doc.definition, before);

  // Spacing keeps the outermost and shares the room between them.
  const std::vector<Box> spaced =
      arrangeBoxes({{0, 0, 100, 10}, {1000, 0, 300, 10}, {150, 0, 100, 10}, {500, 50, 50, 10}}, 0, Arrangement::SpaceAcross);
  EXPECT_EQ(spaced[0].x, 0);
  EXPECT_EQ(spaced[1].x, 1000);
  EXPECT_EQ(spaced[2].x, 100 + 250);        // gaps of (1300 - 550) / 3 = 250
  EXPECT_EQ(spaced[3].x, 100 + 250 + 100 + 250);
}

TEST_F(Fixture, ObjectsDraggedIntoAnotherSectionKeepTheirLookAndSnapToEdges) {
  doc.definition.sections[2].objects[0].format.bold = true;
  editor.setDocument(&doc, [this] { ++changes; });
  const auto before = doc.definition;
  // A dragged up into the page header, near B's left edge.
  const Point from = at(2, 100, 100);
  editor.press(from, 0, 30);
  editor.dragTo(at(1, 2880 - 40 + 100, 100));
  EXPECT_EQ(editor.snapGuides().guideX, 2880);
  editor.release(at(1, 2880 - 40 + 100, 100));
  ASSERT_EQ(doc.definition.sections[1].objects.size(), 1u);
  ASSERT_EQ(doc.definition.sections[2].objects.size(), 1u);
  const model::ReportObject& moved = doc.definition.sections[1].objects[0];
  EXPECT_EQ(moved.name, u"A");
  EXPECT_TRUE(moved.format.bold);
  EXPECT_EQ(moved.x, 2880);
  EXPECT_EQ(moved.y, 0);
  EXPECT_EQ(editor.selection().objects, (std::vector<ObjectRef>{{1, 0}}));
  EXPECT_EQ(changes, 1);
  // Both dragged down a band: each lands in the band under its top edge.
  Selection both;
  both.add({1, 0});
  both.add({2, 0});
  editor.select(both);
  drag(at(1, 3300, 100), at(2, 3300, 100));
  EXPECT_TRUE(doc.definition.sections[1].objects.empty());
  ASSERT_EQ(doc.definition.sections[2].objects.size(), 1u);
  ASSERT_EQ(doc.definition.sections[3].objects.size(), 1u);
  EXPECT_EQ(doc.definition.sections[2].objects[0].name, u"A");
  EXPECT_EQ(doc.definition.sections[3].objects[0].name, u"B");
  EXPECT_EQ(doc.definition.sections[3].objects[0].y, 120);
  EXPECT_EQ(editor.selection().objects, (std::vector<ObjectRef>{{2, 0}, {3, 0}}));
  editor.undo();
  editor.undo();
  EXPECT_EQ(doc.definition, before);
}

TEST_F(Fixture, TextTypedInPlaceIsOneChangeAndOnlyForTexts) {
  EXPECT_TRUE(editor.setObjectText({2, 0}, u"Customer"));
  EXPECT_EQ(doc.definition.sections[2].objects[0].text, u"Customer");
  EXPECT_FALSE(editor.setObjectText({2, 0}, u"Customer"));
  EXPECT_FALSE(editor.setObjectText({2, 9}, u"x"));
  doc.definition.sections[2].objects[1].kind = model::ObjectKind::DatabaseField;
  EXPECT_FALSE(editor.setObjectText({2, 1}, u"x"));
  EXPECT_EQ(changes, 1);
  editor.undo();
  EXPECT_EQ(doc.definition.sections[2].objects[0].text, u"A");
}

TEST_F(Fixture, SectionOptionsChangeAsOneStepAndSurviveSaving) {
  model::Section values = doc.definition.sections[2];
  values.objects.clear();
  values.keepTogether = values.printAtBottom = values.resetPageNumberAfter = values.newPageBefore = true;
  values.kind = model::SectionKind::ReportFooter;  // not the dialog's to change
  ASSERT_TRUE(editor.setSectionOptions(2, values));
  const model::Section& details = doc.definition.sections[2];
  EXPECT_EQ(details.kind, model::SectionKind::Details);
  EXPECT_EQ(details.objects.size(), 2u);
  EXPECT_TRUE(details.keepTogether && details.printAtBottom && details.resetPageNumberAfter && details.newPageBefore);
  EXPECT_FALSE(editor.setSectionOptions(2, values));
  const auto saved = model::readDefinition(model::writeDefinition(doc.definition));
  ASSERT_TRUE(saved.definition);
  EXPECT_EQ(*saved.definition, doc.definition);
  editor.undo();
  EXPECT_FALSE(doc.definition.sections[2].keepTogether);
}

TEST_F(Fixture, GroupsChangeReorderAndGoWithTheirSections) {
  const model::Group byCountry{{u"Orders", u"Country"}, model::SortDirection::Ascending, {}};
  const model::Group byCity{{u"Orders", u"City"}, model::SortDirection::Ascending, {}};
  ASSERT_TRUE(editor.addGroup(byCountry));
  ASSERT_TRUE(editor.addGroup(byCity));
  auto& sections = doc.definition.sections;
  const auto find = [&](model::SectionKind kind, int group) {
    return std::find_if(sections.begin(), sections.end(), [&](const auto& s) { return s.kind == kind && s.group == group; });
  };
  model::ReportObject total = textObject(u"Total", 0, 0);
  total.kind = model::ObjectKind::SummaryField;
  total.summaryGroup = 2;
  find(model::SectionKind::GroupFooter, 2)->objects.push_back(total);
  total.summaryGroup = 1;
  find(model::SectionKind::GroupFooter, 1)->objects.push_back(total);
  find(model::SectionKind::GroupFooter, 1)->objects.back().name = u"Outer";
  editor.setDocument(&doc);
  const auto before = doc.definition;
  EXPECT_TRUE(groupHoldsObjects(doc.definition, 2));
  EXPECT_FALSE(groupHoldsObjects(doc.definition, 3));

  // City outermost, Country descending inside it.
  model::Group descending = byCountry;
  descending.direction = model::SortDirection::Descending;
  ASSERT_TRUE(editor.changeGroups({{2, byCity}, {1, descending}}));
  EXPECT_EQ(doc.definition.data.groups, (std::vector<model::Group>{byCity, descending}));
  EXPECT_TRUE(model::sectionsInOrder(doc.definition));
  EXPECT_EQ(find(model::SectionKind::GroupHeader, 1)->name, u"Group Header #1");
  EXPECT_EQ(find(model::SectionKind::GroupFooter, 1)->objects.front().summaryGroup, 1);  // City's total
  EXPECT_EQ(find(model::SectionKind::GroupFooter, 2)->objects.front().name, u"Outer");
  EXPECT_EQ(find(model::SectionKind::GroupFooter, 2)->objects.front().summaryGroup, 2);

  // City deleted with its sections; Country is group 1 again.
  ASSERT_TRUE(editor.changeGroups({{2, descending}}));
  EXPECT_EQ(doc.definition.sections.size(), 7u);
  EXPECT_EQ(find(model::SectionKind::GroupFooter, 1)->objects.front().name, u"Outer");
  EXPECT_EQ(find(model::SectionKind::GroupFooter, 1)->objects.front().summaryGroup, 1);
  EXPECT_TRUE(model::sectionsInOrder(doc.definition));

  EXPECT_FALSE(editor.changeGroups({{1, byCountry}, {1, byCity}}));  // a group twice
  EXPECT_FALSE(editor.changeGroups({{5, byCountry}}));
  editor.undo();
  editor.undo();
  EXPECT_EQ(doc.definition, before);
}

}  // namespace
}  // namespace mervane::authoring::designer
