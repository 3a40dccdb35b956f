// The viewer's page cache: pages made on its worker and taken in by the
// window's thread, the dozen nearest the page shown kept, answers about an
// earlier run dropped, provisional pages forgotten once the count is known;
// and the worker itself.
#include "authoring/viewer/page_cache.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "fake_pages.h"

using namespace mervane;
using namespace mervane::viewer;
using mervane::testing::FakePages;
using namespace std::chrono_literals;

namespace {

// Counts the pages the worker says are ready; waits for a number of them.
class Arrivals {
 public:
  std::function<void()> ready() {
    return [this] {
      std::lock_guard guard(lock_);
      ++count_;
      wake_.notify_all();
    };
  }
  bool waitFor(int count) {
    std::unique_lock guard(lock_);
    return wake_.wait_for(guard, 10s, [&] { return count_ >= count; });
  }

 private:
  std::mutex lock_;
  std::condition_variable wake_;
  int count_ = 0;
};

}  // namespace

TEST(PageCache, KeepsTheDozenPagesNearestThePageShown) {
  std::shared_ptr<layout::PageSource> run = std::make_shared<FakePages>(20);
  PageCache cache;
  Arrivals arrivals;
  cache.setLive(1);
  for (std::int32_t n = 1; n <= 20; ++n) cache.request(run, 1, n, arrivals.ready());
  ASSERT_TRUE(arrivals.waitFor(20));
  EXPECT_FALSE(cache.has(1));  // in the mailbox, not taken in yet

  auto taken = cache.takeDelivered(1, 15);
  EXPECT_TRUE(taken.current);
  ASSERT_TRUE(taken.newest);
  for (std::int32_t n = 1; n <= 20; ++n) EXPECT_EQ(cache.has(n), n >= 9) << n;
  EXPECT_EQ(cache.page(15)->number, 15);

  cache.request(run, 1, 21, arrivals.ready());  // past the end: nothing to keep
  ASSERT_TRUE(arrivals.waitFor(21));
  taken = cache.takeDelivered(1, 15);
  EXPECT_FALSE(taken.current);
  EXPECT_FALSE(taken.newest);
  EXPECT_FALSE(cache.has(21));
}

TEST(PageCache, DropsAnEarlierRunsPagesAndForgetsProvisionalOnes) {
  // Still counting: every page made now is provisional.
  std::shared_ptr<layout::PageSource> run = std::make_shared<FakePages>(1000, 5ms);
  PageCache cache;
  Arrivals arrivals;
  cache.setLive(1);
  cache.request(run, 1, 1, arrivals.ready());
  cache.request(run, 1, 2, arrivals.ready());
  ASSERT_TRUE(arrivals.waitFor(2));
  cache.takeDelivered(2, 1);  // the window shows another run by now
  EXPECT_FALSE(cache.has(1));

  cache.clear();
  cache.request(run, 1, 1, arrivals.ready());
  ASSERT_TRUE(arrivals.waitFor(3));
  EXPECT_TRUE(cache.takeDelivered(1, 1).current);
  ASSERT_TRUE(cache.page(1));
  EXPECT_TRUE(cache.page(1)->provisional);
  cache.dropProvisional();
  EXPECT_FALSE(cache.has(1));
  run->cancel();
  cache.letGo(std::move(run));
}

TEST(Worker, RunsTasksInOrderPastOneThatThrowsAndFinishesThemWhenStopped) {
  std::vector<int> done;
  {
    Worker worker;
    for (int i = 0; i < 50; ++i) {
      worker.post([&done, i] {
        if (i == 10) throw std::runtime_error("a page that could not be made");
        done.push_back(i);
      });
    }
  }
  ASSERT_EQ(done.size(), 49u);
  for (std::size_t i = 0; i < done.size(); ++i) EXPECT_EQ(done[i], static_cast<int>(i < 10 ? i : i + 1));
}
