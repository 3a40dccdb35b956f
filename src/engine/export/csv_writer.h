// The CSV export: one line per detail record, its fields in the order they
// stand across the page, and a first line of column headings when the page
// header shows them above the columns. RFC 4180 quoting, UTF-8 with a byte
// order mark (so spreadsheets read the accents), lines ended by CR LF.
#pragma once

#include <ostream>
#include <vector>

#include "engine/export/page_feed.h"

namespace mervane::engine::exporting {

// Writes every page the feed gives. False when `progress` stopped it.
// Throws std::ios_base::failure when the stream fails.
bool writeCsv(const PageFeed& pages, std::ostream& out, const Progress& progress = {});

// One field as RFC 4180 wants it: quoted when it holds a comma, a quote,
// a line break or leading or trailing blanks; quotes doubled.
std::string csvField(TextView text);

}  // namespace mervane::engine::exporting
