// The PDF export: pages as a PDF file of our own making.
//
// Text stays text (standard fonts, WinAnsiEncoding), so the file can be
// searched and its text copied; lines and boxes become paths and images
// compressed image objects. Pages are written as they come, so memory does
// not grow with the page count.
#pragma once

#include <ostream>

#include "components/engine/export/page_feed.h"

namespace mervane::engine::exporting {

// Writes every page the feed gives. False when `progress` stopped it; the
// stream then holds an unfinished file that the caller throws away.
// Throws std::ios_base::failure when the stream fails.
bool writePdf(const PageFeed& pages, std::ostream& out, const Progress& progress = {});

}  // namespace mervane::engine::exporting
