// The report definition's stream: how a ReportDefinition is stored in its
// own stream of the report file, and read back.
//
// FORMAT (version 1.1)
//
//   header   "MVRD"              4 bytes
//            major version       2 bytes, little-endian (this version: 1)
//            minor version       2 bytes, little-endian (this version: 1)
//            body length         4 bytes, little-endian
//            body CRC-32         4 bytes, little-endian (the zip/zlib CRC-32)
//   body     the fields of the report record, exactly `body length` bytes;
//            nothing follows the body.
//
//   A record is a sequence of fields. A field is a key, a varint holding
//   (field number << 3) | wire type, followed by its value:
//     wire type 0  a number: a varint holding the zigzag-encoded signed value
//                  ((n << 1) ^ (n >> 63)); yes/no values are 0 and 1
//     wire type 2  a length (varint) and that many bytes: a text in UTF-8,
//                  or a nested record, or raw bytes (a picture's file)
//   Varints are little-endian groups of 7 bits, the high bit set on every
//   byte but the last, at most 10 bytes. Other wire types are errors.
//   A list is its field repeated, in order. A field that appears twice where
//   one is expected: the last one counts. A missing field has the value the
//   model gives it by default. The writer writes every field it knows; a
//   subreport record's report field is left out when it holds no report, an
//   object's picture field is written for picture objects only, and a
//   conditions record is left out when it holds no formula.
//
//   Fields (number: name, type); a record's numbers are never reused.
//     Report         1 page (PageSetup), 2 section (Section, list),
//                    3 data (Data), 4 formula (Formula, list),
//                    5 parameter (Parameter, list; since 1.1),
//                    6 running total (RunningTotal, list; since 1.1)
//     PageSetup      1 paper size, 2 paper width, 3 paper height,
//                    4 orientation, 5-8 margin left, right, top, bottom
//     Section        1 kind, 2 group, 3 name, 4 height, 5 suppress,
//                    6 new page after, 7 object (ReportObject, list),
//                    8 conditions (SectionConditions; since 1.1),
//                    9 keep together, 10 print at bottom of page,
//                    11 reset page number after, 12 new page before
//                    (9-12 since 1.1)
//     ReportObject   1 kind, 2 name, 3 x, 4 y, 5 width, 6 height,
//                    7 format (Format), 8 text, 9 field (FieldRef),
//                    10 special field kind, 11 summary operation,
//                    12 summary group, 13 formula name (or running total
//                    name), 14 subreport (Subreport),
//                    15 picture (Picture; since 1.1),
//                    16 conditions (ObjectConditions; since 1.1)
//     Format         1 font name, 2 font size, 3 bold, 4 italic, 5 underline,
//                    6 colour, 7 alignment, 8 number format, 9 date format,
//                    10 border, 11 border colour, 12 filled, 13 background,
//                    14 can grow, 15 line width
//     Picture        1 image (the file's bytes), 2 stretch
//     FieldRef       1 table, 2 column
//     Subreport      1 name, 2 link (SubreportLink, list), 3 report (Report),
//                    4 on demand, 5 link text (4-5 since 1.1)
//     SubreportLink  1 main field (FieldRef), 2 subreport field (FieldRef)
//     Data           1 table (Table, list), 2 link (TableLink, list),
//                    3 record filter, 4 sort field (SortField, list),
//                    5 group (Group, list)
//     Table          1 alias, 2 database type, 3 log-on (LogOn), 4 location,
//                    5 sub-location, 6 delimiter, 7 header row,
//                    8 connect text (without its password)
//     LogOn          1 server, 2 database, 3 user   (no password, ever)
//     TableLink      1 from (FieldRef), 2 to (FieldRef), 3 join type
//     SortField      1 field (FieldRef), 2 direction
//     Group          1 field (FieldRef), 2 direction
//     Formula        1 name, 2 text
//     Parameter      1 name, 2 type, 3 prompt, 4 range, 5 default,
//                    6 default upper end, 7 allowed value (text, list),
//                    8 allowed values from (FieldRef); never the values
//                    given when the report runs
//     ObjectConditions   1 suppress, 2 font colour, 3 background, 4 bold,
//                        5 italic, 6 border (each a formula's text)
//     SectionConditions  1 suppress, 2 new page before, 3 new page after
//                        (each a formula's text)
//     RunningTotal   1 name, 2 field (FieldRef), 3 operation, 4 evaluate,
//                    5 evaluate field (FieldRef), 6 evaluate formula,
//                    7 reset, 8 reset group, 9 reset formula
//   Enumerations are stored by the numbers report_definition.h gives them.
//
// VERSIONS
//   A newer minor version only adds fields. Fields this version does not
//   know are kept, byte for byte, with the record they belong to, and written
//   back after that record's known fields when the definition is saved. A
//   newer major version is refused: its meaning may have changed.
//
// LIMITS
//   Reading checks every length before trusting it and never reads past the
//   end; the stream size, the number of records, the length of a text or a
//   picture and the nesting of subreports are bounded (DefinitionLimits), so
//   that no stream can make the reader hang or take memory out of proportion
//   to its size.
//
// PASSWORDS
//   Passwords the model holds in memory (a log-on's, a table's connection's)
//   are never written, and a connect text that reaches a log-on, location or
//   connection field is written without its password values, read as the
//   data door reads the text (withoutPasswords).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/text.h"
#include "engine/model/report_definition.h"

namespace mervane::engine::model {

constexpr std::uint16_t kDefinitionMajorVersion = 1;
constexpr std::uint16_t kDefinitionMinorVersion = 1;
constexpr std::size_t kDefinitionHeaderSize = 16;

struct DefinitionLimits {
  // Room for a report with a few dozen logos of a few hundred KB each.
  std::size_t maxStreamBytes = 64u << 20;
  std::size_t maxRecords = 100000;  // every record of the stream, subreports included
  std::size_t maxTextBytes = 1u << 20;
  std::size_t maxPictureBytes = 8u << 20;  // one picture's file
  int maxSubreportDepth = 4;  // a subreport's subreport's ... ; the main report is 0
  std::int32_t maxTwips = 1000000;  // about 17 m: positions, sizes, margins
};

enum class DefinitionError {
  NotADefinition,  // the header is not ours
  NewerVersion,    // written by a newer major version
  Truncated,       // the stream ends early
  Damaged,         // the bytes do not make a valid definition
  TooLarge,        // beyond the limits
};

struct DefinitionReadResult {
  std::optional<ReportDefinition> definition;  // set when reading succeeded
  DefinitionError error = DefinitionError::Damaged;
  std::size_t errorOffset = 0;  // where in the stream reading stopped
  Text message;                 // in words, for the viewer's page
  std::uint16_t majorVersion = 0;  // as the header says, when it could be read
  std::uint16_t minorVersion = 0;
};

// Reads a definition. Never throws for any input (except out of memory).
DefinitionReadResult readDefinition(std::span<const std::uint8_t> stream, const DefinitionLimits& limits = {});

// Writes a definition in this version of the format.
std::vector<std::uint8_t> writeDefinition(const ReportDefinition& definition);

}  // namespace mervane::engine::model
