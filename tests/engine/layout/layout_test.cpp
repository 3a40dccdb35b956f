// The layout engine through runReport(): pages, groups and totals, the page
// count, growing text, subreports, mistakes shown as pages, cancelling, and
// a million rows in flat memory.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "engine/layout/page_source.h"
#include "engine/layout/text_flow.h"
#include "fake_data.h"
#include "../../support/sanitizers.h"

namespace mervane::engine::layout {
namespace {

using mervane::testing::kAddressSanitizer;

using model::ObjectKind;
using model::SectionKind;
using model::SpecialFieldKind;
using model::SummaryOperation;
using testing::FakeProvider;
using testing::FakeTable;
using formula::Value;

model::ReportObject textObject(Text name, Text text, int x = 0, int width = 2880) {
  model::ReportObject o;
  o.kind = ObjectKind::Text;
  o.name = std::move(name);
  o.text = std::move(text);
  o.x = x;
  o.width = width;
  return o;
}

model::ReportObject fieldObject(Text column, int x = 0, int width = 1440) {
  model::ReportObject o;
  o.kind = ObjectKind::DatabaseField;
  o.name = column;
  o.field = model::FieldRef{u"T", column, {}};
  o.x = x;
  o.width = width;
  return o;
}

model::ReportObject specialObject(Text name, SpecialFieldKind kind) {
  model::ReportObject o;
  o.kind = ObjectKind::SpecialField;
  o.name = std::move(name);
  o.special = kind;
  o.width = 4000;
  return o;
}

model::ReportObject summaryObject(Text name, SummaryOperation op, Text column, int group, int x = 0) {
  model::ReportObject o;
  o.kind = ObjectKind::SummaryField;
  o.name = std::move(name);
  o.summary = op;
  o.field = model::FieldRef{u"T", std::move(column), {}};
  o.summaryGroup = group;
  o.x = x;
  o.width = 2000;
  return o;
}

model::Section& sectionOf(model::ReportDefinition& report, SectionKind kind, int group = 0) {
  for (auto& s : report.sections) {
    if (s.kind == kind && s.group == group) return s;
  }
  throw std::logic_error("no such section");
}

// A plain list: page header, one detail line per row, "Page N of M" below.
model::ReportDefinition listReport() {
  model::ReportDefinition report = model::blankReport();
  sectionOf(report, SectionKind::PageHeader).objects.push_back(textObject(u"heading", u"Order lines"));
  sectionOf(report, SectionKind::Details).objects.push_back(fieldObject(u"id"));
  sectionOf(report, SectionKind::Details).objects.push_back(fieldObject(u"name", 1500, 3000));
  sectionOf(report, SectionKind::PageFooter).objects.push_back(specialObject(u"pages", SpecialFieldKind::PageNofM));
  return report;
}

FakeTable numbered(std::int64_t rows) {
  return FakeTable{{u"id", u"name", u"amount", u"customer"}, rows, [](std::int64_t row, std::size_t column) -> Value {
                     switch (column) {
                       case 0: return Value(static_cast<double>(row + 1));
                       case 1: return Value(u"Line " + decimal(row + 1));
                       case 2: return Value(static_cast<double>(row % 7));
                       default: return Value(u"C" + decimal(row / 1000));
                     }
                   }};
}

ReportDocument documentOf(model::ReportDefinition definition) {
  ReportDocument document;
  document.definition = std::move(definition);
  document.title = u"Test report";
  return document;
}

std::vector<std::shared_ptr<const Page>> allPages(PageSource& source) {
  std::vector<std::shared_ptr<const Page>> pages;
  for (std::int32_t n = 1; auto page = source.page(n); ++n) pages.push_back(page);
  return pages;
}

std::vector<const TextRun*> runsOf(const Page& page, TextView source) {
  std::vector<const TextRun*> runs;
  for (const auto& item : page.items) {
    if (auto run = std::get_if<TextRun>(&item); run && run->source == source) runs.push_back(run);
  }
  return runs;
}

Text textOf(const Page& page, TextView source) {
  auto runs = runsOf(page, source);
  return runs.empty() ? Text(u"<none>") : runs.front()->text;
}

Text allText(const Page& page) {
  Text all;
  for (const auto& item : page.items) {
    if (auto run = std::get_if<TextRun>(&item)) all += run->text + u"\n";
  }
  return all;
}

std::shared_ptr<TextMeasure> measure() { return std::make_shared<ApproximateMeasure>(); }

RunOptions fixedDate() {
  RunOptions options;
  options.printDateTime = 45474.5;  // 1 July 2024, noon
  return options;
}

TEST(LayoutText, ArialWidthsAndWordWrap) {
  ApproximateMeasure m;
  Font font;  // Arial 10 pt
  EXPECT_EQ(m.width(font, u"Hello"), 456);  // (722 + 556 + 222 + 222 + 556) / 1000 em of 200 twips
  EXPECT_GT(m.width(Font{u"Arial", 200, true}, u"Hello"), 456);
  EXPECT_EQ(m.lineHeight(font), 230);

  const Text text = u"The quick brown fox jumps over the lazy dog\nagain  and again";
  auto lines = wrapLines(m, font, text, 1200, 100);
  ASSERT_GE(lines.size(), 4u);
  for (const auto& line : lines) {
    const TextView shown = TextView(text).substr(line.start, line.length);
    EXPECT_LE(m.width(font, shown), 1200) << toUtf8(shown);
    EXPECT_FALSE(shown.ends_with(u" "));
  }
  EXPECT_EQ(TextView(text).substr(lines.back().start, lines.back().length), u"again");

  // A megabyte without a blank costs only the lines asked for.
  const Text huge(1 << 20, u'W');
  lines = wrapLines(m, font, huge, 1440, 3);
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1].start, lines[0].length);
  EXPECT_LE(firstLine(m, font, huge, 1440).size(), 20u);
  // A text cut short ends at the last whole character that fits.
  const TextView cut = firstLine(m, font, u"Bartholomew Featherstonehaugh", 1440);
  EXPECT_LE(m.width(font, cut), 1440);
  EXPECT_GT(m.width(font, TextView(u"Bartholomew Featherstonehaugh").substr(0, cut.size() + 1)), 1440);
}

