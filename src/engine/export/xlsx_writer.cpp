// Workbooks as a zip of SpreadsheetML parts: the sheets streamed into the
// zip row by row, the parts that list them (workbook, relationships,
// content types, styles, properties) written once the last row is in.
#include "engine/export/xlsx_writer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <string_view>

#include "base/zip/zip_stream_writer.h"
#include "engine/export/report_records.h"
#include "engine/export/xml_text.h"

namespace mervane::engine::exporting {

namespace {

using layout::ValueType;

constexpr std::size_t kFlushAt = 64 * 1024;
constexpr const char* kMainNs = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
constexpr const char* kRelNs = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
constexpr const char* kXmlHead = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";

// A cell's text keeps its line breaks.
void appendEscaped(std::string& out, std::string_view utf8) { appendXmlEscaped(out, utf8, true); }

std::string escaped(TextView text) {
  std::string out;
  appendEscaped(out, toUtf8(text));
  return out;
}

void appendColumnName(std::string& out, int column) {  // 0 is A
  char letters[4];
  int n = 0;
  for (int c = column + 1; c > 0; c = (c - 1) / 26) letters[n++] = static_cast<char>('A' + (c - 1) % 26);
  while (n > 0) out += letters[--n];
}

void appendNumber(std::string& out, double value) {
  char buffer[32];
  auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
  out.append(buffer, end);
}

// Literal text in a number format: quoted, a quote itself escaped.
void appendLiteral(std::string& out, TextView text) {
  std::string utf8 = toUtf8(text);
  std::size_t i = 0;
  while (i < utf8.size()) {
    if (utf8[i] == '"') {
      out += "\\\"";
      ++i;
      continue;
    }
    std::size_t next = utf8.find('"', i);
    if (next == std::string::npos) next = utf8.size();
    out += '"' + utf8.substr(i, next - i) + '"';
    i = next;
  }
}

// An Excel serial date for the engine's day count: the same origin, less
// one before 1 March 1900 (Excel counts a 29 February 1900 that never was).
// Nothing before 1 January 1900, which Excel cannot show.
std::optional<double> excelSerial(double days) {
  if (days < 2) return std::nullopt;
  return days < 61 ? days - 1 : days;
}

struct Cell {
  int column = 0;
  ValueType type = ValueType::Text;
  double number = 0;
  Text text;
  int style = 0;
};

class Workbook {
 public:
  Workbook(std::ostream& out, const XlsxOptions& options, std::vector<double> widths, int frozenRows)
      : zip_(out, 1), options_(options), widths_(std::move(widths)), frozenRows_(frozenRows) {
    styleKeys_.emplace("0|0", 0);
    styles_.push_back({0, false});
    beginSheet();
  }

  // The style of cells of that type, pattern and weight.
  int style(ValueType type, TextView pattern, bool withTime, bool bold) {
    std::string format = type == ValueType::Number ? excelNumberFormat(pattern)
                         : type == ValueType::Date ? excelDateFormat(pattern, withTime)
                                                   : std::string("General");
    std::string key = format + '|' + (bold ? '1' : '0');
    if (format == "General") key = std::string("0|") + (bold ? '1' : '0');
    auto found = styleKeys_.find(key);
    if (found != styleKeys_.end()) return found->second;
    int formatId = 0;
    if (format != "General") {
      auto known = std::find(formats_.begin(), formats_.end(), format);
      formatId = 164 + static_cast<int>(known - formats_.begin());
      if (known == formats_.end()) formats_.push_back(format);
    }
    styles_.push_back({formatId, bold});
    const int index = static_cast<int>(styles_.size()) - 1;
    styleKeys_.emplace(key, index);
    return index;
  }

  // A row of cells ordered by column; a new sheet when this one is full,
  // headed by `repeated` rows again.
  void row(const std::vector<Cell>& cells) {
    if (rowsInSheet_ >= options_.rowsPerSheet) {
      endSheet();
      beginSheet();
      for (const auto& heading : headings_) writeRow(heading);
    }
    writeRow(cells);
  }
  // Rows that open every further sheet as well (the headings).
  void heading(const std::vector<Cell>& cells) {
    headings_.push_back(cells);
    row(cells);
  }

