// Pages handed to an exporter or printer one at a time, so that a report of
// thousands of pages is written without holding them all.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "components/engine/layout/display_list.h"
#include "components/engine/layout/page_source.h"

namespace mervane::engine::exporting {

// Page `number` (from 1), asked for in order; null after the last.
using PageFeed = std::function<std::shared_ptr<const layout::Page>(std::int32_t number)>;

// Told the number of pages written so far; returning false stops the work.
using Progress = std::function<bool(std::int32_t pagesDone)>;

// Pages from a run of the report. The source must outlive the feed.
inline PageFeed feedOf(layout::PageSource& source) {
  return [&source](std::int32_t number) { return source.page(number); };
}

// Pages already laid out (tests, the designer's sample pages).
inline PageFeed feedOf(std::vector<layout::Page> pages) {
  auto held = std::make_shared<const std::vector<layout::Page>>(std::move(pages));
  return [held](std::int32_t number) -> std::shared_ptr<const layout::Page> {
    if (number < 1 || static_cast<std::size_t>(number) > held->size()) return nullptr;
    return std::shared_ptr<const layout::Page>(held, &(*held)[static_cast<std::size_t>(number) - 1]);
  };
}

}  // namespace mervane::engine::exporting
