// The report definition: what a report is, as plain objects.
//
// Page setup, the sections in the order they print, the report objects in
// each section, the data the report reads (tables, links, record filter,
// sort fields, groups), formulas, and subreports, each a whole definition of
// its own. Lengths are twips (1/1440 inch) throughout. Nothing here knows of
// files, COM or windows; definition_stream.h reads and writes these objects.
//
// Log-on information holds server, database and user only. There is no
// password anywhere in the definition: log-on passwords are kept by the
// engine in memory, so a definition can never carry one to disk.
//
// Every record keeps the fields that a newer version of this format wrote
// and this version does not know (`unknown`), so that saving the definition
// again writes them back unchanged.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "components/data_source.h"

namespace mervane::engine::model {

// Fields of a newer format version, kept as their encoded bytes.
struct UnknownFields {
  std::string bytes;
  bool operator==(const UnknownFields&) const = default;
};

// A value-semantics pointer for the one recursive part of the model: a
// subreport object holds a whole definition. Copies are deep.
template <class T>
class Deep {
 public:
  Deep() = default;
  explicit Deep(T value) : ptr_(std::make_unique<T>(std::move(value))) {}
  Deep(const Deep& other) : ptr_(other.ptr_ ? std::make_unique<T>(*other.ptr_) : nullptr) {}
  Deep(Deep&&) noexcept = default;
  Deep& operator=(const Deep& other) {
    if (this != &other) ptr_ = other.ptr_ ? std::make_unique<T>(*other.ptr_) : nullptr;
    return *this;
  }
  Deep& operator=(Deep&&) noexcept = default;
  ~Deep() = default;

  explicit operator bool() const { return ptr_ != nullptr; }
  T& operator*() const { return *ptr_; }
  T* operator->() const { return ptr_.get(); }
  T* get() const { return ptr_.get(); }
  T& emplace() {
    ptr_ = std::make_unique<T>();
    return *ptr_;
  }
  void reset() { ptr_.reset(); }
  bool operator==(const Deep& other) const {
    if (!ptr_ || !other.ptr_) return !ptr_ && !other.ptr_;
    return *ptr_ == *other.ptr_;
  }

