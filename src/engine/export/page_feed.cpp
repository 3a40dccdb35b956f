// Waiting for a run's page count before handing on pages that show it.
#include "engine/export/page_feed.h"

namespace mervane::engine::exporting {

PageFeed finalPagesOf(std::shared_ptr<layout::PageSource> source, std::function<bool()> stopped,
                      std::function<void(std::int32_t)> counting) {
  return [source = std::move(source), stopped = std::move(stopped),
          counting = std::move(counting)](std::int32_t number) -> std::shared_ptr<const layout::Page> {
    std::shared_ptr<const layout::Page> page = source->page(number);
    if (!page || !page->provisional) return page;
    for (;;) {
      if (stopped && stopped()) throw FeedStopped();
      if (source->waitForCount(std::chrono::milliseconds(100))) break;
      if (!source->counting()) throw FeedStopped();  // cancelled: the total will never be known
      if (counting) counting(source->pagesKnown());
    }
    page = source->page(number);
    if (page && page->provisional) throw FeedStopped();  // cancelled since
    return page;
  };
}

}  // namespace mervane::engine::exporting
