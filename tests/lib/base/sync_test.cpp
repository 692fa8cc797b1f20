#include "base/CCondition.h"
#include "base/CMutex.h"
#include "base/CSemaphore.h"
#include "base/CTimeStamp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <memory>
#include <thread>

namespace {

using KX::CCondition;
using KX::CMutex;
using KX::CSemaphore;
using KX::CTimeStamp;

TEST(CSemaphore, PostAndWaitHandOffBetweenThreads) {
  CSemaphore s(3);
  EXPECT_EQ(s.tryWait(), -1);
  EXPECT_EQ(s.getValue(), 0);
  EXPECT_EQ(s.wait(), 2);  // tryWait took nothing
  s.wait();
  EXPECT_EQ(s.wait(), 0);
  std::atomic<bool> woke{false};
  std::thread waiter([&] {
    s.wait();
    woke = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(woke) << "wait() returned with the count at 0";
  EXPECT_EQ(s.post(), 1);
  waiter.join();

  // Ping-pong: a lost or doubled post hangs or miscounts, and the plain counter
  // relies on the hand-off for ordering (ThreadSanitizer).
  CSemaphore toWorker;
  CSemaphore toMain;
  long counter = 0;
  std::thread worker([&counter, &toWorker, &toMain] {
    for (int i = 0; i < 20000; ++i) {
      toWorker.wait();
      ++counter;
      toMain.post();
    }
  });
  for (int i = 0; i < 20000; ++i) {
    ++counter;
    toWorker.post();
    toMain.wait();
  }
  worker.join();
  EXPECT_EQ(counter, 40000);
  EXPECT_EQ(toMain.post(), 1);
}

// A copy starts from its source's count at the moment of copying and counts on its
// own from then on, by copy construction and by assignment alike.
TEST(CSemaphore, ACopyCountsOnItsOwnFromTheCountItWasCopiedAt) {
  CSemaphore source(2);
  CSemaphore copy(source);
  EXPECT_EQ(source.post(), 3);
  EXPECT_EQ(copy.post(), 3);
  EXPECT_EQ(copy.wait(), 2);
  EXPECT_EQ(source.wait(), 2);
  CSemaphore assigned(7);
  assigned = source;
  EXPECT_EQ(source.wait(), 1);
  EXPECT_EQ(assigned.post(), 3);
  assigned = assigned;
  EXPECT_EQ(assigned.wait(), 2);
  EXPECT_EQ(copy.wait(), 1);
  EXPECT_EQ(source.reset(5), 0);
  EXPECT_EQ(copy.post(), 2);
}

// Copies share one condition: posts on one copy must neither release nor strand a
// waiter on another.
TEST(CSemaphore, WaitersOnCopiesAreReleasedByTheirOwnPostsOnly) {
  CSemaphore first;
  CSemaphore second(first);
  std::atomic<bool> firstDone{false}, secondDone{false};
  std::thread secondWaiter([&] {
    second.wait();
    secondDone = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  std::thread firstWaiter([&] {
    first.wait();
    firstDone = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  // The older waiter is on `second`: a wake-up of one thread only would go to it.
  EXPECT_EQ(first.post(), 1);
  for (int i = 0; i < 400 && !firstDone; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_TRUE(firstDone) << "the post on the first semaphore did not release its waiter";
  EXPECT_FALSE(secondDone) << "a post on the first semaphore released a waiter on the second";
  if (!firstDone) first.post();
  second.post();
  firstWaiter.join();
  secondWaiter.join();
  EXPECT_TRUE(secondDone);
}

TEST(CCondition, TimedWaitEndsAtItsAbsoluteDeadline) {
  CMutex m;
  CCondition c;
  m.lock();
  // These convert to 1 s + 1e9 ns and -1 s - 5e8 ns, which the wait would refuse
  // (EINVAL) rather than time out on.
  for (double past : {1.9999999996, -1.5, 0.0}) {
    EXPECT_EQ(c.timedWait(CTimeStamp::createWithSeconds(past), m), ETIMEDOUT) << past;
  }
  const CTimeStamp deadline = CTimeStamp::createWithLocalTime() + CTimeStamp::createWithMilliSeconds(230);
  int result = 0;
  while (result == 0) result = c.timedWait(deadline, m);  // 0: a spurious wake-up
  const CTimeStamp after = CTimeStamp::createWithLocalTime();
  m.unlock();
  EXPECT_EQ(result, ETIMEDOUT);
  // The clock reads whole microseconds.
  EXPECT_GE(after.getMicroSeconds(), deadline.getMicroSeconds() - 1) << "woke before the deadline";
}

// One of each primitive; copying it copies all three.
struct Primitives {
  CMutex mutex;
  CCondition condition;
  CSemaphore semaphore{1};
};

// Slot 0 is an original, 1 a copy of it, 2 assigned from the copy over primitives of
// its own. Whichever goes first, the others still name the same working primitives,
// and each primitive is destroyed once (ASan); each semaphore keeps its own count.
TEST(SharedPrimitives, CopiesNameOnePrimitiveAndOutliveEachOtherInAnyOrder) {
  std::array<int, 3> order{0, 1, 2};
  do {
    std::array<std::unique_ptr<Primitives>, 3> slots;
    slots[0] = std::make_unique<Primitives>();
    slots[1] = std::make_unique<Primitives>(*slots[0]);
    slots[2] = std::make_unique<Primitives>();
    *slots[2] = *slots[1];
    std::array<int, 3> counts{1, 1, 1};
    for (int victim : order) {
      for (int i = 0; i < 3; ++i) {
        if (!slots[i]) continue;
        Primitives& p = *slots[i];
        ASSERT_EQ(p.mutex.lock(), 0);
        for (int j = 0; j < 3; ++j) {
          if (j != i && slots[j]) {
            EXPECT_EQ(slots[j]->mutex.tryLock(), EBUSY) << i << " and " << j;
          }
        }
        EXPECT_EQ(p.condition.timedWait(CTimeStamp(), p.mutex), ETIMEDOUT);
        EXPECT_EQ(p.mutex.unlock(), 0);
        EXPECT_EQ(p.semaphore.post(), ++counts[i]);
      }
      slots[victim].reset();
    }
  } while (std::next_permutation(order.begin(), order.end()));
}

}  // namespace
