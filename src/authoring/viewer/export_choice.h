// What the Export dialog decides, as plain rules: the formats on offer with
// their file types, which pages go out (all, the current one, from-to), and
// the file name proposed from the report's title.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <variant>

#include "base/text.h"

namespace mervane::viewer {

enum class ExportFormat { Pdf, ExcelAsPrinted, ExcelData, Html, Csv };

struct ExportFormatInfo {
  ExportFormat format;
  const char16_t* name;       // as the dialog lists it
  const char16_t* extension;  // with its dot
  const char16_t* fileType;   // the save dialog's description of the type
  bool byPages;               // false: the whole report's data, whatever the page range
};

// In the dialog's order.
std::span<const ExportFormatInfo> exportFormats();
const ExportFormatInfo& infoOf(ExportFormat format);
// The format a file name asks for by its extension (.xlsx: as printed).
std::optional<ExportFormat> formatOfFile(TextView path);

enum class PageRange { All, Current, FromTo };

struct PageChoice {
  PageRange range = PageRange::All;
  Text from, to;  // as typed, for FromTo
};

// The pages to write: first to last (0: to the report's end).
struct ExportPages {
  std::int32_t first = 1;
  std::int32_t last = 0;
  bool operator==(const ExportPages&) const = default;
};

// The pages a choice means in a report showing page `current`, of which
// `pageCount` pages exist once counted; or what is wrong with it, in words.
std::variant<ExportPages, Text> pagesOf(const PageChoice& choice, std::int32_t current,
                                        std::optional<std::int32_t> pageCount);

// The report's title as a file name with the format's extension: characters
// Windows refuses in names become '_'; "Report" for an empty title.
Text proposedFileName(TextView title, ExportFormat format);
// `path` with the format's extension added when it has another or none.
Text withExtension(TextView path, ExportFormat format);

}  // namespace mervane::viewer
