// Running totals and conditions as the designer takes them: what is refused
// in words, and changes done and undone as one step.
#include "authoring/designer/conditions.h"

#include <gtest/gtest.h>

#include "authoring/designer/editor.h"

namespace mervane::authoring::designer {
namespace {

engine::ReportDocument orders() {
  engine::ReportDocument d;
  d.definition = model::blankReport();
  d.definition.data.tables.push_back({.alias = u"Orders", .location = u"Orders"});
  d.definition.formulas.push_back({u"Net", u"{Orders.Amount} * 0.8", {}});
  model::addGroup(d.definition, {{u"Orders", u"Customer", {}}, {}, {}});
  return d;
}

FieldList listed(bool fromDatabase) {
  FieldList list;
  list.tables.push_back({u"Orders",
                         {{u"Amount", {engine::formula::ValueKind::Number}}, {u"Customer", {engine::formula::ValueKind::Text}}},
                         fromDatabase});
  return list;
}

model::RunningTotal total(Text name, model::FieldRef field) {
  model::RunningTotal t;
  t.name = std::move(name);
  t.field = std::move(field);
  return t;
}

std::string problem(const engine::ReportDocument& d, const model::RunningTotal& t, bool fromDatabase = true) {
  auto found = runningTotalProblem(d.definition, listed(fromDatabase), t);
  return found ? toUtf8(*found) : "";
}
// The part of the dialog the focus goes back to.
RunningTotalPart atFault(const engine::ReportDocument& d, const model::RunningTotal& t) {
  RunningTotalPart part{};
  runningTotalProblem(d.definition, listed(true), t, {}, &part);
  return part;
}

TEST(RunningTotalRules, WhatCannotWorkIsRefusedInWords) {
  engine::ReportDocument d = orders();
  d.definition.runningTotals.push_back(total(u"Balance", {u"Orders", u"Amount", {}}));

  EXPECT_EQ(problem(d, total(u"  ", {u"Orders", u"Amount", {}})), "Please give the running total a name.");
  EXPECT_EQ(problem(d, total(u"BALANCE", {u"Orders", u"Amount", {}})),
            "The report already has a running total named BALANCE.");
  EXPECT_EQ(runningTotalProblem(d.definition, listed(true), total(u"BALANCE", {u"Orders", u"Amount", {}}), u"Balance"),
            std::nullopt);  // the one it replaces
  EXPECT_EQ(problem(d, total(u"Gone", {u"Orders", u"Discount", {}})),
            "The field {Orders.Discount} is no longer in the report: the table Orders has no column Discount.");
  EXPECT_EQ(problem(d, total(u"Gone", {u"Orders", u"Discount", {}}), false), "");  // the database is away: kept
  EXPECT_EQ(problem(d, total(u"Gone", {u"Lines", u"Qty", {}})),
            "The field {Lines.Qty} is no longer in the report: the report has no table Lines.");
  EXPECT_EQ(problem(d, total(u"Gone", {u"", u"Tax", {}})), "The formula {@Tax} is no longer in the report.");
  EXPECT_EQ(problem(d, total(u"Names", {u"Orders", u"Customer", {}})),
            "Only numbers can be added up: {Orders.Customer} holds texts. Count it instead.");
  EXPECT_EQ(atFault(d, total(u"BALANCE", {u"Orders", u"Amount", {}})), RunningTotalPart::Name);
  EXPECT_EQ(atFault(d, total(u"Names", {u"Orders", u"Customer", {}})), RunningTotalPart::Field);
  auto watching = total(u"Watching", {u"Orders", u"Amount", {}});
  watching.evaluate = model::RunningTotalEvaluate::OnChangeOfField;
  watching.evaluateField = {u"Orders", u"Discount", {}};
  EXPECT_EQ(atFault(d, watching), RunningTotalPart::EvaluateField);

  auto picky = total(u"Picky", {u"Orders", u"Amount", {}});
  picky.evaluate = model::RunningTotalEvaluate::OnFormula;
  EXPECT_EQ(problem(d, picky), "Please give the formula that says when a record is taken in.");
  picky.evaluateFormula = u"{Orders.Amount} >";
  EXPECT_EQ(problem(d, picky), "The formula that says when a record is taken in has a mistake: "
                               "line 1, column 18: Expected a value, found the end of the formula.");
  EXPECT_EQ(atFault(d, picky), RunningTotalPart::EvaluateFormula);
  picky.evaluateFormula = u"{Orders.Amount} > 0";
  picky.reset = model::RunningTotalReset::OnChangeOfGroup;
  picky.resetGroup = 2;
  EXPECT_EQ(problem(d, picky), "The report has no group 2.");
  EXPECT_EQ(atFault(d, picky), RunningTotalPart::Reset);
  picky.resetGroup = 1;
  EXPECT_EQ(problem(d, picky), "");
}

TEST(RunningTotalRules, InsertingOneAndItsFieldIsOneStepAndConditionsUndo) {
  engine::ReportDocument d = orders();
  const engine::ReportDocument before = d;
  Editor editor;
  editor.setDocument(&d);
  ReportParts parts = reportParts(d);
  parts.runningTotals.push_back(total(u"Balance", {u"Orders", u"Amount", {}}));
  model::ReportObject shown;
  shown.kind = model::ObjectKind::RunningTotalField;
  shown.formula = u"Balance";
  ASSERT_TRUE(editor.insertObject(shown, parts));
  EXPECT_EQ(d.definition.runningTotals.size(), 1u);

  model::Section section = d.definition.sections[0];
  section.conditions.suppress = u"PageNumber > 1";
  ASSERT_TRUE(editor.execute(changeSection(0, d.definition.sections[0], section)));
  EXPECT_EQ(d.definition.sections[0].conditions.suppress, u"PageNumber > 1");

  ASSERT_TRUE(editor.undo());
  ASSERT_TRUE(editor.undo());
  EXPECT_EQ(d.definition, before.definition);

  Text formula = u"if {#Balance} < 0 then crRed else if {#Balance2} < 0 then crBlue";
  EXPECT_TRUE(renameRunningTotalIn(formula, u"Balance", u"Due now"));
  EXPECT_EQ(formula, u"if {#Due now} < 0 then crRed else if {#Balance2} < 0 then crBlue");
}

}  // namespace
}  // namespace mervane::authoring::designer
