// The PDF export: pages as a PDF file of our own making.
//
// Text stays text in the report's own fonts, embedded as subsets, so the
// file can be searched and its text copied in any script the fonts cover;
// lines and boxes become paths, and each distinct picture one compressed
// image object however many pages show it. Pages are written as they come,
// so memory does not grow with the page count.
#pragma once

#include <chrono>
#include <memory>
#include <ostream>

#include "base/text.h"
#include "engine/export/font_source.h"
#include "engine/export/page_feed.h"

namespace mervane::engine::exporting {

struct PdfOptions {
  // Where the report's fonts come from; without one (or for a face it
  // cannot give) text is written in the standard fonts.
  std::shared_ptr<FontSource> fonts;
  // The document's properties.
  Text title;
  Text subject;
  std::chrono::system_clock::time_point created = std::chrono::system_clock::now();
};

// Writes every page the feed gives. False when `progress` stopped it; the
// stream then holds an unfinished file that the caller throws away.
// Throws std::ios_base::failure when the stream fails.
bool writePdf(const PageFeed& pages, std::ostream& out, const Progress& progress = {},
              const PdfOptions& options = {});

}  // namespace mervane::engine::exporting