  void finish() {
    endSheet();
    writeParts();
    zip_.finish();
  }

 private:
  struct Style {
    int format = 0;
    bool bold = false;
  };

  void writeRow(const std::vector<Cell>& cells) {
    ++rowsInSheet_;
    xml_ += "<row>";
    int expected = 0;
    for (const Cell& cell : cells) {
      std::optional<double> number;
      if (cell.type == ValueType::Number && std::isfinite(cell.number)) number = cell.number;
      if (cell.type == ValueType::Date) number = excelSerial(cell.number);
      const bool asText = !number;
      if (asText && cell.text.empty()) continue;
      xml_ += "<c";
      if (cell.column != expected) {  // readers count on from the last cell otherwise
        xml_ += " r=\"";
        appendColumnName(xml_, cell.column);
        xml_ += std::to_string(rowsInSheet_);
        xml_ += '"';
      }
      expected = cell.column + 1;
      if (cell.style) {
        xml_ += " s=\"";
        xml_ += std::to_string(cell.style);
        xml_ += '"';
      }
      if (asText) {
        const std::string utf8 = toUtf8(cell.text);
        const bool keepBlanks = utf8.front() == ' ' || utf8.back() == ' ';
        xml_ += keepBlanks ? " t=\"inlineStr\"><is><t xml:space=\"preserve\">" : " t=\"inlineStr\"><is><t>";
        appendEscaped(xml_, utf8);
        xml_ += "</t></is></c>";
      } else {
        xml_ += "><v>";
        appendNumber(xml_, *number);
        xml_ += "</v></c>";
      }
    }
    xml_ += "</row>";
    if (xml_.size() >= kFlushAt) flush();
  }

  void flush() {
    zip_.write(xml_);
    xml_.clear();
  }

  void beginSheet() {
    ++sheets_;
    rowsInSheet_ = 0;
    zip_.begin("xl/worksheets/sheet" + std::to_string(sheets_) + ".xml");
    xml_ += kXmlHead;
    xml_ += "<worksheet xmlns=\"";
    xml_ += kMainNs;
    xml_ += "\" xmlns:r=\"";
    xml_ += kRelNs;
    xml_ += "\">";
    if (frozenRows_ > 0) {
      xml_ += "<sheetViews><sheetView workbookViewId=\"0\"><pane ySplit=\"" + std::to_string(frozenRows_) +
              "\" topLeftCell=\"A" + std::to_string(frozenRows_ + 1) +
              "\" activePane=\"bottomLeft\" state=\"frozen\"/></sheetView></sheetViews>";
    }
    if (!widths_.empty()) {
      xml_ += "<cols>";
      for (std::size_t i = 0; i < widths_.size(); ++i) {
        xml_ += "<col min=\"" + std::to_string(i + 1) + "\" max=\"" + std::to_string(i + 1) + "\" width=\"";
        appendNumber(xml_, widths_[i]);
        xml_ += "\" customWidth=\"1\"/>";
      }
      xml_ += "</cols>";
    }
    xml_ += "<sheetData>";
  }

  void endSheet() {
    xml_ += "</sheetData></worksheet>";
    flush();
    zip_.end();
  }

  std::string sheetName(int sheet) const {
    Text name;
    for (char16_t c : options_.title.empty() ? Text(u"Report") : options_.title)
      if (std::u16string_view(u"[]:*?/\\").find(c) == std::u16string_view::npos && c >= 0x20) name += c;
    name = trim(name);
    if (name.empty()) name = u"Report";
    Text suffix = sheet > 1 ? u" (" + decimal(sheet) + u")" : Text();
    // 31 characters at most, the sheet's number kept.
    if (name.size() + suffix.size() > 31) name.resize(31 - suffix.size());
    if (!name.empty() && (name.back() >= 0xD800 && name.back() <= 0xDBFF)) name.pop_back();
    return escaped(name + suffix);
  }

