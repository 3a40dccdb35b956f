// The Export dialog's rules (see export_choice.h).
#include "authoring/viewer/export_choice.h"

#include <algorithm>
#include <array>

namespace mervane::viewer {

namespace {

constexpr std::array<ExportFormatInfo, 5> kFormats{{
    {ExportFormat::Pdf, u"PDF document", u".pdf", u"PDF document (*.pdf)", true},
    {ExportFormat::ExcelAsPrinted, u"Excel workbook, as printed", u".xlsx", u"Excel workbook (*.xlsx)", true},
    {ExportFormat::ExcelData, u"Excel workbook, data only", u".xlsx", u"Excel workbook (*.xlsx)", false},
    {ExportFormat::Html, u"Web page (HTML)", u".html", u"Web page (*.html)", true},
    {ExportFormat::Csv, u"CSV, comma-separated values", u".csv", u"CSV, comma-separated values (*.csv)", true},
}};

bool endsWithNoCase(TextView text, TextView end) {
  return text.size() >= end.size() && equalsNoCase(text.substr(text.size() - end.size()), end);
}

}  // namespace

std::span<const ExportFormatInfo> exportFormats() { return kFormats; }

const ExportFormatInfo& infoOf(ExportFormat format) {
  for (const auto& info : kFormats)
    if (info.format == format) return info;
  return kFormats[0];
}

std::optional<ExportFormat> formatOfFile(TextView path) {
  if (endsWithNoCase(path, u".htm")) return ExportFormat::Html;
  for (const auto& info : kFormats)
    if (endsWithNoCase(path, info.extension)) return info.format;
  return std::nullopt;
}

std::variant<ExportPages, Text> pagesOf(const PageChoice& choice, std::int32_t current,
                                        std::optional<std::int32_t> pageCount) {
  switch (choice.range) {
    case PageRange::All: return ExportPages{1, 0};
    case PageRange::Current: return ExportPages{std::max(1, current), std::max(1, current)};
    case PageRange::FromTo: break;
  }
  const std::optional<std::int32_t> from = parseLong(trim(choice.from));
  const std::optional<std::int32_t> to = parseLong(trim(choice.to));
  if (!from || *from < 1) return Text(u"Type the number of the first page to export.");
  if (!to || *to < 1) return Text(u"Type the number of the last page to export.");
  if (*from > *to) return Text(u"The first page must not come after the last.");
  if (pageCount && *from > *pageCount)
    return u"The report has " + decimal(*pageCount) + (*pageCount == 1 ? u" page." : u" pages.");
  return ExportPages{*from, pageCount ? std::min(*to, *pageCount) : *to};
}

Text proposedFileName(TextView title, ExportFormat format) {
  Text name = trim(title);
  for (char16_t& c : name)
    if (c < 0x20 || TextView(u"\\/:*?\"<>|").find(c) != TextView::npos) c = u'_';
  while (!name.empty() && (name.back() == u'.' || name.back() == u' ')) name.pop_back();
  if (name.empty()) name = u"Report";
  return name + infoOf(format).extension;
}

Text withExtension(TextView path, ExportFormat format) {
  const TextView extension = infoOf(format).extension;
  if (endsWithNoCase(path, extension) || (format == ExportFormat::Html && endsWithNoCase(path, u".htm")))
    return Text(path);
  return Text(path) + Text(extension);
}

}  // namespace mervane::viewer