TEST(Layout, PagesBreakWithHeadersAndFootersOnEveryPage) {
  FakeProvider data;
  data.tables[u""] = numbered(100);
  auto source = runReport(documentOf(listReport()), data, measure(), fixedDate());
  allPages(*source);
  auto pages = allPages(*source);  // asked again once the count is known
  ASSERT_EQ(source->pageCount(), static_cast<std::int32_t>(pages.size()));
  ASSERT_GE(pages.size(), 3u);
  EXPECT_TRUE(source->problem().empty());

  std::int64_t expected = 1;
  for (std::size_t i = 0; i < pages.size(); ++i) {
    const Page& page = *pages[i];
    EXPECT_EQ(page.number, static_cast<std::int32_t>(i + 1));
    EXPECT_EQ(page.width, 11906);
    auto heading = runsOf(page, u"heading");
    ASSERT_EQ(heading.size(), 1u);
    EXPECT_EQ(heading[0]->box.y, i == 0 ? 1440 + 360 : 1440);  // below the report header on page 1
    const auto footer = runsOf(page, u"pages");
    ASSERT_EQ(footer.size(), 1u);
    EXPECT_EQ(footer[0]->text, u"Page " + decimal(page.number) + u" of " + decimal(static_cast<std::int64_t>(pages.size())));
    EXPECT_EQ(footer[0]->box.y, 16838 - 1440 - 360);
    for (const TextRun* run : runsOf(page, u"id")) {
      EXPECT_EQ(run->record, expected);
      EXPECT_EQ(run->text, decimal(expected));
      EXPECT_EQ(run->align, TextAlign::Right);  // numbers align right by default
      EXPECT_LE(run->box.y + 360, footer[0]->box.y);
      ++expected;
    }
    EXPECT_FALSE(page.provisional);
  }
  EXPECT_EQ(expected, 101);
}

TEST(Layout, GroupTotalsInHeadersAndFootersAndGrandTotalsFromTheData) {
  FakeProvider data;
  data.tables[u""] = FakeTable::of({u"customer", u"amount"}, {{u"Ann", 10}, {u"Ann", 5}, {u"Bob", 7}, {u"Cy", Value()},
                                                              {u"Cy", 2}, {u"Cy", 4}});
  model::ReportDefinition report = model::blankReport();
  model::addGroup(report, model::Group{model::FieldRef{u"T", u"customer", {}}, {}, {}});
  auto& header = sectionOf(report, SectionKind::GroupHeader, 1);
  header.objects.push_back(fieldObject(u"customer"));
  header.objects.push_back(summaryObject(u"groupSum", SummaryOperation::Sum, u"amount", 1, 3000));
  auto& footer = sectionOf(report, SectionKind::GroupFooter, 1);
  footer.objects.push_back(summaryObject(u"count", SummaryOperation::Count, u"amount", 1));
  footer.objects.push_back(summaryObject(u"min", SummaryOperation::Minimum, u"amount", 1, 2000));
  footer.objects.push_back(summaryObject(u"max", SummaryOperation::Maximum, u"amount", 1, 4000));
  footer.objects.push_back(summaryObject(u"avg", SummaryOperation::Average, u"amount", 1, 6000));
  footer.objects.back().format.numberFormat = u"0.00";
  sectionOf(report, SectionKind::ReportHeader).objects.push_back(summaryObject(u"grand", SummaryOperation::Sum, u"amount", 0));
  sectionOf(report, SectionKind::ReportFooter).objects.push_back(summaryObject(u"distinct", SummaryOperation::DistinctCount, u"customer", 0));
  sectionOf(report, SectionKind::Details).objects.push_back(fieldObject(u"amount"));

  auto source = runReport(documentOf(report), data, measure(), fixedDate());
  auto pages = allPages(*source);
  ASSERT_EQ(pages.size(), 1u);
  const Page& page = *pages[0];
  EXPECT_EQ(textOf(page, u"grand"), u"28");
  EXPECT_EQ(data.summaryCalls, 1);
  EXPECT_EQ(data.rowsCalls, 1);

  auto texts = [&](TextView name) {
    Text all;
    for (const TextRun* run : runsOf(page, name)) all += run->text + u"|";
    return all;
  };
  EXPECT_EQ(texts(u"customer"), u"Ann|Bob|Cy|");
  EXPECT_EQ(texts(u"groupSum"), u"15|7|6|");  // in the header, before the rows
  EXPECT_EQ(texts(u"count"), u"2|1|2|");      // nulls do not count
  EXPECT_EQ(texts(u"min"), u"5|7|2|");
  EXPECT_EQ(texts(u"max"), u"10|7|4|");
  EXPECT_EQ(texts(u"avg"), u"7.50|7.00|3.00|");
  EXPECT_EQ(texts(u"distinct"), u"3|");
  // Each header stands above its group's rows.
  auto headers = runsOf(page, u"customer");
  auto amounts = runsOf(page, u"amount");
  ASSERT_EQ(amounts.size(), 6u);
  EXPECT_LT(headers[1]->box.y, amounts[2]->box.y);
  EXPECT_GT(headers[1]->box.y, amounts[1]->box.y);
  EXPECT_EQ(amounts[3]->text, u"");
}

TEST(Layout, PageCountIsProvisionalUntilTheLastRowIsIn) {
  FakeProvider data;
  data.tables[u""] = numbered(300);
  data.gateAfter = 100;
  auto source = runReport(documentOf(listReport()), data, measure(), fixedDate());
  auto first = source->page(1);
  ASSERT_TRUE(first);
  EXPECT_TRUE(first->provisional);
  EXPECT_EQ(textOf(*first, u"pages"), u"Page 1 of 1");
  EXPECT_FALSE(source->pageCount());
  data.release();
  auto pages = allPages(*source);
  const auto count = source->pageCount();
  ASSERT_TRUE(count);
  auto again = source->page(1);
  EXPECT_FALSE(again->provisional);
  EXPECT_EQ(textOf(*again, u"pages"), u"Page 1 of " + decimal(*count));
  EXPECT_EQ(data.rowsCalls, 1);
}

