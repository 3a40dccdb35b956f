// The two Vardo report file formats, as the host's readers see them: a
// signature line that names the family and its version, then a header of
// named text properties, then a body that these readers never look at.
//
//   older family (.srt .sly .slt .slb .stm)       newer family (.report ...)
//     VARDO DEFINITION 1                             #VARDO-DOCUMENT 2
//     TITLE=Monthly sales                            [Properties]
//     APPDATA=12                                     Title = Monthly sales
//     [BODY]                                         AppSpecificData = 12
//                                                    [Layout]
//
// Parsing never fails: a file that is not of the expected family, or is
// damaged, simply yields no properties (so an empty title and no data).
// docs/vardo-formats.md is the full description.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/text.h"

namespace mervane::host {

// Only the start of a file is read: the header must end within it.
inline constexpr std::size_t kHeaderLimit = 1024 * 1024;

// Named properties in file order; names compare without regard to case and
// the first of two equal names wins. Names are looked up through an index, so
// that a header of many thousand names still reads in one pass.
class VardoProperties {
 public:
  void add(Text name, Text value);
  // The value of name, or nothing when the header does not hold it.
  std::optional<Text> find(TextView name) const;
  bool empty() const { return items_.empty(); }
  std::size_t size() const { return items_.size(); }

 private:
  std::vector<std::pair<Text, Text>> items_;
  std::unordered_map<Text, std::size_t> index_;  // caseFoldKey(name) -> its place in items_
};

// Older family ("definition"): Windows-1252 text unless it starts with a
// UTF-8 byte order mark; properties TITLE and APPDATA.
VardoProperties readDefinition(std::string_view bytes);
// Newer family ("document"): UTF-8 text; properties Title, AppSpecificData
// and any others the writer chose.
VardoProperties readDocument(std::string_view bytes);

// A definition's application data: its APPDATA as a 32-bit decimal number,
// 0 when missing, not a number, or out of range.
std::int32_t definitionApplicationData(const VardoProperties& properties);

// Windows-1252 bytes as UTF-16 (the five unassigned bytes map to themselves).
Text fromWindows1252(std::string_view bytes);

}  // namespace mervane::host
