#include "orrin/side_worker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace Quorvane::Orrin {
namespace {

TEST(OrrinSideWorker, RunsEachJobOnItsOwnThreadBeforeWaitReturns) {
  side_worker worker;
  std::vector<int> seen;
  std::thread::id helper;
  for (int i = 0; i < 200; ++i) {
    worker.start([&seen, &helper, i] {
      seen.push_back(i);  // unsynchronised on purpose: wait() must order it
      helper = std::this_thread::get_id();
    });
    worker.wait();
    ASSERT_EQ(seen.size(), static_cast<std::size_t>(i + 1));
    EXPECT_NE(helper, std::this_thread::get_id());
  }
  // A wait with no job started returns at once.
  worker.wait();
}

TEST(OrrinSideWorker, DestructionJoinsIdleAndJustStartedWorkers) {
  { side_worker idle; }
  std::atomic<int> ran{0};
  {
    side_worker started;
    started.start([&ran] { ++ran; });
  }
  EXPECT_EQ(ran.load(), 1) << "a started job runs before the thread is joined";
}

}  // namespace
}  // namespace Quorvane::Orrin