// A grand total shown only at the end of the first group, pages on: the
// first page comes without asking the data for it.
TEST(Layout, GrandTotalsFromTheDataWaitForThePageThatShowsThem) {
  FakeProvider data;
  data.tables[u""] = numbered(300);
  data.gateAfter = 100;
  model::ReportDefinition report = listReport();
  model::addGroup(report, model::Group{model::FieldRef{u"T", u"customer", {}}, {}, {}});
  sectionOf(report, SectionKind::GroupFooter, 1).objects.push_back(summaryObject(u"grand", SummaryOperation::Sum, u"amount", 0));
  auto source = runReport(documentOf(report), data, measure(), fixedDate());
  auto first = source->page(1);
  ASSERT_TRUE(first);
  EXPECT_EQ(textOf(*first, u"grand"), u"<none>");
  EXPECT_EQ(data.summaryCalls, 0);
  data.release();
  auto pages = allPages(*source);
  ASSERT_GT(pages.size(), 1u);
  EXPECT_EQ(textOf(*pages.back(), u"grand"), u"897");  // 42 weeks of 0 to 6, then 0 to 5
  EXPECT_EQ(data.summaryCalls, 1);
}

TEST(Layout, CanGrowTextWrapsGrowsItsSectionAndMovesToTheNextPage) {
  Text story;
  for (int i = 0; i < 60; ++i) story += u"word" + decimal(i) + u" ";
  FakeProvider data;
  data.tables[u""] = FakeTable::of({u"id", u"story"}, {{1, story}, {2, u"short"}, {3, story + story + story + story}});
  model::ReportDefinition report = model::blankReport();
  auto& details = sectionOf(report, SectionKind::Details);
  details.objects.push_back(fieldObject(u"id"));
  details.objects.push_back(fieldObject(u"story", 1500, 6000));
  details.objects.back().format.canGrow = true;
  details.objects.back().format.border = model::BorderStyle::Single;
  report.page.paperSize = model::paper::kCustom;
  report.page.paperWidth = 11906;
  report.page.paperHeight = 8000;
  sectionOf(report, SectionKind::ReportFooter).suppress = true;

  auto source = runReport(documentOf(report), data, measure(), fixedDate());
  auto pages = allPages(*source);
  ASSERT_EQ(pages.size(), 2u);
  auto lines = runsOf(*pages[0], u"story");
  ASSERT_GT(lines.size(), 5u);
  for (std::size_t i = 1; i < lines.size(); ++i) EXPECT_EQ(lines[i]->box.y, lines[i - 1]->box.y + 230);
  // The second row starts below the grown first one; the third did not fit and moved, whole.
  auto ids = runsOf(*pages[0], u"id");
  ASSERT_EQ(ids.size(), 2u);
  EXPECT_GE(ids[1]->box.y, lines[lines.size() - 2]->box.y + 230);
  auto moved = runsOf(*pages[1], u"id");
  ASSERT_EQ(moved.size(), 1u);
  EXPECT_EQ(moved[0]->record, 3);
  bool bordered = false;
  for (const auto& item : pages[0]->items) {
    if (auto box = std::get_if<BoxItem>(&item)) bordered = bordered || box->box.height > 360;
  }
  EXPECT_TRUE(bordered);
}

TEST(Layout, SuppressedSectionsVanishAndNewPageAfterStartsEachGroupOnItsOwnPage) {
  FakeProvider data;
  data.tables[u""] = FakeTable::of({u"customer", u"amount"}, {{u"Ann", 1}, {u"Ann", 2}, {u"Bob", 3}, {u"Cy", 4}});
  model::ReportDefinition report = model::blankReport();
  model::addGroup(report, model::Group{model::FieldRef{u"T", u"customer", {}}, {}, {}});
  sectionOf(report, SectionKind::GroupHeader, 1).objects.push_back(fieldObject(u"customer"));
  sectionOf(report, SectionKind::GroupFooter, 1).newPageAfter = true;
  sectionOf(report, SectionKind::Details).objects.push_back(fieldObject(u"amount"));
  auto& hidden = sectionOf(report, SectionKind::ReportFooter);
  hidden.objects.push_back(textObject(u"hidden", u"never"));
  hidden.suppress = true;
  hidden.newPageAfter = true;

  auto source = runReport(documentOf(report), data, measure(), fixedDate());
  auto pages = allPages(*source);
  ASSERT_EQ(pages.size(), 3u);  // no blank page after the last footer
  EXPECT_EQ(textOf(*pages[0], u"customer"), u"Ann");
  EXPECT_EQ(runsOf(*pages[0], u"amount").size(), 2u);
  EXPECT_EQ(textOf(*pages[2], u"customer"), u"Cy");
  for (const auto& page : pages) EXPECT_TRUE(runsOf(*page, u"hidden").empty());
}

model::ReportObject totalObject(Text name) {
  model::ReportObject o;
  o.kind = ObjectKind::RunningTotalField;
  o.name = name;
  o.formula = std::move(name);
  o.width = 1440;
  return o;
}

model::RunningTotal runningTotal(Text name, SummaryOperation op, Text column) {
  model::RunningTotal t;
  t.name = std::move(name);
  t.operation = op;
  t.field = model::FieldRef{u"T", std::move(column), {}};
  return t;
}

// The texts `source` printed, in order, over all pages.
std::vector<Text> printed(const std::vector<std::shared_ptr<const Page>>& pages, TextView source) {
  std::vector<Text> texts;
  for (const auto& page : pages) {
    for (const TextRun* run : runsOf(*page, source)) texts.push_back(run->text);
  }
  return texts;
}

