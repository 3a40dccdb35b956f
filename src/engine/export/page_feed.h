// Pages handed to an exporter or printer one at a time, so that a report of
// thousands of pages is written without holding them all.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

#include "engine/layout/display_list.h"
#include "engine/layout/page_source.h"

namespace mervane::engine::exporting {

// Page `number` (from 1), asked for in order; null after the last.
using PageFeed = std::function<std::shared_ptr<const layout::Page>(std::int32_t number)>;

// Told the number of pages written so far; returning false stops the work.
using Progress = std::function<bool(std::int32_t pagesDone)>;

// Pages from a run of the report. The source must outlive the feed.
inline PageFeed feedOf(layout::PageSource& source) {
  return [&source](std::int32_t number) { return source.page(number); };
}

// Thrown by a feed that gives up before its last page: the work it serves
// was stopped while it waited.
class FeedStopped : public std::runtime_error {
 public:
  FeedStopped() : std::runtime_error("the pages were stopped") {}
};

// Pages of a run as they finally are, for what cannot be redone later (a
// file, paper). A page that showed the page total (or a value that needs
// it) before the run had counted its pages is laid out again once the total
// is known; until then the feed waits, asking `stopped` every tenth of a
// second and telling `counting` how many pages are known so far. Throws
// FeedStopped when `stopped` says so or the run was cancelled.
PageFeed finalPagesOf(std::shared_ptr<layout::PageSource> source, std::function<bool()> stopped,
                      std::function<void(std::int32_t pagesKnown)> counting = {});

// Pages `first` to `last` (0: to the end) of another feed, asked for from 1.
inline PageFeed pagesBetween(PageFeed pages, std::int32_t first, std::int32_t last) {
  return [pages = std::move(pages), first, last](std::int32_t number) -> std::shared_ptr<const layout::Page> {
    const std::int32_t wanted = first + number - 1;
    if (number < 1 || (last > 0 && wanted > last)) return nullptr;
    return pages(wanted);
  };
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
