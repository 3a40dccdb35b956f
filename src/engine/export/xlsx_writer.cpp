// Workbooks as a zip of SpreadsheetML parts: the sheets streamed into the
// zip row by row, the parts that list them (workbook, relationships,
// content types, styles, properties) written once the last row is in.
// Pictures are a sheet's drawing: its anchors gathered while its rows are
// written, the drawing and the picture files it is the first to use written
// after the sheet.
#include "engine/export/xlsx_writer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <string_view>

#include <zlib.h>

#include "base/zip/zip_stream_writer.h"
#include "engine/export/report_records.h"
#include "engine/export/xml_text.h"
#include "engine/layout/picture.h"

namespace mervane::engine::exporting {

namespace {

using layout::ValueType;

constexpr std::size_t kFlushAt = 64 * 1024;
constexpr const char* kMainNs = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
constexpr const char* kRelNs = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
constexpr const char* kPackageRelNs = "http://schemas.openxmlformats.org/package/2006/relationships";
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

constexpr std::int64_t kEmuPerTwip = 635;

// A picture placed in the row it is handed over with: its column, how far
// into that column it starts and its size (twips), and its file in
// xl/media (from 1).
struct Anchor {
  int column = 0;
  std::int32_t columnOffset = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  int media = 0;
  std::int64_t row = 0;  // from 0; the workbook fills it in
};

// The picture files Excel reads as they are, by their file name's ending.
const char* mediaExtension(layout::PictureFormat format) {
  switch (format) {
    case layout::PictureFormat::Png: return "png";
    case layout::PictureFormat::Jpeg: return "jpeg";
    case layout::PictureFormat::Gif: return "gif";
    case layout::PictureFormat::Bmp: return "bmp";
    default: return nullptr;
  }
}

// Picture files told apart by content: their size and two unrelated
// checksums, so that equal bytes from different records are stored once
// without keeping the bytes of every file seen.
struct Digest {
  std::size_t size = 0;
  std::uint32_t crc = 0;
  std::uint64_t fnv = 0;
  auto operator<=>(const Digest&) const = default;
};

Digest digestOf(std::string_view bytes) {
  Digest d{bytes.size(), static_cast<std::uint32_t>(::crc32(0L, Z_NULL, 0)), 14695981039346656037ull};
  for (std::size_t at = 0; at < bytes.size(); at += 1u << 30) {
    const std::size_t n = std::min<std::size_t>(bytes.size() - at, 1u << 30);
    d.crc = static_cast<std::uint32_t>(::crc32(d.crc, reinterpret_cast<const Bytef*>(bytes.data() + at),
                                               static_cast<uInt>(n)));
  }
  for (unsigned char c : bytes) d.fnv = (d.fnv ^ c) * 1099511628211ull;
  return d;
}

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

  // A row of cells ordered by column, and the pictures that start in it; a
  // new sheet when this one is full, headed by the headings again.
  void row(const std::vector<Cell>& cells, const std::vector<Anchor>& pictures = {}) {
    if (rowsInSheet_ + gap_ >= options_.rowsPerSheet) {
      endSheet();
      beginSheet();
      for (const auto& heading : headings_) writeRow(heading);
    }
    rowsInSheet_ += gap_;
    numberNext_ = numberNext_ || gap_ > 0;
    gap_ = 0;
    writeRow(cells);
    for (Anchor anchor : pictures) {
      anchor.row = rowsInSheet_ - 1;
      anchors_.push_back(anchor);
    }
  }
  // Leaves `count` rows empty before the next one.
  void skip(std::int64_t count) { gap_ += std::max<std::int64_t>(0, count); }
  // The sheet (from 1) and row (from 0) the next row goes in, unless that
  // sheet is full.
  int sheet() const { return sheets_; }
  std::int64_t nextRow() const { return rowsInSheet_ + gap_; }

