// A laid-out page: what to draw, where, in twips from the page's top left
// corner. The viewer paints it with GDI, the printer prints it, the PDF and
// CSV exports and the tests read it. Nothing here measures or draws.
//
// Text runs are single lines: the layout engine has already broken long
// texts into lines and fitted them to their boxes, so every consumer shows
// the same lines. A run is drawn inside its box, aligned as it says, and
// clipped to it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "base/text.h"
#include "engine/formula/value.h"
#include "engine/model/report_definition.h"

namespace mervane::engine::layout {

struct Rect {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  bool operator==(const Rect&) const = default;
};

struct Font {
  Text name = u"Arial";
  std::int32_t size = 200;  // twentieths of a point
  bool bold = false;
  bool italic = false;
  bool underline = false;
  bool operator==(const Font&) const = default;
};

enum class TextAlign { Left, Centre, Right };

// What a run of a number or a date stands for, for exports that keep values
// typed (spreadsheets): the value and the report's pattern for it.
enum class ValueType : std::uint8_t { Text, Number, Date };

// Where a link on the page leads: an on-demand subreport of the report (its
// place among the report's subreports, and its name), for the values its
// links take from the record the link printed with, in the links' order.
struct PageLink {
  std::int32_t subreport = -1;
  Text name;
  std::vector<formula::Value> values;
};

struct TextRun {
  Rect box;
  Font font;
  std::uint32_t colour = model::kBlack;  // 0xRRGGBB
  TextAlign align = TextAlign::Left;
  Text text;
  // Where the run came from, for find, CSV export and the tests: the report
  // object's name (empty for the engine's own texts), and the record number
  // (from 1) of the detail row it printed, 0 outside the details.
  Text source;
  std::int64_t record = 0;
  // The kind of section that printed it (page headers repeat on every page).
  model::SectionKind section = model::SectionKind::Details;
  // A number (or a date, as days since 30 December 1899) and its pattern
  // (empty: as the value comes); Text for everything else.
  ValueType type = ValueType::Text;
  double value = 0;
  Text pattern;
  // A link the viewer opens on a click; null for plain text. Printed and
  // exported, the run is its text.
  std::shared_ptr<const PageLink> link;
};

struct LineItem {
  std::int32_t x1 = 0, y1 = 0, x2 = 0, y2 = 0;
  std::int32_t width = 20;  // twips
  std::uint32_t colour = model::kBlack;
  model::BorderStyle style = model::BorderStyle::Single;
};

struct BoxItem {
  Rect box;
  model::BorderStyle border = model::BorderStyle::Single;  // None: fill only
  std::int32_t borderWidth = 20;
  std::uint32_t borderColour = model::kBlack;
  bool filled = false;
  std::uint32_t fill = model::kWhite;
};

// Pixels top row first, 0xAARRGGBB each. A picture that came as a JPEG
// file keeps the file too, for writers that embed it as it is (its pixels
// may then be missing where nothing decoded them).
struct ImageItem {
  Rect box;
  std::int32_t pixelWidth = 0;
  std::int32_t pixelHeight = 0;
  std::shared_ptr<const std::vector<std::uint32_t>> pixels;
  std::shared_ptr<const std::string> jpeg;
  int jpegComponents = 0;  // 1 grey, 3 colour, 4 CMYK
  // The picture's file as the report or its column holds it (PNG, JPEG, BMP
  // or GIF), for writers that embed files as they are.
  std::shared_ptr<const std::string> file;
  // The kind of section that printed it (page headers repeat on every page).
  model::SectionKind section = model::SectionKind::Details;
};

using DisplayItem = std::variant<TextRun, LineItem, BoxItem, ImageItem>;

struct Page {
  std::int32_t number = 1;  // from 1
  std::int32_t width = 11906;
  std::int32_t height = 16838;
  std::vector<DisplayItem> items;  // in drawing order
  // The page shows the total page count (or a value that needs it) before
  // that count was known; asked for again once it is, it comes out final.
  bool provisional = false;
};

}  // namespace mervane::engine::layout
