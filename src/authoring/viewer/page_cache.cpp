#include "authoring/viewer/page_cache.h"

#include <algorithm>
#include <cstdlib>

namespace mervane::viewer {

// ---------------------------------------------------------------------------
// Worker
// ---------------------------------------------------------------------------

Worker::Worker() : thread_([this] { loop(); }) {}

Worker::~Worker() {
  {
    std::lock_guard guard(lock_);
    stopping_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

void Worker::post(std::function<void()> task) {
  {
    std::lock_guard guard(lock_);
    tasks_.push_back(std::move(task));
  }
  wake_.notify_one();
}

void Worker::loop() {
  for (;;) {
    std::function<void()> task;
    {
      std::unique_lock guard(lock_);
      wake_.wait(guard, [this] { return stopping_ || !tasks_.empty(); });
      if (tasks_.empty()) return;
      task = std::move(tasks_.front());
      tasks_.pop_front();
    }
    try {
      task();
    } catch (...) {
      // A page that could not be made stays "Loading…"; the run's own
      // pages say what went wrong.
    }
  }
}

// ---------------------------------------------------------------------------
// PageCache
// ---------------------------------------------------------------------------

PageCache::PageCache() = default;
PageCache::~PageCache() = default;

std::shared_ptr<const layout::Page> PageCache::page(std::int32_t number) const {
  auto found = pages_.find(number);
  return found == pages_.end() ? nullptr : found->second;
}

void PageCache::clear() {
  pages_.clear();
  requested_.clear();
}

void PageCache::request(const std::shared_ptr<layout::PageSource>& source, std::uint64_t generation,
                        std::int32_t number, std::function<void()> ready) {
  if (!source || number < 1 || pages_.count(number) || requested_[number]) return;
  requested_[number] = true;
  worker_.post([mailbox = mailbox_, source, generation, number, ready = std::move(ready)] {
    if (mailbox->live != generation) return;
    auto page = source->page(number);
    {
      std::lock_guard guard(mailbox->lock);
      mailbox->pages.push_back({generation, number, std::move(page)});
    }
    ready();
  });
}

PageCache::Arrivals PageCache::takeDelivered(std::uint64_t generation, std::int32_t current) {
  std::vector<Mailbox::Delivery> delivered;
  {
    std::lock_guard guard(mailbox_->lock);
    delivered.swap(mailbox_->pages);
  }
  Arrivals arrivals;
  for (auto& delivery : delivered) {
    if (delivery.generation != generation) continue;
    requested_.erase(delivery.number);
    if (!delivery.page) continue;  // past the end: the count will say so
    arrivals.newest = delivery.page;
    pages_[delivery.number] = std::move(delivery.page);
    arrivals.current = arrivals.current || delivery.number == current;
  }
  while (pages_.size() > kKept) {
    // Let go of the page farthest from the one shown.
    auto farthest = std::max_element(pages_.begin(), pages_.end(), [current](const auto& a, const auto& b) {
      return std::abs(a.first - current) < std::abs(b.first - current);
    });
    pages_.erase(farthest);
  }
  return arrivals;
}

void PageCache::dropProvisional() {
  for (auto it = pages_.begin(); it != pages_.end();) it = it->second->provisional ? pages_.erase(it) : std::next(it);
}

void PageCache::letGo(std::shared_ptr<layout::PageSource> run) {
  worker_.post([old = std::move(run)] {});
}

}  // namespace mervane::viewer