 private:
  std::unique_ptr<T> ptr_;
};

// ---------------------------------------------------------------------------
// Codes callers see. The numbers of these enumerations are the codes the
// library's callers read and compare: a report object's Kind (5 is a
// subreport object) and a table's database type (2 is a SQL table). The
// other values are ours. A value this version does not know (written by a
// newer one) is kept as a number and written back; layout passes it over.
// ---------------------------------------------------------------------------

enum class ObjectKind : std::int32_t {
  DatabaseField = 1,  // a column of one of the report's tables
  Text = 2,           // fixed text
  Line = 3,           // from (x, y) to (x + width, y + height)
  Box = 4,            // a rectangle: border from the format, fill from its background
  Subreport = 5,      // a whole report of its own, printed in place
  SpecialField = 6,   // page number, print date, ... (SpecialFieldKind)
  SummaryField = 7,   // sum, count, ... of a field (SummaryOperation)
  FormulaField = 8,   // the value of a named formula
  Picture = 9,        // an image from the report file or a column (Picture)
  RunningTotalField = 10,  // the value of a running total, as far as the rows have gone
  ParameterField = 11,  // the current value of a parameter (`text` names it); a range as "from - to"
};

enum class DatabaseType : std::int32_t {
  SqlTable = 2,           // a table of a SQL database, reached through ODBC
  DelimitedTextFile = 3,  // a text file of delimited values; location is its path
};

enum class SpecialFieldKind : std::int32_t {
  PageNumber = 1,
  TotalPages = 2,
  PageNofM = 3,  // "Page N of M"
  PrintDate = 4,
  PrintTime = 5,
  ReportTitle = 6,
  RecordNumber = 7,
};

enum class SummaryOperation : std::int32_t {
  Sum = 1,
  Count = 2,
  DistinctCount = 3,
  Average = 4,
  Minimum = 5,
  Maximum = 6,
};

enum class SectionKind : std::int32_t {
  ReportHeader = 1,
  PageHeader = 2,
  GroupHeader = 3,
  Details = 4,
  GroupFooter = 5,
  PageFooter = 6,
  ReportFooter = 7,
};

enum class Orientation : std::int32_t { Portrait = 1, Landscape = 2 };
enum class Alignment : std::int32_t { Default = 0, Left = 1, Centre = 2, Right = 3, Justified = 4 };
enum class BorderStyle : std::int32_t { None = 0, Single = 1, Double = 2, Dashed = 3, Dotted = 4 };
enum class SortDirection : std::int32_t { Ascending = 0, Descending = 1 };
enum class JoinType : std::int32_t { Inner = 0, LeftOuter = 1, RightOuter = 2, FullOuter = 3 };

// Paper sizes by the printer's paper codes; 0 means a custom size given by
// PageSetup::paperWidth and paperHeight.
namespace paper {
constexpr std::int32_t kCustom = 0;
constexpr std::int32_t kLetter = 1;
constexpr std::int32_t kLegal = 5;
constexpr std::int32_t kA3 = 8;
constexpr std::int32_t kA4 = 9;
}  // namespace paper

// Colours are 0xRRGGBB.
constexpr std::uint32_t kBlack = 0x000000;
constexpr std::uint32_t kWhite = 0xFFFFFF;

// ---------------------------------------------------------------------------
// The definition.
// ---------------------------------------------------------------------------

struct PageSetup {
  std::int32_t paperSize = paper::kA4;
  std::int32_t paperWidth = 11906;  // twips; used when paperSize is kCustom
  std::int32_t paperHeight = 16838;
  Orientation orientation = Orientation::Portrait;
  std::int32_t marginLeft = 1440;
  std::int32_t marginRight = 1440;
  std::int32_t marginTop = 1440;
  std::int32_t marginBottom = 1440;
  UnknownFields unknown;
  bool operator==(const PageSetup&) const = default;
};

// A field of the report's data: a table's column, or, when `table` is empty,
// the formula named by `column`.
struct FieldRef {
  Text table;
  Text column;
  bool isFormula() const { return table.empty(); }
  UnknownFields unknown;
  bool operator==(const FieldRef&) const = default;
};

struct Format {
  Text fontName = u"Arial";
  std::int32_t fontSize = 200;  // twentieths of a point: 200 is 10 pt
  bool bold = false;
  bool italic = false;
  bool underline = false;
  std::uint32_t colour = kBlack;
  Alignment alignment = Alignment::Default;
  Text numberFormat;  // e.g. "#,##0.00"; empty: the value as it comes
  Text dateFormat;    // e.g. "dd/MM/yyyy"
  BorderStyle border = BorderStyle::None;
  std::uint32_t borderColour = kBlack;
  bool filled = false;  // whether the background is painted
  std::uint32_t background = kWhite;
  bool canGrow = false;         // grows downwards, wrapping words, to show all its text
  std::int32_t lineWidth = 20;  // twips, for lines, boxes and borders
  UnknownFields unknown;
  bool operator==(const Format&) const = default;
};

// Formulas that change how an object prints, evaluated for each record it
// prints with (details) or with the current record of its group (group
// sections). An empty text is no condition. See formula.h for the colour
// names. A condition that cannot be worked out for a record (a mistake in
// its formula, a value of the wrong kind) leaves the object as it is.
struct ObjectConditions {
  Text suppress;     // true: the object is not printed
  Text fontColour;   // a colour number
  Text background;   // a colour number: the background is painted in it
  Text bold;         // true or false
  Text italic;       // true or false
  Text border;       // true or false (a single line, or none), or a BorderStyle number
  bool empty() const {
    return suppress.empty() && fontColour.empty() && background.empty() && bold.empty() && italic.empty() &&
           border.empty();
  }
  UnknownFields unknown;
  bool operator==(const ObjectConditions&) const = default;
};

// Formulas of a section, evaluated where it would print; each true or false,
// and, when given, in place of the section's own yes/no.
struct SectionConditions {
  Text suppress;
  Text newPageBefore;
  Text newPageAfter;
  bool empty() const { return suppress.empty() && newPageBefore.empty() && newPageAfter.empty(); }
  UnknownFields unknown;
  bool operator==(const SectionConditions&) const = default;
};

struct ReportDefinition;

// Links a field of the main report to a field of the subreport: the
// subreport shows the rows whose field equals the main report's.
struct SubreportLink {
  FieldRef mainField;
  FieldRef subreportField;
  UnknownFields unknown;
  bool operator==(const SubreportLink&) const = default;
};

struct Subreport {
  Text name;
  std::vector<SubreportLink> links;
  Deep<ReportDefinition> definition;
  // On demand: the page shows a link in the object's place instead of the
  // rows, and the subreport runs, for that record's link values, only when
  // the reader opens the link in the viewer. Printed, the link is its text.
  bool onDemand = false;
  Text linkText;  // what the link says; empty: the subreport's name
  UnknownFields unknown;
  bool operator==(const Subreport&) const = default;
};

// Bytes that never change once made (a picture's file as it came), shared
// by every copy of the definition: copies and undo steps cost nothing, and
// exports recognise the same picture on every page by its address.
class SharedBytes {
 public:
  SharedBytes() = default;
  explicit SharedBytes(std::string bytes)
      : bytes_(bytes.empty() ? nullptr : std::make_shared<const std::string>(std::move(bytes))) {}
  std::string_view view() const { return bytes_ ? std::string_view(*bytes_) : std::string_view(); }
  std::size_t size() const { return bytes_ ? bytes_->size() : 0; }
  bool empty() const { return size() == 0; }
  const std::shared_ptr<const std::string>& shared() const { return bytes_; }
  bool operator==(const SharedBytes& other) const { return view() == other.view(); }