TEST(Layout, RunningTotalsFollowTheRowsAndStartAgainAsTheirRulesSay) {
  FakeProvider data;
  data.tables[u""] = FakeTable::of({u"customer", u"amount"},
                                   {{u"Ann", 5}, {u"Ann", -2}, {u"Bob", 3}, {u"Bob", 3}, {u"Cy", 4}});
  model::ReportDefinition report = model::blankReport();
  model::addGroup(report, model::Group{model::FieldRef{u"T", u"customer", {}}, {}, {}});
  report.runningTotals.push_back(runningTotal(u"Balance", SummaryOperation::Sum, u"amount"));
  auto perCustomer = runningTotal(u"PerCustomer", SummaryOperation::Sum, u"amount");
  perCustomer.reset = model::RunningTotalReset::OnChangeOfGroup;
  report.runningTotals.push_back(perCustomer);
  auto customers = runningTotal(u"Customers", SummaryOperation::Count, u"customer");
  customers.evaluate = model::RunningTotalEvaluate::OnChangeOfField;
  customers.evaluateField = model::FieldRef{u"T", u"customer", {}};
  report.runningTotals.push_back(customers);
  auto positives = runningTotal(u"Positives", SummaryOperation::Maximum, u"amount");
  positives.evaluate = model::RunningTotalEvaluate::OnFormula;
  positives.evaluateFormula = u"{T.amount} < 4";
  positives.reset = model::RunningTotalReset::OnFormula;
  positives.resetFormula = u"{T.customer} = \"Bob\"";
  report.runningTotals.push_back(positives);
  report.formulas.push_back({u"Twice", u"{#Balance} * 2", {}});
  auto& details = sectionOf(report, SectionKind::Details).objects;
  for (const Text name : {u"Balance", u"PerCustomer", u"Customers", u"Positives"}) {
    details.push_back(totalObject(name));
  }
  model::ReportObject twice;
  twice.kind = ObjectKind::FormulaField;
  twice.name = twice.formula = u"Twice";
  details.push_back(twice);
  auto footer = totalObject(u"PerCustomer");
  footer.name = u"footer";
  sectionOf(report, SectionKind::GroupFooter, 1).objects.push_back(footer);
  auto header = totalObject(u"Balance");
  header.name = u"header";
  sectionOf(report, SectionKind::ReportHeader).objects.push_back(header);

  auto source = runReport(documentOf(report), data, measure(), fixedDate());
  const auto pages = allPages(*source);
  ASSERT_TRUE(source->problem().empty()) << toUtf8(source->problem());
  using Texts = std::vector<Text>;
  EXPECT_EQ(printed(pages, u"Balance"), (Texts{u"5", u"3", u"6", u"9", u"13"}));
  EXPECT_EQ(printed(pages, u"PerCustomer"), (Texts{u"5", u"3", u"3", u"6", u"4"}));
  EXPECT_EQ(printed(pages, u"footer"), (Texts{u"3", u"6", u"4"}));  // at each group's last record
  EXPECT_EQ(printed(pages, u"Customers"), (Texts{u"1", u"1", u"2", u"2", u"3"}));
  // Taken in below 4; Bob's rows start it again before they are taken in.
  EXPECT_EQ(printed(pages, u"Positives"), (Texts{u"", u"-2", u"3", u"3", u"3"}));
  EXPECT_EQ(printed(pages, u"Twice"), (Texts{u"10", u"6", u"12", u"18", u"26"}));
  EXPECT_EQ(printed(pages, u"header"), (Texts{u""}));  // before the first row: nothing yet
}

TEST(Layout, RunningTotalsCarryAcrossPagesLaidOutAgain) {
  FakeProvider data;
  data.tables[u""] = numbered(1000);  // more pages than are kept, so the first are laid out again
  model::ReportDefinition report = listReport();
  report.runningTotals.push_back(runningTotal(u"Balance", SummaryOperation::Sum, u"amount"));
  report.runningTotals.push_back(runningTotal(u"Kinds", SummaryOperation::DistinctCount, u"amount"));
  // Never starts again and sees a new value on every row: the pages laid
  // out again read its values back rather than carrying them.
  report.runningTotals.push_back(runningTotal(u"Names", SummaryOperation::DistinctCount, u"name"));
  for (const Text name : {u"Balance", u"Kinds", u"Names"})
    sectionOf(report, SectionKind::Details).objects.push_back(totalObject(name));
  auto source = runReport(documentOf(report), data, measure(), fixedDate());
  const auto pages = allPages(*source);
  ASSERT_GE(pages.size(), 20u);
  const auto again = allPages(*source);
  for (const auto* set : {&pages, &again}) {
    const std::vector<Text> balances = printed(*set, u"Balance");
    const std::vector<Text> kinds = printed(*set, u"Kinds");
    const std::vector<Text> names = printed(*set, u"Names");
    ASSERT_EQ(balances.size(), 1000u);
    ASSERT_EQ(names.size(), 1000u);
    std::int64_t sum = 0;
    for (std::int64_t row = 0; row < 1000; ++row) {
      sum += row % 7;
      EXPECT_EQ(balances[static_cast<std::size_t>(row)], decimal(sum));
      EXPECT_EQ(kinds[static_cast<std::size_t>(row)], decimal(std::min<std::int64_t>(row + 1, 7)));
      EXPECT_EQ(names[static_cast<std::size_t>(row)], decimal(row + 1));
    }
  }
}

TEST(Layout, ConditionalFormattingPerRecordAndConditionalSections) {
  FakeProvider data;
  data.tables[u""] = FakeTable::of({u"customer", u"amount"},
                                   {{u"Ann", 5}, {u"Ann", -2}, {u"Bob", 3}, {u"Bob", 3}, {u"Cy", 4}});
  model::ReportDefinition report = model::blankReport();
  model::addGroup(report, model::Group{model::FieldRef{u"T", u"customer", {}}, {}, {}});
  auto& header = sectionOf(report, SectionKind::GroupHeader, 1);
  header.objects.push_back(fieldObject(u"customer"));
  header.conditions.newPageBefore = u"{T.customer} = \"Cy\"";
  auto& footer = sectionOf(report, SectionKind::GroupFooter, 1);
  footer.newPageAfter = true;
  footer.conditions.newPageAfter = u"false";  // the formula decides
  auto& details = sectionOf(report, SectionKind::Details);
  details.conditions.suppress = u"{T.amount} = 4";
  model::ReportObject amount = fieldObject(u"amount");
  amount.conditions.fontColour = u"if CurrentFieldValue < 0 then crRed else crBlack";
  amount.conditions.bold = u"{T.amount} > 4";
  amount.conditions.background = u"if {T.amount} = 3 then Color(255, 255, 0)";  // null otherwise: as it is
  amount.conditions.italic = u"1 / 0 = 1";  // a mistake on every record: left as it is
  amount.conditions.border = u"2";
  details.objects.push_back(amount);
  model::ReportObject note = textObject(u"note", u"not for Bob");
  note.conditions.suppress = u"{T.customer} = \"Bob\"";
  details.objects.push_back(note);

  auto source = runReport(documentOf(report), data, measure(), fixedDate());
  const auto pages = allPages(*source);
  ASSERT_TRUE(source->problem().empty()) << toUtf8(source->problem());
  ASSERT_EQ(pages.size(), 2u);  // Cy's group on a page of its own, nothing else breaks
  EXPECT_EQ(textOf(*pages[1], u"customer"), u"Cy");
  const auto runs = runsOf(*pages[0], u"amount");
  ASSERT_EQ(runs.size(), 4u);
  EXPECT_TRUE(runsOf(*pages[1], u"amount").empty());  // Cy's detail suppressed
  EXPECT_EQ(runs[0]->colour, model::kBlack);
  EXPECT_TRUE(runs[0]->font.bold);
  EXPECT_EQ(runs[1]->colour, 0xFF0000u);
  EXPECT_FALSE(runs[1]->font.bold);
  EXPECT_FALSE(runs[1]->font.italic);
  EXPECT_EQ(runsOf(*pages[0], u"note").size(), 2u);
  int yellow = 0, doubled = 0;
  for (const auto& item : pages[0]->items) {
    if (auto box = std::get_if<BoxItem>(&item)) {
      yellow += box->filled && box->fill == 0xFFFF00;
      doubled += box->border == model::BorderStyle::Double;
    }
  }
  EXPECT_EQ(yellow, 2);
  EXPECT_EQ(doubled, 4);
}