  void part(const std::string& name, const std::string& content) {
    zip_.begin(name);
    zip_.write(content);
    zip_.end();
  }

  void writeParts() {
    std::string types = std::string(kXmlHead) +
                        "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
                        "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
                        "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
                        "<Override PartName=\"/xl/workbook.xml\" ContentType=\"application/"
                        "vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"/>"
                        "<Override PartName=\"/xl/styles.xml\" ContentType=\"application/"
                        "vnd.openxmlformats-officedocument.spreadsheetml.styles+xml\"/>"
                        "<Override PartName=\"/docProps/core.xml\" ContentType=\"application/"
                        "vnd.openxmlformats-package.core-properties+xml\"/>";
    std::string sheets, rels = std::string(kXmlHead) +
                               "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
    for (int i = 1; i <= sheets_; ++i) {
      const std::string n = std::to_string(i);
      types += "<Override PartName=\"/xl/worksheets/sheet" + n +
               ".xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml\"/>";
      sheets += "<sheet name=\"" + sheetName(i) + "\" sheetId=\"" + n + "\" r:id=\"rId" + n + "\"/>";
      rels += "<Relationship Id=\"rId" + n +
              "\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet\" "
              "Target=\"worksheets/sheet" + n + ".xml\"/>";
    }
    types += "</Types>";
    rels += "<Relationship Id=\"rId" + std::to_string(sheets_ + 1) +
            "\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles\" "
            "Target=\"styles.xml\"/></Relationships>";
    part("[Content_Types].xml", types);
    part("_rels/.rels",
         std::string(kXmlHead) +
             "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
             "<Relationship Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/"
             "officeDocument\" Target=\"xl/workbook.xml\"/>"
             "<Relationship Id=\"rId2\" Type=\"http://schemas.openxmlformats.org/package/2006/relationships/metadata/"
             "core-properties\" Target=\"docProps/core.xml\"/></Relationships>");
    part("xl/workbook.xml", std::string(kXmlHead) + "<workbook xmlns=\"" + kMainNs + "\" xmlns:r=\"" + kRelNs +
                                "\"><sheets>" + sheets + "</sheets></workbook>");
    part("xl/_rels/workbook.xml.rels", rels);
    part("xl/styles.xml", stylesPart());
    part("docProps/core.xml",
         std::string(kXmlHead) +
             "<cp:coreProperties xmlns:cp=\"http://schemas.openxmlformats.org/package/2006/metadata/core-properties\" "
             "xmlns:dc=\"http://purl.org/dc/elements/1.1/\"><dc:title>" + escaped(options_.title) +
             "</dc:title></cp:coreProperties>");
  }

  std::string stylesPart() const {
    std::string s = std::string(kXmlHead) + "<styleSheet xmlns=\"" + kMainNs + "\">";
    if (!formats_.empty()) {
      s += "<numFmts count=\"" + std::to_string(formats_.size()) + "\">";
      for (std::size_t i = 0; i < formats_.size(); ++i) {
        s += "<numFmt numFmtId=\"" + std::to_string(164 + i) + "\" formatCode=\"";
        appendEscaped(s, formats_[i]);
        s += "\"/>";
      }
      s += "</numFmts>";
    }
    s += "<fonts count=\"2\"><font><sz val=\"10\"/><name val=\"Arial\"/></font>"
         "<font><b/><sz val=\"10\"/><name val=\"Arial\"/></font></fonts>"
         "<fills count=\"2\"><fill><patternFill patternType=\"none\"/></fill>"
         "<fill><patternFill patternType=\"gray125\"/></fill></fills>"
         "<borders count=\"1\"><border><left/><right/><top/><bottom/><diagonal/></border></borders>"
         "<cellStyleXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"/></cellStyleXfs>";
    s += "<cellXfs count=\"" + std::to_string(styles_.size()) + "\">";
    for (const Style& style : styles_) {
      s += "<xf numFmtId=\"" + std::to_string(style.format) + "\" fontId=\"" + (style.bold ? "1" : "0") +
           "\" fillId=\"0\" borderId=\"0\" xfId=\"0\"";
      if (style.format) s += " applyNumberFormat=\"1\"";
      if (style.bold) s += " applyFont=\"1\"";
      s += "/>";
    }
    s += "</cellXfs><cellStyles count=\"1\"><cellStyle name=\"Normal\" xfId=\"0\" builtinId=\"0\"/></cellStyles>"
         "</styleSheet>";
    return s;
  }