 private:
  std::shared_ptr<const std::string> bytes_;
};

// A picture object shows the image file kept in the report (PNG, JPEG, BMP
// or GIF), or, when there is none, the image held in the object's `field`
// on each record.
struct Picture {
  SharedBytes image;
  bool stretch = false;  // fill the frame; otherwise keep the aspect ratio, centred
  UnknownFields unknown;
  bool operator==(const Picture&) const = default;
};

struct ReportObject {
  ObjectKind kind = ObjectKind::Text;
  Text name;
  std::int32_t x = 0;  // twips from the section's top left corner
  std::int32_t y = 0;
  std::int32_t width = 1440;
  std::int32_t height = 240;
  Format format;
  // What the object shows; which of these counts depends on `kind`.
  Text text;                                              // Text
  FieldRef field;                                         // DatabaseField, SummaryField
  SpecialFieldKind special = SpecialFieldKind::PageNumber;  // SpecialField
  SummaryOperation summary = SummaryOperation::Sum;        // SummaryField
  std::int32_t summaryGroup = 0;  // SummaryField: 0 the whole report, n the n-th group (from 1)
  Text formula;                   // FormulaField: the formula's name; RunningTotalField: the running total's
  Subreport subreport;            // Subreport
  Picture picture;                // Picture
  ObjectConditions conditions;
  UnknownFields unknown;
  bool operator==(const ReportObject&) const = default;
};

struct Section {
  SectionKind kind = SectionKind::Details;
  std::int32_t group = 0;  // group headers and footers: the group's number, from 1
  Text name;
  std::int32_t height = 360;
  bool suppress = false;
  bool newPageAfter = false;
  std::vector<ReportObject> objects;
  SectionConditions conditions;
  UnknownFields unknown;
  // Printed on one page with the section that follows it from the same
  // record (a group header never left alone at the foot of a page).
  bool keepTogether = false;
  bool printAtBottom = false;         // pushed down to the foot of its page
  bool resetPageNumberAfter = false;  // the next page is numbered 1 again
  bool newPageBefore = false;         // starts a page, unless it starts one already
  bool operator==(const Section&) const = default;
};

struct LogOn {
  Text server;
  Text database;
  Text user;
  Text password;  // as given since the report was opened; never written
  UnknownFields unknown;
  bool operator==(const LogOn&) const = default;
};

struct Table {
  Text alias;  // the name the report's fields use
  DatabaseType type = DatabaseType::SqlTable;
  LogOn logOn;
  Text location;     // SQL: the table's name, as qualified as the database needs; text file: its path
  Text subLocation;  // SQL: the database the table is pointed at, which it reads; empty: the connection's own
  // SQL: where the table's database is and how to log on to it (read from
  // an OLE DB string, the host's "ODBC;..." text or an ODBC string, or given
  // as settings); not given: the report's own log-on. Stored as its text
  // without the password.
  DataSource connection;
  Text delimiter = u",";  // text files only
  bool headerRow = true;  // text files only: the first line names the columns
  UnknownFields unknown;
  bool operator==(const Table&) const = default;
};

struct TableLink {
  FieldRef from;
  FieldRef to;
  JoinType join = JoinType::Inner;
  UnknownFields unknown;
  bool operator==(const TableLink&) const = default;
};

struct SortField {
  FieldRef field;
  SortDirection direction = SortDirection::Ascending;
  UnknownFields unknown;
  bool operator==(const SortField&) const = default;
};

struct Group {
  FieldRef field;
  SortDirection direction = SortDirection::Ascending;
  UnknownFields unknown;
  bool operator==(const Group&) const = default;
};

struct Data {
  std::vector<Table> tables;
  std::vector<TableLink> links;
  Text recordFilter;  // a formula; empty: every record
  std::vector<SortField> sortFields;
  std::vector<Group> groups;  // outermost first
  UnknownFields unknown;
  bool operator==(const Data&) const = default;
};

struct Formula {
  Text name;
  Text text;
  UnknownFields unknown;
  bool operator==(const Formula&) const = default;
};

enum class ParameterType : std::int32_t {
  Text = 1,
  Number = 2,
  Currency = 3,
  Date = 4,
  DateTime = 5,
  Boolean = 6,  // yes/no
};

// A value the report asks for when it runs, used as {?Name} in formulas.
// Values are texts in one fixed form per type (parameters.h): numbers as
// "12.5", dates as "2024-01-31", date-times as "2024-01-31 14:30:00",
// yes/no as "True" or "False". The current values are the run's, given in
// the prompt; like passwords they are never written.
struct Parameter {
  Text name;
  ParameterType type = ParameterType::Text;
  Text prompt;  // the question the prompt shows; empty: the name
  bool range = false;  // from-to (numbers, currency, dates and date-times only)
  Text defaultValue;   // empty: none; a range's lower end
  Text defaultTo;      // a range's upper end
  std::vector<Text> allowedValues;  // typed in; empty: any value
  FieldRef allowedFrom;  // a column whose distinct values are allowed; no table: none
  // The run's values, not saved: set once the prompt has been answered.
  bool given = false;
  Text current;
  Text currentTo;
  UnknownFields unknown;
  bool operator==(const Parameter&) const = default;
};

// When a running total takes in the current record, and when it starts
// again from nothing (before taking in the record that starts it again).
enum class RunningTotalEvaluate : std::int32_t { EveryRecord = 0, OnChangeOfField = 1, OnFormula = 2 };
enum class RunningTotalReset : std::int32_t { Never = 0, OnChangeOfGroup = 1, OnFormula = 2 };

// A summary of a field taken record by record as the report prints: its
// value in any section is the value at the current record (in a group
// footer, at the group's last record). Formulas read it as {#Name}.
struct RunningTotal {
  Text name;
  FieldRef field;  // a table's column, or a formula
  SummaryOperation operation = SummaryOperation::Sum;
  RunningTotalEvaluate evaluate = RunningTotalEvaluate::EveryRecord;
  FieldRef evaluateField;  // OnChangeOfField: taken in when this field's value differs from the record before
  Text evaluateFormula;    // OnFormula: taken in when it gives true
  RunningTotalReset reset = RunningTotalReset::Never;
  std::int32_t resetGroup = 1;  // OnChangeOfGroup: the group's number, from 1 (one the report lacks: never)
  Text resetFormula;            // OnFormula: starts again when it gives true
  UnknownFields unknown;
  bool operator==(const RunningTotal&) const = default;
};

struct ReportDefinition {
  PageSetup page;
  std::vector<Section> sections;  // in printing order
  Data data;
  std::vector<Formula> formulas;
  std::vector<Parameter> parameters;
  std::vector<RunningTotal> runningTotals;
  UnknownFields unknown;
  bool operator==(const ReportDefinition&) const = default;
};

// A new report: report header, page header, details, page footer and report
// footer, on A4 portrait paper.
ReportDefinition blankReport();

// Adds a group as the innermost one, with its header just above the details
// and its footer just below them.
void addGroup(ReportDefinition& report, Group group);

// Whether the sections stand in printing order: report header, page header,
// group headers from the outermost in, details, group footers from the
// innermost out, page footer, report footer, with a header and a footer for
// each group of the data.
bool sectionsInOrder(const ReportDefinition& report);

}  // namespace mervane::engine::model
