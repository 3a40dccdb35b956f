// The pages of the run the viewer shows, and the thread that makes them.
//
// The window never waits for a page. It asks the cache for one; a page not
// here yet is laid out on the cache's worker thread and handed back through
// the mailbox, and the worker then tells the window (which posts itself a
// message) to take it in. Each run shown is a new generation, so that late
// answers about an earlier run are told apart and dropped. Finding text
// runs on a worker of its own and answers through the same mailbox.
//
// Everything here runs on the window's thread except the workers' tasks.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "authoring/viewer/viewer_state.h"
#include "engine/layout/page_source.h"

namespace mervane::viewer {

// One thread running tasks in order. Tasks left when it stops still run
// (they are quick: the runs they use have been cancelled). A task that
// throws is forgotten; the thread goes on.
class Worker {
 public:
  Worker();
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  void post(std::function<void()> task);

 private:
  void loop();
  std::mutex lock_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> tasks_;
  bool stopping_ = false;
  std::thread thread_;
};

// What the worker threads hand back to the window.
struct Mailbox {
  std::mutex lock;
  std::atomic<std::uint64_t> live{0};  // the generation the window shows; 0: none
  struct Delivery {
    std::uint64_t generation;
    std::int32_t number;
    std::shared_ptr<const layout::Page> page;
  };
  std::vector<Delivery> pages;
  struct Found {
    std::uint64_t generation;
    std::optional<FindHit> hit;
  };
  std::optional<Found> found;
};

class PageCache {
 public:
  // Pages kept: those nearest the page shown.
  static constexpr std::size_t kKept = 12;

  PageCache();
  ~PageCache();
  PageCache(const PageCache&) = delete;
  PageCache& operator=(const PageCache&) = delete;

  const std::shared_ptr<Mailbox>& mailbox() const { return mailbox_; }
  // The run the window shows from now on (0: none); answers about any
  // other are dropped.
  void setLive(std::uint64_t generation) { mailbox_->live = generation; }

  // The page when it is here; null while it is not.
  std::shared_ptr<const layout::Page> page(std::int32_t number) const;
  bool has(std::int32_t number) const { return pages_.count(number) != 0; }
  // Forgets every page and every request.
  void clear();
  // Has page `number` of `source` (the run of `generation`) laid out on the
  // worker, unless it is here or asked for already; `ready` runs on the
  // worker once the page is in the mailbox.
  void request(const std::shared_ptr<layout::PageSource>& source, std::uint64_t generation, std::int32_t number,
               std::function<void()> ready);

  // Takes in what the mailbox holds for `generation`, then lets go of the
  // pages farthest from `current` beyond kKept.
  struct Arrivals {
    bool current = false;                         // `current` was among them
    std::shared_ptr<const layout::Page> newest;   // the last page taken in
  };
  Arrivals takeDelivered(std::uint64_t generation, std::int32_t current);
  // Pages made while the count was still unknown (they may show a total
  // that was still growing) are forgotten, to be made again.
  void dropProvisional();
  // Lets go of a run on the worker thread, since closing a run may wait
  // for its threads.
  void letGo(std::shared_ptr<layout::PageSource> run);

 private:
  std::shared_ptr<Mailbox> mailbox_ = std::make_shared<Mailbox>();
  std::map<std::int32_t, std::shared_ptr<const layout::Page>> pages_;
  std::map<std::int32_t, bool> requested_;
  Worker worker_;  // last: it stops, finishing its tasks, before the rest goes
};

}  // namespace mervane::viewer