  // The media file (from 1) of a picture's file, each distinct file stored
  // once; 0 for a file Excel does not read as a picture.
  int media(const std::shared_ptr<const std::string>& file) {
    if (!file || file->empty()) return 0;
    // The same picture on every page comes with the same bytes: known by
    // their address without reading them again.
    if (auto seen = recentMedia_.find(file.get()); seen != recentMedia_.end()) return seen->second.second;
    int number = 0;
    if (const char* extension = mediaExtension(layout::readPictureHeader(*file).format)) {
      auto [known, added] = mediaByDigest_.emplace(digestOf(*file), 0);
      if (added) {
        known->second = ++mediaFiles_;
        pendingMedia_.push_back({known->second, extension, file});
        mediaExtensions_.push_back(extension);
      }
      number = known->second;
    }
    if (recentMedia_.size() >= 64) recentMedia_.clear();
    recentMedia_.emplace(file.get(), std::pair(file, number));
    return number;
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
    if (cells.empty()) {  // a row for pictures only: nothing written, the next one numbered
      numberNext_ = true;
      return;
    }
    if (numberNext_) {
      xml_ += "<row r=\"" + std::to_string(rowsInSheet_) + "\">";
      numberNext_ = false;
    } else {
      xml_ += "<row>";
    }
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
    gap_ = 0;
    numberNext_ = false;
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
    xml_ += "</sheetData>";
    if (!anchors_.empty()) xml_ += "<drawing r:id=\"rId1\"/>";
    xml_ += "</worksheet>";
    flush();
    zip_.end();
    if (!anchors_.empty()) writeDrawing();
    for (const auto& media : pendingMedia_) {
      zip_.begin("xl/media/image" + std::to_string(media.number) + "." + media.extension);
      zip_.write(*media.file);
      zip_.end();
    }
    pendingMedia_.clear();
  }

  // The sheet's drawing: one anchor per picture, each file related once.
  void writeDrawing() {
    const std::string n = std::to_string(sheets_);
    drawingSheets_.push_back(sheets_);
    part("xl/worksheets/_rels/sheet" + n + ".xml.rels",
         std::string(kXmlHead) + "<Relationships xmlns=\"" + kPackageRelNs +
             "\"><Relationship Id=\"rId1\" Type=\"" + kRelNs + "/drawing\" Target=\"../drawings/drawing" + n +
             ".xml\"/></Relationships>");
    std::map<int, int> relOf;  // media file -> relationship number
    zip_.begin("xl/drawings/drawing" + n + ".xml");
    xml_ += kXmlHead;
    xml_ += "<xdr:wsDr xmlns:xdr=\"http://schemas.openxmlformats.org/drawingml/2006/spreadsheetDrawing\" "
            "xmlns:a=\"http://schemas.openxmlformats.org/drawingml/2006/main\" xmlns:r=\"";
    xml_ += kRelNs;
    xml_ += "\">";
    int id = 0;
    for (const Anchor& anchor : anchors_) {
      const int rel = relOf.emplace(anchor.media, static_cast<int>(relOf.size()) + 1).first->second;
      const std::string cx = std::to_string(anchor.width * kEmuPerTwip), cy = std::to_string(anchor.height * kEmuPerTwip);
      const std::string number = std::to_string(++id);
      xml_ += "<xdr:oneCellAnchor><xdr:from><xdr:col>" + std::to_string(anchor.column) + "</xdr:col><xdr:colOff>" +
              std::to_string(anchor.columnOffset * kEmuPerTwip) + "</xdr:colOff><xdr:row>" +
              std::to_string(anchor.row) + "</xdr:row><xdr:rowOff>0</xdr:rowOff></xdr:from><xdr:ext cx=\"" + cx +
              "\" cy=\"" + cy + "\"/><xdr:pic><xdr:nvPicPr><xdr:cNvPr id=\"" + number + "\" name=\"Picture " +
              number + "\"/><xdr:cNvPicPr><a:picLocks noChangeAspect=\"1\"/></xdr:cNvPicPr></xdr:nvPicPr>"
              "<xdr:blipFill><a:blip r:embed=\"rId" + std::to_string(rel) +
              "\"/><a:stretch><a:fillRect/></a:stretch></xdr:blipFill><xdr:spPr><a:xfrm><a:off x=\"0\" y=\"0\"/>"
              "<a:ext cx=\"" + cx + "\" cy=\"" + cy +
              "\"/></a:xfrm><a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom></xdr:spPr></xdr:pic>"
              "<xdr:clientData/></xdr:oneCellAnchor>";
      if (xml_.size() >= kFlushAt) flush();
    }
    xml_ += "</xdr:wsDr>";
    flush();
    zip_.end();
    anchors_.clear();
    std::string rels = std::string(kXmlHead) + "<Relationships xmlns=\"" + kPackageRelNs + "\">";
    for (const auto& [media, rel] : relOf) {
      rels += "<Relationship Id=\"rId" + std::to_string(rel) + "\" Type=\"" + kRelNs + "/image\" Target=\"../media/image" +
              std::to_string(media) + "." + mediaExtensions_[static_cast<std::size_t>(media) - 1] + "\"/>";
    }
    part("xl/drawings/_rels/drawing" + n + ".xml.rels", rels + "</Relationships>");
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
    const std::pair<const char*, const char*> pictureTypes[] = {
        {"png", "image/png"}, {"jpeg", "image/jpeg"}, {"gif", "image/gif"}, {"bmp", "image/bmp"}};
    for (const auto& [extension, type] : pictureTypes)
      if (std::find(mediaExtensions_.begin(), mediaExtensions_.end(), std::string_view(extension)) !=
          mediaExtensions_.end())
        types += std::string("<Default Extension=\"") + extension + "\" ContentType=\"" + type + "\"/>";
    for (int sheet : drawingSheets_)
      types += "<Override PartName=\"/xl/drawings/drawing" + std::to_string(sheet) +
               ".xml\" ContentType=\"application/vnd.openxmlformats-officedocument.drawing+xml\"/>";
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
  std::int64_t gap_ = 0;       // empty rows before the next
  bool numberNext_ = false;    // the next row says its number (rows were left out before it)
  std::vector<std::vector<Cell>> headings_;
  // Pictures: the anchors of this sheet, the files first used in it (written
  // after it), every file's digest and ending, the sheets with a drawing.
  struct PendingMedia {
    int number = 0;
    const char* extension = nullptr;
    std::shared_ptr<const std::string> file;
  };
  std::vector<Anchor> anchors_;
  std::vector<PendingMedia> pendingMedia_;
  int mediaFiles_ = 0;
  std::map<Digest, int> mediaByDigest_;
  std::vector<const char*> mediaExtensions_;
  std::map<const std::string*, std::pair<std::shared_ptr<const std::string>, int>> recentMedia_;
  std::vector<int> drawingSheets_;
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

  // The column a picture starting at x lies in by the sheet's widths, and
  // how far into it (twips); past the last column, columns of Excel's own
  // width.
  std::pair<int, std::int32_t> place(std::int32_t x) const {
    std::int32_t left = edges.empty() ? 0 : edges.front();
    if (x <= left) return {0, 0};
    for (int column = 0;; ++column) {
      const auto i = static_cast<std::size_t>(column);
      const std::int32_t width =
          i < widths.size() ? static_cast<std::int32_t>(std::lround(widths[i] * kTwipsPerCharacter)) : kDefaultWidth;
      if (x < left + width || column >= 16383) return {column, std::min(x - left, width)};
      left += width;
    }
  }

  static constexpr double kTwipsPerCharacter = 105;  // see columnWidth
  static constexpr std::int32_t kDefaultWidth = 960;  // 64 pixels
};

// A sheet row's height (twips) at the workbook's 10-point font: how many
// rows a picture covers.
constexpr std::int32_t kRowTwips = 255;

class PrintedRows {
 public:
  PrintedRows(Workbook& book, const Columns& columns) : book_(book), columns_(columns) {}

