// The example reports' definitions, built with the engine's model.
#include "example_definitions.h"

namespace mervane::tools {
namespace {

using namespace engine::model;

constexpr std::int32_t kRow = 280;  // one line of 10-point text, in twips

Section& section(ReportDefinition& r, SectionKind kind, std::int32_t group = 0) {
  for (Section& s : r.sections)
    if (s.kind == kind && s.group == group) return s;
  return r.sections.front();
}

ReportObject object(ObjectKind kind, const Text& name, std::int32_t x, std::int32_t y, std::int32_t width,
                    std::int32_t height = kRow) {
  ReportObject o;
  o.kind = kind;
  o.name = name;
  o.x = x;
  o.y = y;
  o.width = width;
  o.height = height;
  return o;
}

ReportObject text(const Text& name, const Text& value, std::int32_t x, std::int32_t y, std::int32_t width,
                  bool bold = false) {
  ReportObject o = object(ObjectKind::Text, name, x, y, width);
  o.text = value;
  o.format.bold = bold;
  return o;
}

ReportObject field(const Text& table, const Text& column, std::int32_t x, std::int32_t y, std::int32_t width,
                   const Text& numberFormat = Text(), Alignment alignment = Alignment::Default) {
  ReportObject o = object(ObjectKind::DatabaseField, table + u"." + column, x, y, width);
  o.field = {table, column, {}};
  o.format.numberFormat = numberFormat;
  o.format.alignment = alignment;
  return o;
}

ReportObject special(SpecialFieldKind kind, const Text& name, std::int32_t x, std::int32_t y, std::int32_t width,
                     Alignment alignment = Alignment::Default) {
  ReportObject o = object(ObjectKind::SpecialField, name, x, y, width);
  o.special = kind;
  o.format.alignment = alignment;
  return o;
}

ReportObject summary(SummaryOperation operation, const Text& table, const Text& column, std::int32_t group,
                     const Text& name, std::int32_t x, std::int32_t y, std::int32_t width,
                     const Text& numberFormat = u"#,##0.00") {
  ReportObject o = object(ObjectKind::SummaryField, name, x, y, width);
  o.summary = operation;
  o.summaryGroup = group;
  o.field = {table, column, {}};
  o.format.numberFormat = numberFormat;
  o.format.alignment = Alignment::Right;
  o.format.bold = true;
  return o;
}

ReportObject line(const Text& name, std::int32_t y, std::int32_t width) {
  ReportObject o = object(ObjectKind::Line, name, 0, y, width, 0);
  o.format.lineWidth = 10;
  return o;
}

Table companyTable(const Text& name) {
  Table t;
  t.alias = name;
  t.type = DatabaseType::SqlTable;
  t.location = name;
  t.logOn.database = u"company";
  return t;
}

Table hostTable(const Text& name) {
  Table t = companyTable(name);
  t.logOn.database = u"Halyard";
  return t;
}

// Report title and print date on top, page N of M at the bottom.
void frame(ReportDefinition& r, std::int32_t width) {
  Section& header = section(r, SectionKind::ReportHeader);
  header.height = 600;
  ReportObject title = special(SpecialFieldKind::ReportTitle, u"Title", 0, 0, width);
  title.height = 480;
  title.format.fontSize = 320;
  title.format.bold = true;
  header.objects.push_back(title);
  Section& footer = section(r, SectionKind::PageFooter);
  footer.height = 400;
  footer.objects.push_back(special(SpecialFieldKind::PrintDate, u"PrintDate", 0, 100, 3000));
  footer.objects.push_back(special(SpecialFieldKind::PageNofM, u"PageNofM", width - 3000, 100, 3000, Alignment::Right));
}

}  // namespace

ReportDefinition customerListDefinition() {
  ReportDefinition r = blankReport();
  const std::int32_t width = 9000;
  r.data.tables.push_back(companyTable(u"Customers"));
  r.data.sortFields.push_back({{u"Customers", u"Name", {}}, SortDirection::Ascending, {}});
  frame(r, width);
  Section& pageHeader = section(r, SectionKind::PageHeader);
  pageHeader.height = 400;
  pageHeader.objects = {text(u"NameHeading", u"Name", 0, 60, 3200, true),
                        text(u"CityHeading", u"City", 3300, 60, 2000, true),
                        text(u"CountryHeading", u"Country", 5400, 60, 1000, true),
                        text(u"CreditHeading", u"Credit limit", 6500, 60, 2500, true), line(u"Rule", 380, width)};
  pageHeader.objects[3].format.alignment = Alignment::Right;
  Section& details = section(r, SectionKind::Details);
  details.height = kRow;
  details.objects = {field(u"Customers", u"Name", 0, 0, 3200), field(u"Customers", u"City", 3300, 0, 2000),
                     field(u"Customers", u"Country", 5400, 0, 1000),
                     field(u"Customers", u"CreditLimit", 6500, 0, 2500, u"#,##0", Alignment::Right)};
  Section& footer = section(r, SectionKind::ReportFooter);
  footer.height = 400;
  footer.objects = {text(u"CountLabel", u"Customers:", 0, 60, 2000, true),
                    summary(SummaryOperation::Count, u"Customers", u"CustomerID", 0, u"CustomerCount", 6500, 60,
                            2500, u"0")};
  return r;
}

ReportDefinition monthlySalesDefinition() {
  ReportDefinition r = blankReport();
  const std::int32_t width = 9000;
  r.data.tables = {companyTable(u"Orders"), companyTable(u"Order Lines"), companyTable(u"Products")};
  r.data.links = {{{u"Orders", u"OrderID", {}}, {u"Order Lines", u"OrderID", {}}, JoinType::Inner, {}},
                  {{u"Products", u"ProductID", {}}, {u"Order Lines", u"ProductID", {}}, JoinType::Inner, {}}};
  r.data.sortFields = {{{u"Orders", u"OrderID", {}}, SortDirection::Ascending, {}},
                       {{u"Order Lines", u"LineID", {}}, SortDirection::Ascending, {}}};
  addGroup(r, {{u"Orders", u"OrderDate", {}}, SortDirection::Ascending, {}});
  frame(r, width);

  Section& pageHeader = section(r, SectionKind::PageHeader);
  pageHeader.height = 400;
  pageHeader.objects = {text(u"OrderHeading", u"Order", 300, 60, 1000, true),
                        text(u"ProductHeading", u"Product", 1400, 60, 3600, true),
                        text(u"QuantityHeading", u"Qty", 5100, 60, 900, true),
                        text(u"AmountHeading", u"Amount", 6500, 60, 2500, true), line(u"Rule", 380, width)};
  pageHeader.objects[2].format.alignment = Alignment::Right;
  pageHeader.objects[3].format.alignment = Alignment::Right;

  Section& groupHeader = section(r, SectionKind::GroupHeader, 1);
  groupHeader.height = 360;
  ReportObject day = field(u"Orders", u"OrderDate", 0, 60, 3000);
  day.format.bold = true;
  groupHeader.objects = {day, summary(SummaryOperation::Sum, u"Order Lines", u"Amount", 1, u"DayTotalAbove", 6500,
                                      60, 2500)};

  Section& details = section(r, SectionKind::Details);
  details.height = kRow;
  details.objects = {field(u"Orders", u"OrderID", 300, 0, 1000, u"0"), field(u"Products", u"Name", 1400, 0, 3600),
                     field(u"Order Lines", u"Quantity", 5100, 0, 900, u"0", Alignment::Right),
                     field(u"Order Lines", u"Amount", 6500, 0, 2500, u"#,##0.00", Alignment::Right)};

  Section& groupFooter = section(r, SectionKind::GroupFooter, 1);
  groupFooter.height = 420;
  groupFooter.objects = {
      text(u"LinesLabel", u"Lines:", 300, 40, 1000),
      summary(SummaryOperation::Count, u"Order Lines", u"LineID", 1, u"DayLines", 1400, 40, 1000, u"0"),
      summary(SummaryOperation::Sum, u"Order Lines", u"Amount", 1, u"DayTotal", 6500, 40, 2500)};
  groupFooter.objects[1].format.alignment = Alignment::Left;

  Section& footer = section(r, SectionKind::ReportFooter);
  footer.height = 500;
  footer.objects = {line(u"TotalRule", 40, width), text(u"TotalLabel", u"Grand total", 0, 120, 3000, true),
                    summary(SummaryOperation::Sum, u"Order Lines", u"Amount", 0, u"GrandTotal", 6500, 120, 2500)};
  return r;
}

ReportDefinition ordersByRegionDefinition() {
  ReportDefinition orders = blankReport();
  orders.data.tables.push_back(companyTable(u"Orders"));
  orders.data.sortFields.push_back({{u"Orders", u"OrderID", {}}, SortDirection::Ascending, {}});
  for (Section& s : orders.sections)
    if (s.kind != SectionKind::Details) s.height = 0;
  Section& lines = section(orders, SectionKind::Details);
  lines.height = 240;
  lines.objects = {field(u"Orders", u"OrderID", 0, 0, 900, u"0"), field(u"Orders", u"OrderDate", 1000, 0, 1400),
                   field(u"Orders", u"Status", 2500, 0, 1400)};
  for (ReportObject& o : lines.objects) o.format.fontSize = 160;

  ReportDefinition r = blankReport();
  const std::int32_t width = 9000;
  r.data.tables.push_back(companyTable(u"Customers"));
  r.data.sortFields.push_back({{u"Customers", u"Name", {}}, SortDirection::Ascending, {}});
  addGroup(r, {{u"Customers", u"Region", {}}, SortDirection::Ascending, {}});
  frame(r, width);
  Section& groupHeader = section(r, SectionKind::GroupHeader, 1);
  groupHeader.height = 400;
  ReportObject region = field(u"Customers", u"Region", 0, 60, 4000);
  region.format.bold = true;
  region.format.fontSize = 240;
  groupHeader.objects = {region};

  Section& details = section(r, SectionKind::Details);
  details.height = 600;
  ReportObject sub = object(ObjectKind::Subreport, u"Orders", 3600, 0, 5400, 300);
  sub.subreport.name = u"Orders";
  sub.subreport.links.push_back({{u"Customers", u"CustomerID", {}}, {u"Orders", u"CustomerID", {}}, {}});
  sub.subreport.definition = Deep<ReportDefinition>(orders);
  details.objects = {field(u"Customers", u"Name", 0, 0, 3400), sub};
  details.objects[0].format.bold = true;

  Section& groupFooter = section(r, SectionKind::GroupFooter, 1);
  groupFooter.height = 360;
  groupFooter.objects = {text(u"CustomersLabel", u"Customers in the region:", 0, 40, 3400),
                         summary(SummaryOperation::Count, u"Customers", u"CustomerID", 1, u"RegionCustomers", 3600,
                                 40, 1000, u"0")};
  groupFooter.objects[1].format.alignment = Alignment::Left;
  return r;
}

ReportDefinition stockValuationDefinition() {
  // The stock the host keeps per warehouse, for each of the company's
  // products.
  ReportDefinition stock = blankReport();
  stock.data.tables.push_back(hostTable(u"Stock Levels"));
  stock.data.sortFields.push_back({{u"Stock Levels", u"Warehouse", {}}, SortDirection::Ascending, {}});
  for (Section& s : stock.sections)
    if (s.kind != SectionKind::Details) s.height = 0;
  Section& levels = section(stock, SectionKind::Details);
  levels.height = 240;
  levels.objects = {field(u"Stock Levels", u"Warehouse", 0, 0, 2000),
                    field(u"Stock Levels", u"OnHand", 2100, 0, 1000, u"#,##0", Alignment::Right)};

  ReportDefinition r = blankReport();
  const std::int32_t width = 9000;
  r.data.tables.push_back(companyTable(u"Products"));
  r.data.sortFields.push_back({{u"Products", u"Name", {}}, SortDirection::Ascending, {}});
  r.formulas.push_back({u"PriceBand",
                        u"if {Products.UnitPrice} >= 100 then \"high\" else if {Products.UnitPrice} >= 20 then "
                        u"\"medium\" else \"low\"",
                        {}});
  frame(r, width);
  Section& pageHeader = section(r, SectionKind::PageHeader);
  pageHeader.height = 400;
  pageHeader.objects = {text(u"ProductHeading", u"Product", 0, 60, 3000, true),
                        text(u"PriceHeading", u"Unit price", 3100, 60, 1400, true),
                        text(u"BandHeading", u"Band", 4600, 60, 900, true),
                        text(u"StockHeading", u"Stock by warehouse", 5600, 60, 3400, true), line(u"Rule", 380, width)};
  Section& details = section(r, SectionKind::Details);
  details.height = 400;
  ReportObject band = object(ObjectKind::FormulaField, u"PriceBand", 4600, 0, 900);
  band.formula = u"PriceBand";
  ReportObject sub = object(ObjectKind::Subreport, u"Stock", 5600, 0, 3400, 260);
  sub.subreport.name = u"Stock";
  sub.subreport.links.push_back({{u"Products", u"ProductID", {}}, {u"Stock Levels", u"ProductID", {}}, {}});
  sub.subreport.definition = Deep<ReportDefinition>(stock);
  details.objects = {field(u"Products", u"Name", 0, 0, 3000),
                     field(u"Products", u"UnitPrice", 3100, 0, 1400, u"#,##0.00", Alignment::Right), band, sub};
  return r;
}

}  // namespace mervane::tools
