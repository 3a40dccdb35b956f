// The HTML export: one self-contained web page of the report.
//
// Pages: each page a white sheet of its printed size, everything at its
// printed place. Flowing: one long document, the page header once at the
// top, the page footer once at the end, each page's body following the
// last without gaps. Either way text stays text (selectable, searchable),
// and each page's texts stand in the document in reading order, top to
// bottom and left to right, so a screen reader reads them as printed
// whatever their place on the screen. Lines and boxes are drawn by an SVG
// behind the text; pictures are PNG images inside the file (data: URIs).
// Pages are written as they come.
#pragma once

#include <ostream>

#include "base/text.h"
#include "engine/export/page_feed.h"

namespace mervane::engine::exporting {

struct HtmlOptions {
  Text title;
  bool flowing = false;
};

// Writes every page the feed gives. False when `progress` stopped it.
// Throws std::ios_base::failure when the stream fails.
bool writeHtml(const PageFeed& pages, std::ostream& out, const Progress& progress = {},
               const HtmlOptions& options = {});

// Pixels (0xAARRGGBB, top row first) as a PNG file.
std::string encodePng(const std::vector<std::uint32_t>& pixels, std::int32_t width, std::int32_t height);

}  // namespace mervane::engine::exporting