  // The runs and pictures of one page that belong in the sheet, line by
  // line. A picture starts in the row of the line it starts beside, or in
  // a row of its own when it ends above the next line; lines printed below
  // it come after the rows it covers.
  void page(std::vector<const layout::TextRun*> runs, std::vector<const layout::ImageItem*> images = {}) {
    std::stable_sort(runs.begin(), runs.end(), [](const auto* a, const auto* b) {
      return a->box.y != b->box.y ? a->box.y < b->box.y : a->box.x < b->box.x;
    });
    std::stable_sort(images.begin(), images.end(), [](const auto* a, const auto* b) { return a->box.y < b->box.y; });
    std::size_t i = 0, nextImage = 0;
    while (i < runs.size()) {
      // A line: the runs that start before the first one's middle.
      const std::int32_t top = runs[i]->box.y;
      const std::int32_t middle = top + std::max(1, runs[i]->box.height / 2);
      std::size_t end = i;
      while (end < runs.size() && runs[end]->box.y < middle) ++end;
      std::vector<const layout::TextRun*> line(runs.begin() + static_cast<std::ptrdiff_t>(i),
                                               runs.begin() + static_cast<std::ptrdiff_t>(end));
      std::stable_sort(line.begin(), line.end(), [](const auto* a, const auto* b) { return a->box.x < b->box.x; });
      std::vector<const layout::ImageItem*> above, beside;
      for (; nextImage < images.size() && images[nextImage]->box.y < middle; ++nextImage)
        (images[nextImage]->box.y + images[nextImage]->box.height <= top ? above : beside).push_back(images[nextImage]);
      if (!above.empty()) pictureRow(above);
      writeLine(line, beside, top);
      i = end;
    }
    if (nextImage < images.size())
      pictureRow({images.begin() + static_cast<std::ptrdiff_t>(nextImage), images.end()});
    clearBelow_ = INT32_MIN;  // on the next page, every line is below
  }

