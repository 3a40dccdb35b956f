// Positions, status line and insertable names of the formula editor.
#include "authoring/designer/formula_editing.h"

namespace mervane::authoring {

namespace {

using engine::formula::Position;

const InsertableName kFunctions[] = {
    {u"Abs(number)", u"Abs("},
    {u"Color(red, green, blue)", u"Color("},
    {u"Date(year, month, day)", u"Date("},
    {u"DateAdd(interval, count, date)", u"DateAdd("},
    {u"DateDiff(interval, first, second)", u"DateDiff("},
    {u"Day(date)", u"Day("},
    {u"DayOfWeek(date)", u"DayOfWeek("},
    {u"Hour(date)", u"Hour("},
    {u"IfNull(value, instead)", u"IfNull("},
    {u"InStr([start,] text, part)", u"InStr("},
    {u"Int(number)", u"Int("},
    {u"IsNull(value)", u"IsNull("},
    {u"Left(text, length)", u"Left("},
    {u"Len(text)", u"Len("},
    {u"LowerCase(text)", u"LowerCase("},
    {u"Mid(text, start[, length])", u"Mid("},
    {u"Minute(date)", u"Minute("},
    {u"Month(date)", u"Month("},
    {u"Replace(text, find, with)", u"Replace("},
    {u"Right(text, length)", u"Right("},
    {u"Round(number[, digits])", u"Round("},
    {u"Second(date)", u"Second("},
    {u"StartsWith(text, prefix)", u"StartsWith("},
    {u"ToNumber(text)", u"ToNumber("},
    {u"ToText(value[, format])", u"ToText("},
    {u"Trim(text)", u"Trim("},
    {u"UpperCase(text)", u"UpperCase("},
    {u"Year(date)", u"Year("},
};

const InsertableName kSpecialValues[] = {
    {u"PageNumber", u"PageNumber"},   {u"TotalPageCount", u"TotalPageCount"}, {u"RecordNumber", u"RecordNumber"},
    {u"PrintDate", u"PrintDate"},     {u"PrintTime", u"PrintTime"},           {u"ReportTitle", u"ReportTitle"},
    {u"CurrentFieldValue", u"CurrentFieldValue"},
    {u"crBlack", u"crBlack"},   {u"crWhite", u"crWhite"},   {u"crRed", u"crRed"},       {u"crGreen", u"crGreen"},
    {u"crBlue", u"crBlue"},     {u"crYellow", u"crYellow"}, {u"crMaroon", u"crMaroon"}, {u"crNavy", u"crNavy"},
    {u"crTeal", u"crTeal"},     {u"crOlive", u"crOlive"},   {u"crPurple", u"crPurple"}, {u"crFuchsia", u"crFuchsia"},
    {u"crAqua", u"crAqua"},     {u"crLime", u"crLime"},     {u"crSilver", u"crSilver"}, {u"crGray", u"crGray"},
};

}  // namespace

std::size_t offsetOf(TextView text, Position at) {
  std::size_t offset = 0;
  for (int line = 1; line < at.line; ++line) {
    std::size_t lineEnd = text.find(u'\n', offset);
    if (lineEnd == TextView::npos) return text.size();
    offset = lineEnd + 1;
  }
  std::size_t lineEnd = text.find(u'\n', offset);
  if (lineEnd == TextView::npos) lineEnd = text.size();
  // A "\r\n" editor line ends before its '\r'.
  if (lineEnd > offset && lineEnd < text.size() && text[lineEnd - 1] == u'\r') --lineEnd;
  std::size_t column = at.column > 1 ? static_cast<std::size_t>(at.column - 1) : 0;
  return std::min(offset + column, lineEnd);
}

TextRange mistakeRange(TextView text, Position at) {
  std::size_t start = offsetOf(text, at);
  std::size_t end = start < text.size() && text[start] != u'\r' && text[start] != u'\n' ? start + 1 : start;
  // Never split a surrogate pair.
  if (end < text.size() && end > start && text[start] >= 0xD800 && text[start] < 0xDC00 && text[end] >= 0xDC00 &&
      text[end] < 0xE000) {
    ++end;
  }
  return {start, end};
}

Text statusLine(const std::optional<engine::formula::FormulaError>& mistake) {
  if (!mistake) return kNoMistake;
  const Position at = mistake->position();
  return u"Line " + decimal(at.line) + u", column " + decimal(at.column) + u": " + mistake->problem();
}

std::span<const InsertableName> functionNames() { return kFunctions; }
std::span<const InsertableName> specialValueNames() { return kSpecialValues; }

}  // namespace mervane::authoring
