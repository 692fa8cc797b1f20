#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "orrin/data_reference.h"
#include "orrin/media_sample.h"
#include "orrin/object.h"
#include "orrin/video_properties.h"

namespace Quorvane::Orrin {
namespace {

struct counted : CObject {
  explicit counted(int* destroyed) : destroyed_(destroyed) {}
  ~counted() override { ++*destroyed_; }
  int* destroyed_;
};

TEST(OrrinObject, LastReferenceDestroysOnceThroughCopiesMovesAndResets) {
  int destroyed = 0;
  {
    RObject<counted> a(new counted(&destroyed));
    EXPECT_EQ(a->GetReferenceCount(), 1);
    RObject<counted> b = a;
    RObject<CObject> base = b;
    EXPECT_EQ(a->GetReferenceCount(), 3);
    RObject<counted> c = std::move(b);
    EXPECT_FALSE(b);
    EXPECT_EQ(a->GetReferenceCount(), 3);
    c.Reset();
    base = nullptr;
    a = a;  // self-assignment keeps the reference
    EXPECT_EQ(a->GetReferenceCount(), 1);
    EXPECT_EQ(destroyed, 0);
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(OrrinObject, ConcurrentHoldersReleaseExactlyOnce) {
  int destroyed = 0;
  {
    RObject<counted> shared(new counted(&destroyed));
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
      threads.emplace_back([shared] {
        for (int i = 0; i < 20000; ++i) RObject<counted> copy = shared;
      });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(shared->GetReferenceCount(), 1);
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(OrrinDataReference, LocksKeepBytesAliveAndRefuseUnknownModes) {
  CLockedDataReference lock;
  {
    RObject<CByteArray> bytes(new CByteArray(std::size_t{100}));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(bytes->GetData()) % 64, 0u);
    RObject<CPixelBufferDataReference> picture(new CPixelBufferDataReference(bytes.Get(), 10, 5, 20));
    EXPECT_EQ(picture->GetStride(), 20);
    EXPECT_EQ(picture->GetLockedDataReference(0).GetData(), nullptr);
    EXPECT_EQ(picture->GetLockedDataReference(4).GetLength(), 0u);
    EXPECT_EQ(picture->GetLockedDataReference(kLockRead | 8).GetData(), nullptr);
    lock = picture->GetLockedDataReference(kLockReadWrite);
  }
  // The lock outlives the array's other holders; ASan reports a use after free otherwise.
  ASSERT_EQ(lock.GetLength(), 100u);
  lock.GetData()[99] = 7;

  uint8_t outside[4] = {};
  RObject<CDataReference> plain(new CDataReference(new CByteArray(outside, sizeof outside)));
  EXPECT_EQ(plain->GetStride(), 0);
  EXPECT_EQ(plain->GetLockedDataReference(kLockRead).GetData(), outside);
}

TEST(OrrinVideoProperties, CopiesBaseAndRejectsOtherContexts) {
  RObject<CVideoProperties> base(new CVideoProperties(nullptr));
  EXPECT_EQ(base->GetWidth(), 0);
  EXPECT_FALSE(base->SetWidth(720, kVideoStreamContext).Failed());
  EXPECT_FALSE(base->SetProperty("vrc.width", 1920L).Failed());
  EXPECT_TRUE(base->SetHeight(576, 2).Failed());
  EXPECT_TRUE(base->SetHeight(-1, kVideoStreamContext).Failed());
  EXPECT_TRUE(base->SetProperty("", 1L).Failed());
  EXPECT_EQ(base->GetHeight(), 0);

  RObject<CVideoProperties> copy(new CVideoProperties(base.Get()));
  base->SetWidth(1, kVideoStreamContext);
  long value = 0;
  EXPECT_EQ(copy->GetWidth(), 720);
  EXPECT_FALSE(copy->GetProperty("vrc.width", &value).Failed());
  EXPECT_EQ(value, 1920);
  EXPECT_EQ(copy->GetProperty("vrc.height", &value).GetResultCode(), kResultNotFound);
  EXPECT_EQ(value, 1920);
}

}  // namespace
}  // namespace Quorvane::Orrin
