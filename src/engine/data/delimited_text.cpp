// Delimited text files read into memory (see delimited_text.h).
#include "engine/data/delimited_text.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "engine/data/report_data.h"

namespace mervane::engine::data {
namespace {

Text decode(std::string_view bytes) {
  if (bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF") return fromUtf8(bytes.substr(3));
  bool little = bytes.size() >= 2 && bytes.substr(0, 2) == "\xFF\xFE";
  bool big = bytes.size() >= 2 && bytes.substr(0, 2) == "\xFE\xFF";
  if (!little && !big) return fromUtf8(bytes);
  Text out;
  for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
    auto lo = static_cast<unsigned char>(bytes[little ? i : i + 1]);
    auto hi = static_cast<unsigned char>(bytes[little ? i + 1 : i]);
    out += static_cast<char16_t>(lo | (hi << 8));
  }
  return out;
}

// A number as a file writes it: optional sign, digits with an optional
// decimal point, an optional exponent; blanks around it allowed.
bool parseNumber(TextView text, double& out) {
  Text t = trim(text);
  if (t.empty() || t.size() > 64) return false;
  std::string narrow;
  bool digits = false;
  for (std::size_t i = 0; i < t.size(); ++i) {
    char16_t c = t[i];
    if (c >= u'0' && c <= u'9') digits = true;
    else if (!(c == u'.' || c == u'e' || c == u'E' || ((c == u'-' || c == u'+') && (i == 0 || t[i - 1] == u'e' || t[i - 1] == u'E'))))
      return false;
    narrow += static_cast<char>(c);
  }
  if (!digits) return false;
  std::istringstream in(narrow);
  in.imbue(std::locale::classic());
  double d = 0;
  in >> d;
  if (in.fail() || !in.eof() || !std::isfinite(d)) return false;
  out = d;
  return true;
}

}  // namespace

DelimitedTable parseDelimitedText(std::string_view bytes, TextView delimiter, bool headerRow) {
  const Text text = decode(bytes);
  const char16_t sep = delimiter.empty() ? u',' : delimiter[0];

  // Records of raw fields; `quotedField` marks fields given in quotes (an
  // empty quoted field is an empty text, not null).
  std::vector<std::vector<Text>> records;
  std::vector<std::vector<bool>> quotedFlags;
  std::vector<Text> record;
  std::vector<bool> flags;
  Text field;
  bool quoted = false, inQuotes = false, anything = false;
  auto endField = [&] {
    record.push_back(std::move(field));
    flags.push_back(quoted);
    field.clear();
    quoted = false;
  };
  auto endRecord = [&] {
    endField();
    records.push_back(std::move(record));
    quotedFlags.push_back(std::move(flags));
    record.clear();
    flags.clear();
    anything = false;
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    char16_t c = text[i];
    if (inQuotes) {
      if (c == u'"') {
        if (i + 1 < text.size() && text[i + 1] == u'"') {
          field += u'"';
          ++i;
        } else {
          inQuotes = false;
        }
      } else {
        field += c;
      }
      continue;
    }
    if (c == u'"' && field.empty() && !quoted) {
      inQuotes = quoted = anything = true;
    } else if (c == sep) {
      endField();
      anything = true;
    } else if (c == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') {
      // the LF ends the record
    } else if (c == u'\n') {
      if (anything || !field.empty() || !record.empty()) endRecord();
    } else {
      field += c;
      anything = true;
    }
  }
  if (anything || !field.empty() || !record.empty()) endRecord();

  DelimitedTable table;
  std::size_t first = 0;
  if (headerRow && !records.empty()) {
    for (Text& name : records[0]) table.columns.push_back(trim(name));
    first = 1;
  }
  std::size_t width = table.columns.size();
  for (std::size_t r = first; r < records.size(); ++r) width = std::max(width, records[r].size());
  for (std::size_t c = table.columns.size(); c < width; ++c)
    table.columns.push_back(u"Column" + decimal(static_cast<std::int64_t>(c + 1)));

  std::vector<bool> numeric(width, true);
  for (std::size_t r = first; r < records.size(); ++r) {
    for (std::size_t c = 0; c < records[r].size(); ++c) {
      double d;
      if (!records[r][c].empty() && (quotedFlags[r][c] || !parseNumber(records[r][c], d))) numeric[c] = false;
    }
  }
  for (std::size_t r = first; r < records.size(); ++r) {
    std::vector<formula::Value> row(width);
    for (std::size_t c = 0; c < records[r].size(); ++c) {
      const Text& raw = records[r][c];
      // Empty is null, except that a quoted empty value in a text column is
      // an empty text.
      if (raw.empty() && (!quotedFlags[r][c] || numeric[c])) continue;
      double d = 0;
      if (numeric[c] && parseNumber(raw, d)) row[c] = formula::Value(d);
      else row[c] = formula::Value(raw);
    }
    table.rows.push_back(std::move(row));
  }
  return table;
}

DelimitedTable readDelimitedFile(const Text& path, TextView delimiter, bool headerRow) {
  std::ifstream in(std::filesystem::path(path), std::ios::binary);
  if (!in) throw DataError(u"The text file '" + path + u"' cannot be opened.");
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) throw DataError(u"The text file '" + path + u"' cannot be read.");
  return parseDelimitedText(bytes, delimiter, headerRow);
}

}  // namespace mervane::engine::data
