#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "orrin/data_reference.h"
#include "orrin/object.h"

namespace Quorvane::Orrin {
namespace {

struct counted : CObject {
  explicit counted(int* destroyed) : destroyed_(destroyed) {}
  ~counted() override { ++*destroyed_; }
  int* destroyed_;
};

TEST(OrrinObject, LastReleaseDestroysOnceAcrossCopiesMovesAndThreads) {
  int destroyed = 0;
  {
    RObject<counted> a(new counted(&destroyed));
    RObject<CObject> base = a;
    RObject<counted> moved = std::move(a);
    EXPECT_FALSE(a);
    EXPECT_EQ(moved->GetReferenceCount(), 2);
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
      threads.emplace_back([moved] {
        for (int i = 0; i < 20000; ++i) RObject<counted> copy = moved;
      });
    }
    for (auto& t : threads) t.join();
    base.Reset();
    moved = moved;
    EXPECT_EQ(moved->GetReferenceCount(), 1);
    EXPECT_EQ(destroyed, 0);
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(OrrinDataReference, LockKeepsTheBytesAliveAndRefusesUnknownModes) {
  CLockedDataReference lock;
  {
    RObject<CPixelBufferDataReference> picture(
        new CPixelBufferDataReference(new CByteArray(std::size_t{100}), 10, 5, 20));
    EXPECT_EQ(picture->GetLockedDataReference(0).GetData(), nullptr);
    EXPECT_EQ(picture->GetLockedDataReference(kLockRead | 8).GetLength(), 0u);
    lock = picture->GetLockedDataReference(kLockReadWrite);
  }
  // The lock outlives every other holder of the bytes (ASan reports a use after free otherwise).
  ASSERT_EQ(lock.GetLength(), 100u);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(lock.GetData()) % 64, 0u);
  lock.GetData()[99] = 7;
}

}  // namespace
}  // namespace Quorvane::Orrin