TEST(Layout, MistakesInConditionsAndRunningTotalsAreShownInWords) {
  FakeProvider data;
  data.tables[u""] = numbered(3);
  auto problemOf = [&](const model::ReportDefinition& report) {
    auto source = runReport(documentOf(report), data, measure(), fixedDate());
    allPages(*source);
    return toUtf8(source->problem());
  };
  model::ReportDefinition report = listReport();
  sectionOf(report, SectionKind::Details).objects[0].conditions.fontColour = u"if {T.amount} < 0 then crRed else";
  EXPECT_NE(problemOf(report).find("The font colour condition of id has a mistake: Expected a value"), std::string::npos);

  report = listReport();
  sectionOf(report, SectionKind::Details).objects.push_back(totalObject(u"Gone"));
  EXPECT_NE(problemOf(report).find("running total {#Gone}, which it does not have"), std::string::npos);
}

TEST(Layout, SectionOptionsBreakPagesRestartNumbersKeepHeadersWithTheirRowsAndPrintAtTheFoot) {
  FakeProvider data;
  data.tables[u""] = FakeTable::of({u"customer", u"amount"},
                                   {{u"Ann", 1}, {u"Ann", 2}, {u"Ann", 3}, {u"Ann", 4}, {u"Bob", 5}, {u"Cy", 6}});
  model::ReportDefinition report = model::blankReport();
  model::addGroup(report, model::Group{model::FieldRef{u"T", u"customer", {}}, {}, {}});
  sectionOf(report, SectionKind::GroupHeader, 1).objects.push_back(fieldObject(u"customer"));
  sectionOf(report, SectionKind::GroupFooter, 1).height = 100;
  sectionOf(report, SectionKind::Details).height = 3000;
  sectionOf(report, SectionKind::Details).objects.push_back(fieldObject(u"amount"));
  sectionOf(report, SectionKind::PageFooter).objects.push_back(specialObject(u"page", SpecialFieldKind::PageNumber));
  auto& foot = sectionOf(report, SectionKind::ReportFooter);
  foot.objects.push_back(textObject(u"end", u"End of report"));
  const auto customersOn = [&](const model::ReportDefinition& r) {
    auto source = runReport(documentOf(r), data, measure(), fixedDate());
    std::vector<Text> shown;
    for (const auto& page : allPages(*source)) {
      Text line;
      for (const TextRun* run : runsOf(*page, u"customer")) line += run->text + u" ";
      shown.push_back(line + u"p" + textOf(*page, u"page"));
    }
    return shown;
  };
  // Bob's header fits at the foot of page 1, his row does not.
  EXPECT_EQ(customersOn(report), (std::vector<Text>{u"Ann Bob p1", u"Cy p2"}));
  sectionOf(report, SectionKind::GroupHeader, 1).keepTogether = true;
  EXPECT_EQ(customersOn(report), (std::vector<Text>{u"Ann p1", u"Bob Cy p2"}));

  sectionOf(report, SectionKind::GroupHeader, 1).newPageBefore = true;
  sectionOf(report, SectionKind::GroupFooter, 1).resetPageNumberAfter = true;
  EXPECT_EQ(customersOn(report), (std::vector<Text>{u"Ann p1", u"Bob p1", u"Cy p1"}));

  foot.printAtBottom = true;
  auto source = runReport(documentOf(report), data, measure(), fixedDate());
  auto pages = allPages(*source);
  ASSERT_EQ(pages.size(), 3u);
  const auto end = runsOf(*pages.back(), u"end");
  ASSERT_EQ(end.size(), 1u);
  EXPECT_EQ(end.front()->box.y, 16838 - 1440 - 360 - foot.height);
}

