// A report definition that uses every part of the model: every kind of
// report object, both kinds of table, links, filter, sort, groups, formulas
// and a subreport with links and a definition of its own. Shared by the
// tests and the fuzzer's seed corpus.
#pragma once

#include "engine/model/report_definition.h"

namespace mervane::engine::model::testing {

inline ReportObject makeObject(ObjectKind kind, std::int32_t x, std::int32_t y) {
  ReportObject o;
  o.kind = kind;
  o.name = u"Object" + decimal(x) + u"_" + decimal(y);
  o.x = x;
  o.y = y;
  o.width = 2000;
  o.height = 300;
  return o;
}

inline ReportDefinition ordersSubreport() {
  ReportDefinition sub = blankReport();
  Table lines;
  lines.alias = u"OrderLines";
  lines.logOn = {u"localhost", u"Company", u"reader", {}};
  lines.location = u"dbo.OrderLines";
  sub.data.tables.push_back(lines);
  ReportObject amount = makeObject(ObjectKind::DatabaseField, 0, 0);
  amount.field = {u"OrderLines", u"Amount", {}};
  sub.sections[2].objects.push_back(amount);
  return sub;
}

inline ReportDefinition richReport() {
  ReportDefinition r = blankReport();
  r.page = {paper::kCustom, 12240, 15840, Orientation::Landscape, 720, 800, 900, 1000, {}};

  Table customers;
  customers.alias = u"Customers";
  customers.type = DatabaseType::SqlTable;
  customers.logOn = {u"ODBC;DATABASE=Halyard;UID=ana;DSN=Halyard", u"Halyard", u"ana", {}};
  customers.location = u"Customers";
  customers.subLocation = u"dbo.Customers";
  Table rates;
  rates.alias = u"Taux de change";
  rates.type = DatabaseType::DelimitedTextFile;
  rates.location = u"/data/taux ü.csv";
  rates.delimiter = u";";
  rates.headerRow = false;
  r.data.tables = {customers, rates};
  r.data.links.push_back({{u"Customers", u"Currency", {}}, {u"Taux de change", u"Code", {}}, JoinType::LeftOuter, {}});
  r.data.recordFilter = u"{Customers.Country} = \"Österreich\" and {@Margin} > 0.5";
  r.data.sortFields.push_back({{u"Customers", u"Name", {}}, SortDirection::Descending, {}});
  r.data.sortFields.push_back({{u"", u"Margin", {}}, SortDirection::Ascending, {}});
  addGroup(r, {{u"Customers", u"Country", {}}, SortDirection::Ascending, {}});
  addGroup(r, {{u"Customers", u"City", {}}, SortDirection::Descending, {}});
  r.formulas.push_back({u"Margin", u"({Customers.Sales} - {Customers.Cost}) / {Customers.Sales}", {}});
  r.formulas.push_back({u"Greeting", u"if isnull({Customers.Name}) then \"—\" else {Customers.Name}", {}});

  auto section = [&](SectionKind kind, std::int32_t group = 0) -> Section& {
    for (Section& s : r.sections)
      if (s.kind == kind && s.group == group) return s;
    return r.sections.front();
  };
  Section& header = section(SectionKind::ReportHeader);
  header.height = 1440;
  header.newPageAfter = true;
  ReportObject title = makeObject(ObjectKind::Text, -20, 0);
  title.text = u"Kundenübersicht — 顧客";
  title.format = {u"Times New Roman", 360, true, true, true, 0x336699, Alignment::Centre, u"", u"",
                  BorderStyle::Double, 0xFF0000, true, 0xEEEEEE, true, 30, {}};
  header.objects.push_back(title);
  ReportObject logo = makeObject(ObjectKind::Picture, 9000, 0);
  logo.picture.image = SharedBytes(std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\x02\0\0\0\x01", 24));
  logo.picture.stretch = true;
  header.objects.push_back(logo);

  Section& details = section(SectionKind::Details);
  ReportObject name = makeObject(ObjectKind::DatabaseField, 0, 0);
  name.field = {u"Customers", u"Name", {}};
  name.format.canGrow = true;
  ReportObject margin = makeObject(ObjectKind::FormulaField, 2100, 0);
  margin.formula = u"Margin";
  margin.format.numberFormat = u"0.0%";
  margin.format.alignment = Alignment::Right;
  ReportObject line = makeObject(ObjectKind::Line, 0, 300);
  line.height = 0;
  ReportObject box = makeObject(ObjectKind::Box, 0, 0);
  box.format.border = BorderStyle::Dotted;
  ReportObject subreport = makeObject(ObjectKind::Subreport, 4200, 0);
  subreport.subreport.name = u"Orders";
  subreport.subreport.links.push_back({{u"Customers", u"Id", {}}, {u"Orders", u"CustomerId", {}}, {}});
  subreport.subreport.definition = Deep<ReportDefinition>(ordersSubreport());
  subreport.subreport.onDemand = true;
  subreport.subreport.linkText = u"Show orders";
  margin.conditions = {u"{@Margin} < 0", u"if {@Margin} < 0 then crRed else crBlack", u"Color(255, 240, 240)",
                       u"{@Margin} > 0.5", u"false", u"1", {}};
  ReportObject balance = makeObject(ObjectKind::RunningTotalField, 6000, 0);
  balance.formula = u"Balance";
  details.objects = {name, margin, line, box, subreport, balance};
  details.conditions = {u"{Customers.Sales} = 0", u"", u"RecordNumber > 50", {}};
  r.runningTotals.push_back({u"Balance", {u"Customers", u"Sales", {}}, SummaryOperation::Sum,
                             RunningTotalEvaluate::OnChangeOfField, {u"Customers", u"Id", {}}, u"",
                             RunningTotalReset::OnChangeOfGroup, 2, u"", {}});
  r.runningTotals.push_back({u"Big orders", {u"", u"Margin", {}}, SummaryOperation::DistinctCount,
                             RunningTotalEvaluate::OnFormula, {}, u"{@Margin} > 0.2", RunningTotalReset::OnFormula,
                             1, u"{Customers.City} = \"Oslo\"", {}});

  Section& groupFooter = section(SectionKind::GroupFooter, 1);
  groupFooter.suppress = true;
  const SummaryOperation operations[] = {SummaryOperation::Sum,     SummaryOperation::Count,
                                         SummaryOperation::DistinctCount, SummaryOperation::Average,
                                         SummaryOperation::Minimum, SummaryOperation::Maximum};
  std::int32_t x = 0;
  for (SummaryOperation op : operations) {
    ReportObject s = makeObject(ObjectKind::SummaryField, x, 0);
    s.field = {u"Customers", u"Sales", {}};
    s.summary = op;
    s.summaryGroup = op == SummaryOperation::Sum ? 0 : 1;
    s.format.numberFormat = u"#,##0.00";
    groupFooter.objects.push_back(s);
    x += 1500;
  }

  Section& footer = section(SectionKind::PageFooter);
  const SpecialFieldKind specials[] = {SpecialFieldKind::PageNumber, SpecialFieldKind::TotalPages,
                                       SpecialFieldKind::PageNofM,   SpecialFieldKind::PrintDate,
                                       SpecialFieldKind::PrintTime,  SpecialFieldKind::ReportTitle,
                                       SpecialFieldKind::RecordNumber};
  x = 0;
  for (SpecialFieldKind kind : specials) {
    ReportObject s = makeObject(ObjectKind::SpecialField, x, 0);
    s.special = kind;
    s.format.dateFormat = u"dd.MM.yyyy";
    footer.objects.push_back(s);
    x += 1200;
  }
  return r;
}

}  // namespace mervane::engine::model::testing