 private:
  // Pictures with no line beside them: a row of their own.
  void pictureRow(const std::vector<const layout::ImageItem*>& images) {
    keepClear(images.front()->box.y);
    std::int32_t bottom = INT32_MIN;
    std::vector<Anchor> anchors = anchorsOf(images, bottom);
    if (anchors.empty()) return;
    book_.row({}, anchors);
    cover(anchors, bottom);
  }

  // The pictures Excel can show; `bottom` the lowest edge of those on the page.
  std::vector<Anchor> anchorsOf(const std::vector<const layout::ImageItem*>& images, std::int32_t& bottom) {
    std::vector<Anchor> anchors;
    for (const auto* image : images) {
      if (image->box.width <= 0 || image->box.height <= 0) continue;
      const int media = book_.media(image->file);
      if (!media) continue;  // not a file Excel shows: left out
      const auto [column, offset] = columns_.place(image->box.x);
      anchors.push_back({column, offset, image->box.width, image->box.height, media});
      bottom = std::max(bottom, image->box.y + image->box.height);
    }
    return anchors;
  }

  // After pictures start in the row just written: the rows they cover.
  void cover(const std::vector<Anchor>& anchors, std::int32_t bottom) {
    const std::int64_t row = book_.nextRow() - 1;
    if (clearSheet_ != book_.sheet()) clearRow_ = -1;
    clearSheet_ = book_.sheet();
    for (const Anchor& anchor : anchors)
      clearRow_ = std::max(clearRow_, row + (anchor.height + kRowTwips - 1) / kRowTwips);
    clearBelow_ = std::max(clearBelow_, bottom);
  }

  // A line starting at `top`, below the pictures placed: after their rows.
  void keepClear(std::int32_t top) {
    if (clearRow_ < 0 || top < clearBelow_) return;
    if (clearSheet_ == book_.sheet()) book_.skip(clearRow_ - book_.nextRow());
    clearRow_ = -1;
    clearBelow_ = INT32_MIN;
  }

  void writeLine(const std::vector<const layout::TextRun*>& line, const std::vector<const layout::ImageItem*>& images,
                 std::int32_t top) {
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
    if (images.empty() && cells_.empty()) return;
    keepClear(top);
    std::int32_t bottom = INT32_MIN;
    std::vector<Anchor> anchors = anchorsOf(images, bottom);
    if (anchors.empty() && cells_.empty()) return;
    book_.row(cells_, anchors);
    if (!anchors.empty()) cover(anchors, bottom);
  }

  Workbook& book_;
  const Columns& columns_;
  std::vector<Cell> cells_;
  // Rows that pictures cover: lines printed below `clearBelow_` go in row
  // `clearRow_` of sheet `clearSheet_` or later (-1: none).
  std::int64_t clearRow_ = -1;
  int clearSheet_ = 0;
  std::int32_t clearBelow_ = INT32_MIN;
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
  std::vector<const layout::ImageItem*> footerImages;
  std::shared_ptr<const layout::Page> footerPage;
  for (std::int32_t number = 1; page; page = pages(++number)) {
    std::vector<const layout::TextRun*> body;
    std::vector<const layout::ImageItem*> images;
    footer.clear();
    footerImages.clear();
    // The page header once, at the top; the page footer once, at the end.
    auto belongs = [&](model::SectionKind section, auto& onPage, auto& inFooter, const auto* item) {
      if (section == model::SectionKind::PageFooter)
        inFooter.push_back(item);
      else if (number == 1 || section != model::SectionKind::PageHeader)
        onPage.push_back(item);
    };
    for (const auto& item : page->items) {
      if (const auto* run = std::get_if<layout::TextRun>(&item)) belongs(run->section, body, footer, run);
      if (const auto* image = std::get_if<layout::ImageItem>(&item)) belongs(image->section, images, footerImages, image);
    }
    rows.page(std::move(body), std::move(images));
    footerPage = page;  // keeps the last footer's runs alive
    if (progress && !progress(number)) return false;
  }
  rows.page(footer, footerImages);
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
