// The Excel export: workbooks (.xlsx) of our own making, in two kinds.
//
// As printed: the laid-out pages, each printed line a row, each object in
// the column its horizontal place gives it; group headers and footers are
// rows like the others, the page header comes once at the top and the page
// footer once at the end. Pictures are Excel pictures of their printed size,
// placed in the row of the line they print beside and the column their
// place gives them; lines printed below a picture start below it. Each
// picture file goes in once, as it came, however many pages or records show
// it; a file Excel cannot show is left out.
// Data only: one row per record, one column per detail field, under a row
// of headings.
//
// Numbers and dates are typed cells carrying the report's format as an
// Excel number format; texts are inline strings. The sheet is written into
// the zip as it goes, so memory does not grow with the rows (a sheet's
// picture places, and the picture files it is the first to show, wait for
// its end); past the 1,048,576 rows a sheet can hold, the rows go on in a
// further sheet, with a drawing of its own.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>

#include "base/text.h"
#include "engine/data/report_data.h"
#include "engine/document.h"
#include "engine/export/page_feed.h"

namespace mervane::engine::exporting {

struct XlsxOptions {
  Text title;  // the workbook's title property and its sheets' name
  // Rows a sheet holds before the next begins (tests make it small).
  std::int64_t rowsPerSheet = 1048576;
};

// Told the records written so far (every thousand, and at the end);
// returning false stops the work.
using RecordProgress = std::function<bool(std::int64_t recordsDone)>;

// Writes every page the feed gives. False when `progress` stopped it; the
// stream then holds an unfinished file the caller throws away. The stream
// must be seekable. Throws std::ios_base::failure when it fails.
bool writeXlsxAsPrinted(const PageFeed& pages, std::ostream& out, const Progress& progress = {},
                        const XlsxOptions& options = {});

// Writes every record of the report. As above; also throws
// data::DataError, layout::PrepareError and formula::FormulaError.
bool writeXlsxData(const ReportDocument& document, data::DataProvider& data, std::ostream& out,
                   const RecordProgress& progress = {}, const XlsxOptions& options = {});

// The report's number pattern ("#,##0.00", "0.0 kg") or date pattern
// ("dd/MM/yyyy HH:mm") as Excel writes it; "General" for an empty number
// pattern, an ISO date (with the time when `withTime`) for an empty date
// pattern.
std::string excelNumberFormat(TextView pattern);
std::string excelDateFormat(TextView pattern, bool withTime);

}  // namespace mervane::engine::exporting