  zip::StreamWriter zip_;
  const XlsxOptions& options_;
  std::vector<double> widths_;
  int frozenRows_ = 0;
  std::string xml_;
  int sheets_ = 0;
  std::int64_t rowsInSheet_ = 0;
  std::vector<std::vector<Cell>> headings_;
  std::map<std::string, int> styleKeys_;
  std::vector<Style> styles_;
  std::vector<std::string> formats_;
};

// Twips as Excel's column width (characters of a 10-point digit).
double columnWidth(std::int32_t twips) { return std::clamp(std::round(twips / 105.0 * 10) / 10, 2.0, 100.0); }

bool hasTime(double days) { return days != std::floor(days); }

// --- As printed -----------------------------------------------------------

// Runs closer than this across the page stand in one column.
constexpr std::int32_t kColumnSlack = 60;

struct Columns {
  std::vector<std::int32_t> edges;  // left edges, left to right
  std::vector<double> widths;

  // From the runs of the first page: each distinct left edge opens a column.
  explicit Columns(const layout::Page& page) {
    std::vector<std::pair<std::int32_t, std::int32_t>> lefts;  // x, width
    for (const auto& item : page.items)
      if (const auto* run = std::get_if<layout::TextRun>(&item)) lefts.emplace_back(run->box.x, run->box.width);
    std::sort(lefts.begin(), lefts.end());
    std::int32_t right = 0;
    for (const auto& [x, width] : lefts) {
      if (edges.empty() || x - edges.back() > kColumnSlack) {
        if (!edges.empty()) widths.push_back(columnWidth(x - edges.back()));
        edges.push_back(x);
        right = x + width;
      } else {
        right = std::max(right, x + width);
      }
    }
    if (!edges.empty()) widths.push_back(columnWidth(right - edges.back()));
  }

  int of(std::int32_t x) const {
    auto after = std::upper_bound(edges.begin(), edges.end(), x + kColumnSlack);
    return after == edges.begin() ? 0 : static_cast<int>(after - edges.begin()) - 1;
  }
};

class PrintedRows {
 public:
  PrintedRows(Workbook& book, const Columns& columns) : book_(book), columns_(columns) {}

  // The runs of one page that belong in the sheet, line by line.
  void page(std::vector<const layout::TextRun*> runs) {
    std::stable_sort(runs.begin(), runs.end(), [](const auto* a, const auto* b) {
      return a->box.y != b->box.y ? a->box.y < b->box.y : a->box.x < b->box.x;
    });
    std::size_t i = 0;
    while (i < runs.size()) {
      // A line: the runs that start before the first one's middle.
      const std::int32_t middle = runs[i]->box.y + std::max(1, runs[i]->box.height / 2);
      std::size_t end = i;
      while (end < runs.size() && runs[end]->box.y < middle) ++end;
      std::vector<const layout::TextRun*> line(runs.begin() + static_cast<std::ptrdiff_t>(i),
                                               runs.begin() + static_cast<std::ptrdiff_t>(end));
      std::stable_sort(line.begin(), line.end(), [](const auto* a, const auto* b) { return a->box.x < b->box.x; });
      writeLine(line);
      i = end;
    }
  }