TEST(Layout, FormulaFieldsSpecialFieldsAndFormulaMistakes) {
  auto withFormula = [](Text text) {
    model::ReportDefinition report = listReport();
    report.formulas.push_back(model::Formula{u"Ratio", std::move(text), {}});
    model::ReportObject o;
    o.kind = ObjectKind::FormulaField;
    o.name = u"ratio";
    o.formula = u"Ratio";
    o.x = 5000;
    o.format.numberFormat = u"0.000";
    sectionOf(report, SectionKind::Details).objects.push_back(o);
    auto& rh = sectionOf(report, SectionKind::ReportHeader);
    rh.objects.push_back(specialObject(u"title", SpecialFieldKind::ReportTitle));
    rh.objects.push_back(specialObject(u"date", SpecialFieldKind::PrintDate));
    rh.objects.back().x = 5000;
    rh.objects.back().format.dateFormat = u"dd/MM/yyyy";
    sectionOf(report, SectionKind::Details).objects.push_back(specialObject(u"record", SpecialFieldKind::RecordNumber));
    sectionOf(report, SectionKind::Details).objects.back().x = 7000;
    return report;
  };
  {
    FakeProvider data;
    data.tables[u""] = numbered(10);
    auto source = runReport(documentOf(withFormula(u"1 / ({T.id} + 1) & \"\"")), data, measure(), fixedDate());
    auto page = source->page(1);
    ASSERT_TRUE(page);
    EXPECT_EQ(textOf(*page, u"title"), u"Test report");
    EXPECT_EQ(textOf(*page, u"date"), u"01/07/2024");
    auto runs = runsOf(*page, u"record");
    ASSERT_EQ(runs.size(), 10u);
    EXPECT_EQ(runs[9]->text, u"10");
  }
  {
    FakeProvider data;
    data.tables[u""] = numbered(10);
    auto source = runReport(documentOf(withFormula(u"{T.amount} * (2")), data, measure(), fixedDate());
    auto pages = allPages(*source);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_NE(source->problem().find(u"{@Ratio}"), Text::npos) << toUtf8(source->problem());
    EXPECT_NE(source->problem().find(u"column"), Text::npos);
    EXPECT_NE(allText(*pages[0]).find(u"This report cannot be shown"), Text::npos);
    EXPECT_EQ(data.rowsCalls, 0);
  }
  {
    // Division by zero at row 150: the pages before it print, the page where it strikes says so.
    FakeProvider data;
    data.tables[u""] = numbered(300);
    auto source = runReport(documentOf(withFormula(u"1 / ({T.id} - 150)")), data, measure(), fixedDate());
    auto pages = allPages(*source);
    ASSERT_GE(pages.size(), 3u);
    EXPECT_EQ(source->pageCount(), static_cast<std::int32_t>(pages.size()));
    EXPECT_EQ(textOf(*pages[0], u"ratio"), u"-0.007");
    const Text last = allText(*pages.back());
    EXPECT_NE(last.find(u"In {@Ratio}: Division by zero"), Text::npos) << toUtf8(last);
    EXPECT_TRUE(runsOf(*pages.back(), u"id").empty());
    EXPECT_NE(source->problem().find(u"Division by zero"), Text::npos);
  }
}

TEST(Layout, ParametersShowTheirValuesInFieldsTextsAndFormulas) {
  model::ReportDefinition report = listReport();
  model::Parameter period;
  period.name = u"Period";
  period.type = model::ParameterType::Date;
  period.range = true;
  period.given = true;
  period.current = u"2024-03-01";
  model::Parameter limit;
  limit.name = u"Limit";
  limit.type = model::ParameterType::Number;
  limit.defaultValue = u"1234.5";  // no value given: the default
  report.parameters = {period, limit};
  auto& header = sectionOf(report, SectionKind::ReportHeader).objects;
  header.push_back(textObject(u"text", u"{?period} {?Limit}, {?Nobody} {?Limit", 0, 9000));
  model::ReportObject field;
  field.kind = ObjectKind::ParameterField;
  field.name = u"field";
  field.text = u"Period";
  field.format.dateFormat = u"dd/MM/yyyy";
  field.x = 5000;
  header.push_back(field);
  field.name = u"number";
  field.text = u"Limit";
  field.format.numberFormat = u"#,##0.00";
  header.push_back(field);
  report.formulas.push_back(model::Formula{u"Year", u"ToText(Year(Minimum({?Period})), \"0\")", {}});
  model::ReportObject formula;
  formula.kind = ObjectKind::FormulaField;
  formula.name = u"year";
  formula.formula = u"Year";
  formula.x = 8000;
  header.push_back(formula);
  FakeProvider data;
  data.tables[u""] = numbered(3);
  auto page = runReport(documentOf(report), data, measure(), fixedDate())->page(1);
  ASSERT_TRUE(page);
  EXPECT_EQ(textOf(*page, u"text"), u"2024-03-01 -  1234.5, {?Nobody} {?Limit");
  EXPECT_EQ(textOf(*page, u"field"), u"01/03/2024 - ");
  EXPECT_EQ(textOf(*page, u"number"), u"1,234.50");
  EXPECT_EQ(textOf(*page, u"year"), u"2024");
}

TEST(Layout, ProblemsOfTheFileAndTheDataBecomePagesInWords) {
  {
    FakeProvider data;
    ReportDocument document = documentOf(listReport());
    document.hasLayout = false;
    document.layoutProblem = u"The report was made by another designer.";
    auto source = runReport(document, data, measure());
    auto pages = allPages(*source);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_NE(allText(*pages[0]).find(u"another designer"), Text::npos);
    EXPECT_EQ(source->pageCount(), 1);
  }
  {
    FakeProvider data;
    data.failOpen = u"The server COMPANY cannot be reached.";
    auto source = runReport(documentOf(listReport()), data, measure());
    auto pages = allPages(*source);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_EQ(source->problem(), data.failOpen);
    EXPECT_NE(allText(*pages[0]).find(u"COMPANY cannot be reached"), Text::npos);
  }
  {
    FakeProvider data;
    data.tables[u""] = numbered(1000);
    data.failAfter = 500;
    auto source = runReport(documentOf(listReport()), data, measure());
    auto pages = allPages(*source);
    ASSERT_GT(pages.size(), 5u);
    EXPECT_FALSE(runsOf(*pages[0], u"id").empty());
    EXPECT_NE(allText(*pages.back()).find(u"stopped answering"), Text::npos);
  }
  {
    FakeProvider data;
    data.tables[u""] = numbered(0);
    model::ReportDefinition report = listReport();
    sectionOf(report, SectionKind::ReportFooter).objects.push_back(
        summaryObject(u"total", SummaryOperation::Sum, u"amount", 0));
    auto source = runReport(documentOf(report), data, measure(), fixedDate());
    auto pages = allPages(*source);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_EQ(textOf(*pages[0], u"pages"), u"Page 1 of 1");
    EXPECT_EQ(textOf(*pages[0], u"total"), u"");
    EXPECT_TRUE(runsOf(*pages[0], u"id").empty());
  }
}

