// Reading the header of a Vardo report file. See vardo_format.h for the shape
// and docs/vardo-formats.md for the full description.
#include "host/vardo_format.h"

#include <array>

namespace mervane::host {

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

bool isBlankChar(char16_t c) { return c == u' ' || c == u'\t'; }

// Spaces and tabs removed from both ends.
Text strip(TextView text) {
  std::size_t begin = 0, end = text.size();
  while (begin < end && isBlankChar(text[begin])) ++begin;
  while (end > begin && isBlankChar(text[end - 1])) --end;
  return Text(text.substr(begin, end - begin));
}

// Splits at CR LF, LF or CR. A last line without an end of line counts.
std::vector<TextView> splitLines(TextView text) {
  std::vector<TextView> lines;
  std::size_t start = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != u'\n' && text[i] != u'\r') continue;
    lines.push_back(text.substr(start, i - start));
    if (text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') ++i;
    start = i + 1;
  }
  if (start < text.size()) lines.push_back(text.substr(start));
  return lines;
}

// Splits a line into blank-separated words.
std::vector<Text> words(TextView line) {
  std::vector<Text> out;
  std::size_t i = 0;
  while (i < line.size()) {
    while (i < line.size() && isBlankChar(line[i])) ++i;
    std::size_t start = i;
    while (i < line.size() && !isBlankChar(line[i])) ++i;
    if (i > start) out.emplace_back(line.substr(start, i - start));
  }
  return out;
}

// A format version: a whole number of at least 1, no sign, at most 9 digits.
bool isVersion(TextView word) {
  if (word.empty() || word.size() > 9) return false;
  for (char16_t c : word)
    if (c < u'0' || c > u'9') return false;
  return parseLong(word).value_or(0) >= 1;
}

// Does the first line name this family, followed by a version?
bool hasSignature(TextView firstLine, std::initializer_list<TextView> expected) {
  std::vector<Text> w = words(firstLine);
  if (w.size() != expected.size() + 1) return false;
  std::size_t i = 0;
  for (TextView word : expected)
    if (!equalsNoCase(w[i++], word)) return false;
  return isVersion(w.back());
}

// "Name=value" into the properties; a line without "=" or name is ignored.
void addAssignment(VardoProperties& properties, TextView line) {
  std::size_t eq = line.find(u'=');
  if (eq == TextView::npos) return;
  Text name = strip(line.substr(0, eq));
  if (name.empty()) return;
  properties.add(std::move(name), strip(line.substr(eq + 1)));
}

bool isComment(TextView stripped, char16_t marker) { return !stripped.empty() && stripped[0] == marker; }

bool isSection(TextView stripped) { return !stripped.empty() && stripped[0] == u'['; }

// The section's name: "[ Name ]" gives Name.
Text sectionName(TextView stripped) {
  std::size_t close = stripped.find(u']');
  TextView inner = stripped.substr(1, close == TextView::npos ? TextView::npos : close - 1);
  return strip(inner);
}

}  // namespace

void VardoProperties::add(Text name, Text value) {
  if (!index_.try_emplace(caseFoldKey(name), items_.size()).second) return;
  items_.emplace_back(std::move(name), std::move(value));
}

std::optional<Text> VardoProperties::find(TextView name) const {
  auto it = index_.find(caseFoldKey(name));
  if (it == index_.end()) return std::nullopt;
  return items_[it->second].second;
}

Text fromWindows1252(std::string_view bytes) {
  // 0x80-0x9F; the unassigned 81, 8D, 8F, 90 and 9D keep their own value.
  static constexpr std::array<char16_t, 32> kHigh = {
      0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
      0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
      0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
  Text out;
  out.reserve(bytes.size());
  for (char ch : bytes) {
    auto b = static_cast<unsigned char>(ch);
    out.push_back(b >= 0x80 && b < 0xA0 ? kHigh[b - 0x80] : static_cast<char16_t>(b));
  }
  return out;
}

VardoProperties readDefinition(std::string_view bytes) {
  VardoProperties properties;
  Text text = bytes.starts_with(kUtf8Mark) ? fromUtf8(bytes.substr(kUtf8Mark.size())) : fromWindows1252(bytes);
  std::vector<TextView> lines = splitLines(text);
  if (lines.empty() || !hasSignature(lines[0], {u"VARDO", u"DEFINITION"})) return properties;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    Text line = strip(lines[i]);
    if (isSection(line)) break;  // the body starts
    if (line.empty() || isComment(line, u';')) continue;
    addAssignment(properties, line);
  }
  return properties;
}

VardoProperties readDocument(std::string_view bytes) {
  VardoProperties properties;
  if (bytes.starts_with(kUtf8Mark)) bytes.remove_prefix(kUtf8Mark.size());
  Text text = fromUtf8(bytes);
  std::vector<TextView> lines = splitLines(text);
  if (lines.empty() || !hasSignature(lines[0], {u"#VARDO-DOCUMENT"})) return properties;
  bool inProperties = false;
  for (std::size_t i = 1; i < lines.size(); ++i) {
    Text line = strip(lines[i]);
    if (isSection(line)) {
      if (inProperties) break;  // the header is over
      inProperties = equalsNoCase(sectionName(line), u"Properties");
      continue;
    }
    if (!inProperties || line.empty() || isComment(line, u'#') || isComment(line, u';')) continue;
    addAssignment(properties, line);
  }
  return properties;
}

std::int32_t definitionApplicationData(const VardoProperties& properties) {
  std::optional<Text> value = properties.find(u"APPDATA");
  if (!value) return 0;
  TextView digits = *value;
  bool negative = false;
  if (!digits.empty() && (digits[0] == u'-' || digits[0] == u'+')) {
    negative = digits[0] == u'-';
    digits.remove_prefix(1);
  }
  if (digits.empty() || digits.size() > 10) return 0;
  std::int64_t n = 0;
  for (char16_t c : digits) {
    if (c < u'0' || c > u'9') return 0;
    n = n * 10 + (c - u'0');
  }
  if (negative) n = -n;
  if (n < INT32_MIN || n > INT32_MAX) return 0;
  return static_cast<std::int32_t>(n);
}

}  // namespace mervane::host
