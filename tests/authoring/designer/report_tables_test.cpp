// Subreports designed in place through the one editor, tables removed from
// a report with what shows them, and the subreport link rule.
#include "authoring/designer/report_tables.h"

#include <gtest/gtest.h>

#include "authoring/designer/editor.h"
#include "authoring/designer/parameter_uses.h"

namespace mervane::authoring::designer {
namespace {

model::ReportObject fieldOf(Text table, Text column) {
  model::ReportObject o;
  o.kind = model::ObjectKind::DatabaseField;
  o.name = column;
  o.field = {std::move(table), std::move(column), {}};
  return o;
}

// Customers with an Orders subreport in the details, linked by CustomerID.
engine::ReportDocument customersWithOrders() {
  engine::ReportDocument d;
  d.definition = model::blankReport();
  d.definition.data.tables = {{.alias = u"Customers", .location = u"Customers"}};
  model::ReportObject sub;
  sub.kind = model::ObjectKind::Subreport;
  sub.name = u"Orders";
  sub.subreport.name = u"Orders";
  sub.subreport.links = {{{u"Customers", u"CustomerID", {}}, {u"Orders", u"CustomerID", {}}, {}}};
  model::ReportDefinition orders = model::blankReport();
  orders.data.tables = {{.alias = u"Orders", .location = u"Orders"}};
  sub.subreport.definition = model::Deep(orders);
  d.definition.sections[2].objects = {fieldOf(u"Customers", u"Name"), sub};
  return d;
}

TEST(SubreportInPlace, ChangesGoToTheSubreportOnTheOneUndoList) {
  engine::ReportDocument doc = customersWithOrders();
  Editor editor;
  int changes = 0;
  editor.setDocument(&doc, [&] { ++changes; });
  EXPECT_FALSE(editor.openSubreport({2, 0}));  // a field, not a subreport
  ASSERT_TRUE(editor.openSubreport({2, 1}));
  EXPECT_EQ(editor.definition()->data.tables[0].alias, u"Orders");

  ASSERT_TRUE(editor.insertColumn({u"Orders", u"Total", {}}));
  const auto& subDetails = [&] { return doc.definition.sections[2].objects[1].subreport.definition->sections[2]; };
  ASSERT_EQ(subDetails().objects.size(), 1u);  // in the main report's subreport object, at once
  EXPECT_EQ(subDetails().objects[0].field.column, u"Total");
  EXPECT_EQ(editor.selection().objects.size(), 2u);  // the field and its heading, in the report header
  EXPECT_EQ(doc.definition.sections[2].objects[1].subreport.definition->sections[0].objects[0].text, u"Total");
  EXPECT_EQ(doc.definition.sections[2].objects.size(), 2u);  // the main report's own objects are as they were
  EXPECT_EQ(changes, 1);

  // Back on the main report, undo and redo reach the subreport's change.
  editor.closeSubreport();
  EXPECT_EQ(editor.definition(), &doc.definition);
  ASSERT_TRUE(editor.undo());
  EXPECT_TRUE(subDetails().objects.empty());
  EXPECT_TRUE(editor.selection().empty());  // nothing of the other report is selected here
  ASSERT_TRUE(editor.redo());
  EXPECT_EQ(subDetails().objects.size(), 1u);

  // Open again: it shows the report as it now is, and undo there updates it.
  ASSERT_TRUE(editor.openSubreport({2, 1}));
  EXPECT_EQ(editor.definition()->sections[2].objects.size(), 1u);
  ASSERT_TRUE(editor.undo());
  EXPECT_TRUE(editor.definition()->sections[2].objects.empty());

  // Links and on-demand changed while the subreport is open: one change of
  // the main report.
  auto options = [&]() -> const model::Subreport& { return doc.definition.sections[2].objects[1].subreport; };
  ASSERT_TRUE(editor.setSubreportOptions({2, 1}, {}, true, u"Orders of this customer"));
  EXPECT_TRUE(options().links.empty());
  EXPECT_TRUE(options().onDemand);
  EXPECT_EQ(options().linkText, u"Orders of this customer");
  ASSERT_TRUE(editor.undo());
  EXPECT_EQ(options().links.size(), 1u);
  EXPECT_FALSE(options().onDemand);
  EXPECT_TRUE(options().linkText.empty());

  // The subreport object deleted (undoing back past the insert would too):
  // the open subreport closes instead of editing what is gone.
  editor.closeSubreport();
  editor.select({{{2, 1}}});
  ASSERT_TRUE(editor.deleteSelection());
  ASSERT_TRUE(editor.openSubreport({2, 0}) == false);
  ASSERT_TRUE(editor.undo());
  ASSERT_TRUE(editor.openSubreport({2, 1}));
  ASSERT_TRUE(editor.redo());
  EXPECT_FALSE(editor.openedSubreport());
  EXPECT_EQ(editor.definition(), &doc.definition);
}

// A subreport's tab finds its subreport again after the main report
// changed: by the object's name wherever it went, or renamed where it
// stood; never another subreport that slid into its place.
TEST(SubreportInPlace, ATabFindsItsSubreportAgainOrLetsItGo) {
  model::ReportDefinition main = customersWithOrders().definition;
  auto& details = main.sections[2].objects;
  model::ReportObject payments = details[1];
  payments.name = payments.subreport.name = u"Payments";
  details.push_back(payments);
  EXPECT_EQ(findSubreportAgain(main, u"payments", u"Payments", {2, 0}, {}), (ObjectRef{2, 2}));
  details.erase(details.begin());  // the field before both went
  EXPECT_EQ(findSubreportAgain(main, u"Payments", u"Payments", {2, 2}, {}), (ObjectRef{2, 1}));
  details[1].name = u"Renamed";
  EXPECT_EQ(findSubreportAgain(main, u"Payments", u"Payments", {2, 1}, {}), (ObjectRef{2, 1}));
  EXPECT_EQ(findSubreportAgain(main, u"Payments", u"Payments", {2, 1}, {u"Renamed"}), std::nullopt);
  details.erase(details.begin());  // Orders deleted: Payments now stands where it stood
  EXPECT_EQ(findSubreportAgain(main, u"Orders", u"Orders", {2, 0}, {}), std::nullopt);
}

TEST(ReportTables, RemovingATableTakesItsFieldsLinksAndSortAsOneChange) {
  engine::ReportDocument doc = customersWithOrders();
  auto& data = doc.definition.data;
  data.tables.push_back({.alias = u"Regions", .location = u"Regions"});
  data.links.push_back({{u"Regions", u"RegionID", {}}, {u"Customers", u"RegionID", {}}, {}, {}});
  data.sortFields.push_back({{u"Regions", u"Name", {}}, {}, {}});
  data.sortFields.push_back({{u"Customers", u"Name", {}}, {}, {}});
  auto& details = doc.definition.sections[2].objects;
  details.push_back(fieldOf(u"regions", u"Name"));
  details.push_back(fieldOf(u"Regions", u"Code"));
  doc.definition.sections[4].objects.push_back(fieldOf(u"Regions", u"Name"));
  doc.definition.sections[4].objects.back().kind = model::ObjectKind::SummaryField;
  const engine::ReportDocument original = doc;

  TableRemoval plan = planTableRemoval(doc.definition, {u"Regions"});
  EXPECT_TRUE(plan.refusal.empty());
  EXPECT_EQ(plan.question, u"Remove the table Regions and the 3 fields that show its columns?");
  ASSERT_EQ(plan.data.tables.size(), 1u);
  EXPECT_TRUE(plan.data.links.empty());
  ASSERT_EQ(plan.data.sortFields.size(), 1u);

  Editor editor;
  editor.setDocument(&doc);
  ASSERT_TRUE(editor.changeTables(plan.data, plan.objects));
  EXPECT_EQ(details.size(), 2u);
  EXPECT_TRUE(doc.definition.sections[4].objects.empty());
  EXPECT_EQ(data.tables.size(), 1u);
  ASSERT_TRUE(editor.undo());
  EXPECT_EQ(doc.definition, original.definition);

  // The table the subreport is linked by: the subreport goes too.
  TableRemoval customers = planTableRemoval(doc.definition, {u"Customers"});
  EXPECT_EQ(customers.objects.size(), 2u);
  EXPECT_EQ(customers.question, u"Remove the table Customers and the 2 fields that show its columns?");
}

TEST(ReportTables, ATableThatGroupsFormulasOrTheFilterNeedIsRefusedInWords) {
  model::ReportDefinition report = customersWithOrders().definition;
  report.formulas.push_back({u"Label", u"{customers.Name} & \"!\"", {}});
  EXPECT_EQ(planTableRemoval(report, {u"Customers"}).refusal,
            u"The formula Label uses the table Customers: change the formula before removing the table.");
  report.data.recordFilter = u"{Customers.Name} <> \"\"";
  EXPECT_NE(planTableRemoval(report, {u"Customers"}).refusal.find(u"record filter"), Text::npos);
  model::addGroup(report, {{u"Customers", u"City", {}}, {}, {}});
  EXPECT_EQ(planTableRemoval(report, {u"Customers"}).refusal,
            u"The report is grouped by Customers.City: remove that group before the table Customers.");
  const TableRemoval none = planTableRemoval(report, {u"Orders"});  // not a table of this report
  EXPECT_TRUE(none.refusal.empty() && none.question.empty() && none.data == report.data);
}

TEST(SubreportLinks, FieldsOfDifferentTypesAreRefusedUnlessTheDatabaseDidNotSay) {
  using engine::formula::ValueKind;
  FieldList list;
  list.tables.push_back({u"Customers", {{u"ID", {ValueKind::Number, 10, 0}}, {u"Name", {ValueKind::Text, 40, 0}}}, true});
  list.tables.push_back({u"Notes", {{u"Who", {}}}, false});  // columns the report uses, not the database's
  const model::FieldRef id{u"customers", u"id", {}}, name{u"Customers", u"Name", {}}, who{u"Notes", u"Who", {}};
  auto refusal = [&](const model::FieldRef& a, const model::FieldRef& b) {
    return linkRefusal(a, listedShape(list, a), b, listedShape(list, b));
  };
  EXPECT_EQ(refusal(id, id), u"");
  EXPECT_EQ(refusal(name, id),
            u"The field Customers.Name holds text and customers.id holds numbers: a link needs two fields of the same "
            u"type.");
  EXPECT_EQ(refusal(name, who), u"");
  EXPECT_EQ(refusal(name, {u"Notes", u"", {}}), u"Please choose the subreport's field.");
}

// A parameter's uses, in words: in the main report and in a subreport that
// sees it, not in one with its own parameter of that name. Renamed, the
// uses follow (names swapped land right); deleted, its fields go and the
// formulas stay as written. One undo puts all of it back.
TEST(ParameterUses, AreFoundFollowARenameAndLoseTheirFieldsOnDelete) {
  engine::ReportDocument doc = customersWithOrders();
  model::ReportDefinition& r = doc.definition;
  r.parameters = {{.name = u"From", .type = model::ParameterType::Date}, {.name = u"To", .type = model::ParameterType::Date}};
  r.formulas = {{u"Late", u"{Orders.Day} > {?to}", {}}};
  r.data.recordFilter = u"{Orders.Day} >= {?From} and {Orders.Day} <= {?To}";
  auto& details = r.sections[2].objects;
  details[0].conditions.bold = u"{?From} = CurrentDate";
  model::ReportObject heading, shown;
  heading.kind = model::ObjectKind::Text;
  heading.name = u"Heading";
  heading.text = u"Orders {?From} - {?To}";
  shown.kind = model::ObjectKind::ParameterField;
  shown.name = u"FromField";
  shown.text = u"From";
  r.sections[0].objects = {heading, shown};
  model::ReportDefinition& orders = *details[1].subreport.definition;
  orders.data.recordFilter = u"{Orders.Day} >= {?From}";
  orders.formulas = {{u"Until", u"{?To}", {}}};
  orders.parameters = {{.name = u"To", .type = model::ParameterType::Number}};  // its own To

  EXPECT_EQ(parameterUses(r, u"from"),
            (std::vector<Text>{u"the record filter", u"the text object Heading", u"the parameter field FromField",
                               u"the conditional formatting of Name", u"the record filter in the subreport Orders"}));
  EXPECT_EQ(parameterUses(r, u"To"), (std::vector<Text>{u"the formula @Late", u"the record filter", u"the text object Heading"}));
  EXPECT_TRUE(parameterUses(r, u"Other").empty());

  Editor editor;
  editor.setDocument(&doc);
  const model::ReportDefinition original = r;
  ParameterEdits swap{{{u"From", u"To"}, {u"To", u"From"}}, {}};
  ASSERT_TRUE(editor.execute(changeDefinition(r, withParameters(r, {r.parameters[1], r.parameters[0]}, swap))));
  EXPECT_EQ(r.data.recordFilter, u"{Orders.Day} >= {?To} and {Orders.Day} <= {?From}");
  EXPECT_EQ(r.formulas[0].text, u"{Orders.Day} > {?From}");
  EXPECT_EQ(r.sections[0].objects[0].text, u"Orders {?To} - {?From}");
  EXPECT_EQ(r.sections[0].objects[1].text, u"To");
  EXPECT_EQ(details[0].conditions.bold, u"{?To} = CurrentDate");
  EXPECT_EQ(details[1].subreport.definition->data.recordFilter, u"{Orders.Day} >= {?To}");
  EXPECT_EQ(details[1].subreport.definition->formulas[0].text, u"{?To}");  // its own To stays
  ASSERT_TRUE(editor.undo());
  EXPECT_EQ(r, original);

  ASSERT_TRUE(editor.execute(changeDefinition(r, withParameters(r, {r.parameters[1]}, {{}, {u"From"}}))));
  EXPECT_EQ(r.sections[0].objects.size(), 1u);  // the field that showed it went
  EXPECT_EQ(r.data.recordFilter, original.data.recordFilter);
  ASSERT_TRUE(editor.undo());
  EXPECT_EQ(r, original);
}

}  // namespace
}  // namespace mervane::authoring::designer