TEST(Layout, OddGeometryAndHugeTextsStillGiveSensiblePages) {
  FakeProvider data;
  const Text megabyte = Text(1 << 20, u'x');
  data.tables[u""] = FakeTable::of({u"id", u"name"}, {{1, megabyte}, {2, Value()}, {3, u"three"}});
  model::ReportDefinition report = listReport();
  auto& details = sectionOf(report, SectionKind::Details);
  details.objects.push_back(fieldObject(u"name", 3000, 3000));
  details.objects.back().format.canGrow = true;
  details.objects.back().name = u"grown";
  details.objects.push_back(textObject(u"outside", u"far away", 50000));
  details.objects.push_back(textObject(u"empty", u"no size", 0, 0));
  auto line = textObject(u"line", u"");
  line.kind = ObjectKind::Line;
  line.width = 0;
  line.height = 0;
  details.objects.push_back(line);
  sectionOf(report, SectionKind::PageHeader).height = 0;
  model::Section zero;
  zero.kind = SectionKind::Details;
  zero.height = 0;
  report.sections.insert(report.sections.begin() + 3, zero);

  auto source = runReport(documentOf(report), data, measure(), fixedDate());
  auto pages = allPages(*source);
  // The megabyte does not fit below the report header: it fills page 2 and is cut there.
  ASSERT_EQ(pages.size(), 3u);
  EXPECT_GT(runsOf(*pages[1], u"grown").size(), 50u);
  for (const auto& page : pages) {
    EXPECT_TRUE(runsOf(*page, u"outside").empty());
    EXPECT_TRUE(runsOf(*page, u"empty").empty());
    for (const auto& item : page->items) {
      if (auto run = std::get_if<TextRun>(&item)) {
        EXPECT_LT(run->box.y, page->height);
        EXPECT_LT(run->text.size(), 200u);
      }
      EXPECT_FALSE(std::holds_alternative<LineItem>(item));
    }
  }
  EXPECT_EQ(runsOf(*pages[2], u"id").front()->record, 2);

  // Margins larger than the paper.
  model::ReportDefinition squeezed = listReport();
  squeezed.page.marginTop = squeezed.page.marginBottom = 100000;
  FakeProvider few;
  few.tables[u""] = numbered(5);
  auto tight = runReport(documentOf(squeezed), few, measure());
  EXPECT_EQ(allPages(*tight).size(), 7u);  // no room at all: one section a page, never more
}

// The subreport "Orders" beside the customer, linked by the customer.
model::ReportObject ordersObject(const model::ReportDefinition& sub) {
  model::ReportObject o;
  o.kind = ObjectKind::Subreport;
  o.name = u"orders";
  o.x = 2000;
  o.width = 4000;
  o.height = 200;
  o.subreport.name = u"Orders";
  o.subreport.links.push_back(
      model::SubreportLink{model::FieldRef{u"T", u"customer", {}}, model::FieldRef{u"O", u"customer", {}}, {}});
  o.subreport.definition = model::Deep<model::ReportDefinition>(sub);
  return o;
}

TEST(Layout, SubreportsPrintTheirLinkedRowsInPlaceQueriedOncePerLinkValue) {
  FakeProvider data;
  data.tables[u""] = FakeTable::of({u"customer"}, {{u"Ann"}, {u"Bob"}, {u"Cy"}, {u"Ann"}});
  data.tables[u"Orders"] = FakeTable::of({u"customer", u"item"},
                                         {{u"Ann", u"apples"}, {u"Bob", u"bread"}, {u"Ann", u"pears"}, {u"Ann", u"figs"}});
  model::ReportDefinition sub = model::blankReport();
  sectionOf(sub, SectionKind::Details).objects.push_back(fieldObject(u"item"));
  sectionOf(sub, SectionKind::Details).height = 240;
  sectionOf(sub, SectionKind::ReportFooter).objects.push_back(summaryObject(u"items", SummaryOperation::Count, u"item", 0));
  for (auto& s : sub.sections) {
    if (s.kind != SectionKind::Details) s.height = s.kind == SectionKind::ReportFooter ? 240 : 0;
  }
  model::ReportDefinition report = listReport();
  auto& details = sectionOf(report, SectionKind::Details);
  details.objects.clear();
  details.objects.push_back(fieldObject(u"customer"));
  details.objects.push_back(ordersObject(sub));

  auto source = runReport(documentOf(report), data, measure(), fixedDate());
  auto pages = allPages(*source);
  ASSERT_EQ(pages.size(), 1u);
  const Page& page = *pages[0];
  auto items = runsOf(page, u"item");
  ASSERT_EQ(items.size(), 7u);
  EXPECT_EQ(items[0]->text, u"apples");
  EXPECT_EQ(items[2]->text, u"figs");
  EXPECT_EQ(items[3]->text, u"bread");
  EXPECT_EQ(items[4]->text + items[5]->text + items[6]->text, u"applespearsfigs");  // Ann again, from the spool
  EXPECT_EQ(items[0]->box.x, 1440 + 2000);
  auto counts = runsOf(page, u"items");
  ASSERT_EQ(counts.size(), 4u);
  EXPECT_EQ(counts[0]->text + counts[1]->text + counts[2]->text + counts[3]->text, u"3103");
  auto customers = runsOf(page, u"customer");
  EXPECT_GE(customers[1]->box.y, counts[0]->box.y + 240);  // the row grew around its subreport
  EXPECT_GE(customers[3]->box.y, counts[2]->box.y + 240);
  const int calls = data.rowsCalls;
  EXPECT_EQ(calls, 4);  // the main rows, and one query per distinct customer
  // Laid out again from the spools: no query.
  auto again = source->page(1);
  EXPECT_EQ(data.rowsCalls, calls);
}

TEST(Layout, ASubreportLongerThanItsPageGoesOnAtTheTopOfTheNext) {
  FakeProvider data;
  data.tables[u""] = FakeTable::of({u"customer"}, {{u"Ann"}, {u"Bob"}});
  std::vector<std::vector<Value>> orders;
  for (int i = 1; i <= 150; ++i) orders.push_back({u"Ann", Value(static_cast<double>(i))});
  orders.push_back({u"Bob", Value(999.0)});
  data.tables[u"Orders"] = FakeTable::of({u"customer", u"item"}, orders);
  model::ReportDefinition sub = model::blankReport();
  for (auto& s : sub.sections) s.height = s.kind == SectionKind::Details ? 240 : 0;
  sectionOf(sub, SectionKind::Details).objects.push_back(fieldObject(u"item"));
  model::ReportDefinition report = listReport();
  auto& details = sectionOf(report, SectionKind::Details);
  details.objects = {fieldObject(u"customer")};
  details.objects.push_back(ordersObject(sub));

  auto source = runReport(documentOf(report), data, measure(), fixedDate());
  auto pages = allPages(*source);
  ASSERT_GE(pages.size(), 3u);  // 150 rows of 240 twips: more than two pages of body
  std::vector<Text> items;
  for (const auto& page : pages) {
    auto runs = runsOf(*page, u"item");
    ASSERT_FALSE(runs.empty());
    for (const auto* run : runs) items.push_back(run->text);
    EXPECT_LE(runs.back()->box.y + runs.back()->box.height, page->height - 1440);  // within the body
  }
  ASSERT_EQ(items.size(), 151u);  // every row once, in order, Bob's after Ann's
  EXPECT_EQ(items[0], u"1");
  EXPECT_EQ(items[149], u"150");
  EXPECT_EQ(items[150], u"999");
  EXPECT_EQ(runsOf(*pages[1], u"item")[0]->text, runsOf(*source->page(2), u"item")[0]->text);  // laid out again alike
  EXPECT_EQ(runsOf(*pages[1], u"item")[0]->box.x, 1440 + 2000);
}

