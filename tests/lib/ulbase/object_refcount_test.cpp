#include "ulbase/object_refcount.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

struct tracked : ulbase::object_refcount {
  explicit tracked(std::atomic<int>* d) : destroyed(d) {}
  ~tracked() override { destroyed->fetch_add(1); }
  std::atomic<int>* destroyed;
  int payload = 0;
};

// A copy is a new object: it does not inherit the references of the original.
TEST(ObjectRefcount, ACopyStartsWithoutReferences) {
  std::atomic<int> destroyed{0};
  tracked original(&destroyed);
  original.retain();
  auto* copy = new tracked(original);
  EXPECT_EQ(copy->reference_count(), 0);
  copy->retain();
  copy->release();
  EXPECT_EQ(destroyed.load(), 1);
}

// Threads share one object, each retaining and releasing many times while writing
// to it; the last release must destroy it exactly once, after every write (tsan
// checks the ordering, asan the use after free).
TEST(ObjectRefcount, ConcurrentRetainReleaseDestroysExactlyOnce) {
  for (int round = 0; round < 20; ++round) {
    std::atomic<int> destroyed{0};
    auto* obj = new tracked(&destroyed);
    constexpr int kThreads = 4;
    for (int i = 0; i < kThreads; ++i) obj->retain();  // one reference per thread
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([obj, t] {
        for (int i = 0; i < 2000; ++i) {
          obj->retain();
          obj->release();
        }
        if (t == 0) obj->payload = 1;  // a write the destroying thread must see
        obj->release();
      });
    }
    for (auto& th : threads) th.join();
    EXPECT_EQ(destroyed.load(), 1);
  }
}

}  // namespace
