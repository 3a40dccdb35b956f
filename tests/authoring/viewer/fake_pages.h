// A stand-in for a run of a report, for the viewer's tests and the bench:
// pages of numbered lines that "lay out" over time, so the count grows
// while the viewer shows the first pages, and page() waits as a real run's
// does until its page exists or the run is cancelled.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "engine/layout/page_source.h"

namespace mervane::testing {

namespace layout = engine::layout;

// How many runs exist right now, and how many were ever made.
inline std::atomic<int> liveRuns{0};
inline std::atomic<int> runsMade{0};

// Each line also shows the page total `total` ("of 12") after all the
// lines; a page made before the count is known is provisional.
inline std::shared_ptr<layout::Page> numberedPage(std::int32_t number, std::int32_t total, bool provisional = false,
                                                  int lines = 40) {
  auto page = std::make_shared<layout::Page>();
  page->number = number;
  page->provisional = provisional;
  for (int line = 0; line < lines; ++line) {
    layout::TextRun run;
    run.box = {1134, 1134 + line * 340, 6000, 300};
    run.text = u"Page " + decimal(number) + u" line " + decimal(line + 1);
    run.record = (number - 1) * lines + line + 1;
    run.source = u"Line";
    page->items.push_back(run);
  }
  for (int line = 0; line < lines; ++line) {
    layout::TextRun run;
    run.box = {8000, 1134 + line * 340, 2000, 300};
    run.text = u"of " + decimal(total);
    run.record = (number - 1) * lines + line + 1;
    run.source = u"Total";
    page->items.push_back(run);
  }
  page->items.push_back(layout::LineItem{1134, 15500, 10772, 15500, 20});
  return page;
}

class FakePages final : public layout::PageSource {
 public:
  // `count` pages, one more laid out every `every` (zero: all at once).
  FakePages(std::int32_t count, std::chrono::milliseconds every = {})
      : count_(count), every_(every), start_(std::chrono::steady_clock::now()) {
    ++liveRuns;
    ++runsMade;
  }
  ~FakePages() override { --liveRuns; }

  std::shared_ptr<const layout::Page> page(std::int32_t number) override {
    if (number < 1 || number > count_) return nullptr;
    std::unique_lock guard(lock_);
    while (!cancelled_ && known() < number) wake_.wait_for(guard, std::chrono::milliseconds(5));
    if (cancelled_) return nullptr;
    const bool counted = known() >= count_;
    return numberedPage(number, counted ? count_ : known(), !counted);
  }
  std::int32_t pagesKnown() override { return known(); }
  std::optional<std::int32_t> pageCount() override {
    if (known() >= count_) return count_;
    return std::nullopt;
  }
  void cancel() override {
    std::lock_guard guard(lock_);
    cancelled_ = true;
    wake_.notify_all();
  }
  Text problem() override { return {}; }
  bool cancelled() {
    std::lock_guard guard(lock_);
    return cancelled_;
  }

 private:
  std::int32_t known() const {
    if (every_.count() == 0) return count_;
    auto elapsed = std::chrono::steady_clock::now() - start_;
    return static_cast<std::int32_t>(std::min<std::int64_t>(count_, elapsed / every_));
  }
  std::int32_t count_;
  std::chrono::milliseconds every_;
  std::chrono::steady_clock::time_point start_;
  std::mutex lock_;
  std::condition_variable wake_;
  bool cancelled_ = false;
};

}  // namespace mervane::testing