TEST(Layout, AnOnDemandSubreportIsALinkThatRunsItsRowsOnlyWhenOpened) {
  FakeProvider data;
  data.tables[u""] = FakeTable::of({u"customer"}, {{u"Ann"}, {u"Bob"}, {u"Cy"}});
  data.tables[u"Orders"] = FakeTable::of({u"customer", u"item"}, {{u"Ann", u"apples"}, {u"Bob", u"bread"}, {u"Ann", u"figs"}});
  model::ReportDefinition sub = model::blankReport();
  sectionOf(sub, SectionKind::Details).objects.push_back(fieldObject(u"item"));
  model::ReportDefinition report = listReport();
  auto& details = sectionOf(report, SectionKind::Details);
  details.height = 240;
  details.objects = {fieldObject(u"customer"), ordersObject(sub)};
  details.objects[1].subreport.onDemand = true;
  details.objects[1].height = 240;

  auto source = runReport(documentOf(report), data, measure(), fixedDate());
  auto pages = allPages(*source);
  ASSERT_EQ(pages.size(), 1u);
  EXPECT_EQ(data.rowsCalls, 1);  // the main rows only: no subreport query while laying out
  EXPECT_TRUE(runsOf(*pages[0], u"item").empty());
  auto links = runsOf(*pages[0], u"orders");
  ASSERT_EQ(links.size(), 3u);
  EXPECT_EQ(links[0]->text, u"Orders");
  EXPECT_EQ(links[0]->colour, 0x0000FFu);
  EXPECT_TRUE(links[0]->font.underline);
  EXPECT_EQ(links[1]->box.y - links[0]->box.y, 240);  // the object's size, not grown
  ASSERT_TRUE(links[1]->link);
  EXPECT_EQ(links[1]->link->name, u"Orders");
  ASSERT_EQ(links[1]->link->values.size(), 1u);
  EXPECT_EQ(links[1]->link->values[0], Value(u"Bob"));

  // Opened: the subreport's own pages for that record's values.
  auto opened = source->runLink(*links[0]->link);
  ASSERT_TRUE(opened);
  auto subPages = allPages(*opened);
  ASSERT_EQ(subPages.size(), 1u);
  auto items = runsOf(*subPages[0], u"item");
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0]->text + items[1]->text, u"applesfigs");
  EXPECT_EQ(subPages[0]->width, pages[0]->width);

  // A link that does not fit the report leads nowhere; a subreport whose
  // data fails says so on its page.
  PageLink odd = *links[0]->link;
  odd.values.clear();
  EXPECT_FALSE(source->runLink(odd));
  data.tables.erase(u"Orders");
  auto failed = source->runLink(*links[0]->link);
  ASSERT_TRUE(failed);
  ASSERT_TRUE(failed->page(1));
  EXPECT_FALSE(failed->problem().empty());
  EXPECT_NE(allText(*failed->page(1)).find(u"Orders"), Text::npos);
}

TEST(Layout, CancelStopsTheBackgroundPromptly) {
  FakeProvider data;
  data.tables[u""] = numbered(1'000'000'000);
  data.rowDelay = std::chrono::microseconds(50);
  auto started = std::chrono::steady_clock::now();
  auto source = runReport(documentOf(listReport()), data, measure());
  ASSERT_TRUE(source->page(2));
  source->cancel();
  EXPECT_FALSE(source->page(100000));
  EXPECT_FALSE(source->pageCount());
  EXPECT_TRUE(source->page(1));  // what it has
  source.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
  const auto read = data.rowsRead.load();
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(data.rowsRead.load(), read);
}

long residentKilobytes() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
  }
  return 0;
}

TEST(Layout, AMillionRowsKeepMemoryFlatAndEarlierPagesComeFromTheSpool) {
  FakeProvider data;
  data.tables[u""] = numbered(1'000'000);
  model::ReportDefinition report = listReport();
  model::addGroup(report, model::Group{model::FieldRef{u"T", u"customer", {}}, {}, {}});
  sectionOf(report, SectionKind::GroupHeader, 1).objects.push_back(fieldObject(u"customer"));
  sectionOf(report, SectionKind::GroupFooter, 1).objects.push_back(summaryObject(u"sum", SummaryOperation::Sum, u"amount", 1));
  const long before = residentKilobytes();
  auto source = runReport(documentOf(report), data, measure());
  auto first = source->page(1);
  ASSERT_TRUE(first);
  std::int32_t known = 0;
  while (!source->pageCount()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_GE(source->pagesKnown(), known);
    known = source->pagesKnown();
  }
  const std::int32_t count = *source->pageCount();
  EXPECT_GT(count, 20000);
  EXPECT_EQ(data.rowsRead.load(), 1'000'000);
  const long growth = residentKilobytes() - before;
  if (!kAddressSanitizer) {
    EXPECT_LT(growth, 30 * 1024) << growth << " kB";
  }

  auto middle = source->page(count / 2);
  auto last = source->page(count);
  auto again = source->page(1);
  ASSERT_TRUE(middle && last && again);
  EXPECT_EQ(data.rowsCalls, 1);
  EXPECT_EQ(data.rowsRead.load(), 1'000'000);
  EXPECT_EQ(textOf(*last, u"pages"), u"Page " + decimal(count) + u" of " + decimal(count));
  EXPECT_EQ(runsOf(*last, u"id").back()->text, u"1000000");
  EXPECT_EQ(textOf(*again, u"id"), u"1");
  EXPECT_FALSE(source->page(count + 1));
}

}  // namespace
}  // namespace mervane::engine::layout
