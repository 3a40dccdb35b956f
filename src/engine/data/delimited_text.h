// Tables kept in delimited text files, the one kind of table that is not
// read through ODBC, so that reports can mix in data that lives in no
// database.
//
// The format is CSV's: values separated by one delimiter character, a value
// in double quotes may hold the delimiter, line breaks and doubled quotes;
// lines end with LF or CR LF. The file is UTF-8 (a byte order mark is
// skipped) or UTF-16 with its byte order mark. With a header row the first
// line names the columns; without one they are Column1, Column2, ...
//
// Values are texts, except in a column where every value that is not empty
// reads as a number: there they are numbers. An empty value is null, but in a
// column of texts a quoted empty value ("") is an empty text.
#pragma once

#include <string_view>
#include <vector>

#include "base/text.h"
#include "engine/formula/value.h"

namespace mervane::engine::data {

struct DelimitedTable {
  std::vector<Text> columns;
  std::vector<std::vector<formula::Value>> rows;  // each as long as columns
};

// `delimiter`: its first character; empty means ','.
DelimitedTable parseDelimitedText(std::string_view bytes, TextView delimiter, bool headerRow);

// Reads the file at `path`. Throws DataError when it cannot be read.
DelimitedTable readDelimitedFile(const Text& path, TextView delimiter, bool headerRow);

}  // namespace mervane::engine::data
