// Fuzzes the delimited-text reader. The first byte picks the delimiter (one
// of the usual four) and whether the first line names the columns; the rest
// is the file. Every row must come out as wide as the column list, and a
// column is either all numbers and nulls or holds no number at all.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "engine/data/delimited_text.h"

using namespace mervane;
using namespace mervane::engine;

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  static constexpr TextView kDelimiters[] = {u",", u";", u"\t", u""};
  const TextView delimiter = kDelimiters[data[0] & 3];
  const bool header = data[0] & 4;
  const data::DelimitedTable table =
      data::parseDelimitedText(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1), delimiter, header);
  std::vector<int> kinds(table.columns.size(), 0);  // 1 number, 2 text
  for (const auto& row : table.rows) {
    check(row.size() == table.columns.size());
    for (std::size_t c = 0; c < row.size(); ++c) {
      if (row[c].isNull()) continue;
      int kind = row[c].kind() == formula::ValueKind::Number ? 1 : 2;
      check(kinds[c] == 0 || kinds[c] == kind);
      kinds[c] = kind;
    }
  }
  return 0;
}