 private:
  void writeLine(const std::vector<const layout::TextRun*>& line) {
    cells_.clear();
    for (const auto* run : line) {
      if (run->text.empty()) continue;
      const int column = columns_.of(run->box.x);
      if (!cells_.empty() && cells_.back().column >= column) {  // two objects in one column: one text
        Cell& cell = cells_.back();
        cell.type = ValueType::Text;
        cell.text += u' ';
        cell.text += run->text;
        continue;
      }
      Cell cell;
      cell.column = column;
      cell.type = run->type;
      cell.number = run->value;
      cell.text = run->text;
      cell.style = book_.style(run->type, run->pattern, run->type == ValueType::Date && hasTime(run->value),
                               run->font.bold);
      cells_.push_back(std::move(cell));
    }
    if (!cells_.empty()) book_.row(cells_);
  }

  Workbook& book_;
  const Columns& columns_;
  std::vector<Cell> cells_;
};

}  // namespace

std::string excelNumberFormat(TextView pattern) {
  auto isPatternChar = [](char16_t c) { return c == u'#' || c == u'0' || c == u',' || c == u'.'; };
  std::size_t begin = 0;
  while (begin < pattern.size() && !isPatternChar(pattern[begin])) ++begin;
  std::size_t end = begin;
  while (end < pattern.size() && isPatternChar(pattern[end])) ++end;
  if (begin == end) return "General";
  const TextView run = pattern.substr(begin, end - begin);
  const std::size_t point = run.find(u'.');
  int decimals = 0, minimumDigits = 0;
  bool grouping = false;
  for (std::size_t i = 0; i < run.size(); ++i) {
    if (point != TextView::npos && i > point) {
      if (run[i] == u'0' || run[i] == u'#') ++decimals;
    } else if (run[i] == u'0') {
      ++minimumDigits;
    } else if (run[i] == u',') {
      grouping = true;
    }
  }
  std::string out;
  appendLiteral(out, pattern.substr(0, begin));
  std::string zeros(static_cast<std::size_t>(std::min(minimumDigits, 30)), '0');
  out += grouping ? "#,##" + (zeros.empty() ? std::string("#") : zeros) : (zeros.empty() ? std::string("#") : zeros);
  if (decimals > 0) out += "." + std::string(static_cast<std::size_t>(std::min(decimals, 15)), '0');
  appendLiteral(out, pattern.substr(end));
  return out;
}

std::string excelDateFormat(TextView pattern, bool withTime) {
  if (pattern.empty()) return withTime ? "yyyy-mm-dd hh:mm:ss" : "yyyy-mm-dd";
  std::string out;
  const bool twelveHours = pattern.find(u"tt") != TextView::npos;
  std::size_t i = 0;
  while (i < pattern.size()) {
    const char16_t c = pattern[i];
    std::size_t n = 1;
    while (i + n < pattern.size() && pattern[i + n] == c) ++n;
    switch (c) {
      case u'y': out += n >= 4 ? "yyyy" : "yy"; break;
      case u'M': out += std::string(std::min<std::size_t>(n, 4), 'm'); break;
      case u'd': out += n >= 2 ? "dd" : "d"; break;
      case u'H':
      case u'h': out += n >= 2 ? "hh" : "h"; break;
      case u'm': out += n >= 2 ? "mm" : "m"; break;
      case u's': out += n >= 2 ? "ss" : "s"; break;
      case u't': out += "AM/PM"; n = std::min<std::size_t>(n, 2); break;
      case u'\'': {
        const std::size_t close = pattern.find(u'\'', i + 1);
        const std::size_t stop = close == TextView::npos ? pattern.size() : close;
        appendLiteral(out, pattern.substr(i + 1, stop - i - 1));
        n = stop - i + (close == TextView::npos ? 0 : 1);
        break;
      }
      default:
        n = 1;
        if (c == u'"') {
          out += "\\\"";
        } else if (c < 0x80 && std::string_view("-/:., ()").find(static_cast<char>(c)) != std::string_view::npos) {
          out += static_cast<char>(c);  // separators Excel shows as they are
        } else if (c < 0x80 && !std::isalnum(static_cast<int>(c))) {
          out += '\\';
          out += static_cast<char>(c);
        } else {
          appendLiteral(out, pattern.substr(i, 1));
        }
    }
    i += n;
  }
  (void)twelveHours;  // Excel reads h as the 12-hour clock wherever AM/PM appears, as the report does
  return out;
}

bool writeXlsxAsPrinted(const PageFeed& pages, std::ostream& out, const Progress& progress,
                        const XlsxOptions& options) {
  std::shared_ptr<const layout::Page> page = pages(1);
  const Columns columns = page ? Columns(*page) : Columns(layout::Page{});
  Workbook book(out, options, columns.widths, 0);
  PrintedRows rows(book, columns);
  std::vector<const layout::TextRun*> footer;
  std::shared_ptr<const layout::Page> footerPage;
  for (std::int32_t number = 1; page; page = pages(++number)) {
    std::vector<const layout::TextRun*> body;
    footer.clear();
    for (const auto& item : page->items)
      if (const auto* run = std::get_if<layout::TextRun>(&item)) {
        if (run->section == model::SectionKind::PageFooter)
          footer.push_back(run);
        else if (number == 1 || run->section != model::SectionKind::PageHeader)
          body.push_back(run);
      }
    rows.page(std::move(body));
    footerPage = page;  // keeps the last footer's runs alive
    if (progress && !progress(number)) return false;
  }
  rows.page(footer);
  book.finish();
  return true;
}

bool writeXlsxData(const ReportDocument& document, data::DataProvider& data, std::ostream& out,
                   const RecordProgress& progress, const XlsxOptions& options) {
  ReportRecords records(document, data);
  const auto& fields = records.fields();
  std::vector<double> widths;
  for (const auto& field : fields) widths.push_back(columnWidth(field.width));
  Workbook book(out, options, widths, 1);
  std::vector<Cell> cells(fields.size());
  for (std::size_t i = 0; i < fields.size(); ++i) {
    cells[i].column = static_cast<int>(i);
    cells[i].text = fields[i].heading;
    cells[i].style = book.style(ValueType::Text, {}, false, true);
  }
  book.heading(cells);
  // Styles per field, for numbers and for dates with and without a time.
  std::vector<int> numberStyle(fields.size()), dateStyle(fields.size()), dateTimeStyle(fields.size());
  for (std::size_t i = 0; i < fields.size(); ++i) {
    numberStyle[i] = book.style(ValueType::Number, fields[i].format.numberFormat, false, false);
    dateStyle[i] = book.style(ValueType::Date, fields[i].format.dateFormat, false, false);
    dateTimeStyle[i] = book.style(ValueType::Date, fields[i].format.dateFormat, true, false);
  }
  std::vector<formula::Value> values;
  std::int64_t done = 0;
  while (records.next(values)) {
    for (std::size_t i = 0; i < fields.size(); ++i) {
      Cell& cell = cells[i];
      const formula::Value& value = values[i];
      cell.text.clear();
      cell.style = 0;
      switch (value.kind()) {
        case formula::ValueKind::Number:
          cell.type = ValueType::Number;
          cell.number = value.number();
          cell.style = numberStyle[i];
          break;
        case formula::ValueKind::Date:
          cell.type = ValueType::Date;
          cell.number = value.date().days;
          cell.style = hasTime(cell.number) ? dateTimeStyle[i] : dateStyle[i];
          cell.text = formula::toText(value);  // before 1900, which Excel cannot show as a date
          break;
        case formula::ValueKind::Text:
          cell.type = ValueType::Text;
          cell.text = value.text();
          break;
        default:
          cell.type = ValueType::Text;
          cell.text = formula::toText(value);
      }
    }
    book.row(cells);
    if (++done % 1000 == 0 && progress && !progress(done)) {
      records.cancel();
      return false;
    }
  }
  if (progress && done % 1000 != 0) progress(done);  // the count at the end, whatever it is
  book.finish();
  return true;
}

}  // namespace mervane::engine::exporting
