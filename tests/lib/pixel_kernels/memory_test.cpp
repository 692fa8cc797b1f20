// The aligned allocator over the memory hooks, and the Gaussian filters' use of it:
// the block layout, failures, and every row buffer given back.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "kernel_test_support.h"

namespace {

using namespace ns_pixel_kernels;

// Hooks that count calls, remember the last raw block, and can refuse.
struct counting_hooks {
  static inline int allocations = 0, releases = 0;
  static inline size_t last_request = 0;
  static inline void* last_raw = nullptr;
  static inline bool refuse = false;

  static void* allocate(size_t n) {
    if (refuse) return nullptr;
    ++allocations;
    last_request = n;
    return last_raw = std::malloc(n);
  }
  static void release(void* p) {
    ++releases;
    last_raw = p;
    std::free(p);
  }
};

class MemoryHooks : public testing::Test {
 protected:
  void SetUp() override {
    counting_hooks::allocations = counting_hooks::releases = 0;
    counting_hooks::refuse = false;
    previous_ = set_memory_hooks({counting_hooks::allocate, std::calloc, std::realloc, counting_hooks::release});
  }
  void TearDown() override {
    const memory_hooks mine = set_memory_hooks(previous_);
    EXPECT_EQ(mine.allocate, &counting_hooks::allocate) << "set_memory_hooks returns the hooks it replaces";
  }
  memory_hooks previous_{};
};

TEST_F(MemoryHooks, AlignedBlocksKeepTheRawAddressInFrontOrAreNull) {
  for (int32_t bytes : {1, 7, 63, 64, 65, 1000, 1 << 20}) {
    auto* p = static_cast<unsigned char*>(aligned_alloc_64(bytes));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
    EXPECT_EQ(counting_hooks::last_request, static_cast<size_t>(bytes) + 72);
    auto* raw = static_cast<unsigned char*>(counting_hooks::last_raw);
    EXPECT_GE(p - raw, 8) << "room for the raw address";
    EXPECT_LE(p - raw, 71);
    std::memset(p, 0x5A, bytes);  // the whole block is usable (ASan)
    aligned_free_64(p);
    EXPECT_EQ(counting_hooks::last_raw, raw) << "release gets the raw block back";
  }
  EXPECT_EQ(counting_hooks::allocations, counting_hooks::releases);
  counting_hooks::allocations = counting_hooks::releases = 0;
  EXPECT_EQ(aligned_alloc_64(0), nullptr);
  EXPECT_EQ(aligned_alloc_64(-1), nullptr);
  EXPECT_EQ(aligned_alloc_64(INT32_MIN), nullptr);
  EXPECT_EQ(counting_hooks::allocations, 0) << "no hook call for a size below 1";
  counting_hooks::refuse = true;
  EXPECT_EQ(aligned_alloc_64(100), nullptr);
  aligned_free_64(nullptr);
  EXPECT_EQ(counting_hooks::releases, 0);
}

// The generic 8-bit filters take row buffers and must give every one back; when
// none can be had they report it and leave the destination alone. The vector
// levels allocate nothing, so they still filter.
TEST_F(MemoryHooks, GaussianRowBuffersAreReleasedOrTheirLackReported) {
  constexpr int32_t w = 40, h = 12, cols = w + 4;
  std::vector<uint8_t> plane(cols * (h + 4));
  for (size_t i = 0; i < plane.size(); ++i) plane[i] = static_cast<uint8_t>(i * 37);
  const uint8_t* src = plane.data() + 2 * cols + 2;
  for (int32_t mask : {mask_3x3, mask_5x5}) {
    std::vector<uint8_t> ref(w * h, 0xEE);
    EXPECT_EQ(gauss_filter_u8_table[0](src, cols, ref.data(), w, {w, h}, mask), status_ok);
    EXPECT_GT(counting_hooks::allocations, 0);
    EXPECT_EQ(counting_hooks::allocations, counting_hooks::releases) << "mask " << mask;

    counting_hooks::refuse = true;
    std::vector<uint8_t> dst(w * h, 0xEE);
    EXPECT_EQ(gauss_filter_u8_table[0](src, cols, dst.data(), w, {w, h}, mask), status_no_memory);
    EXPECT_EQ(dst, std::vector<uint8_t>(w * h, 0xEE)) << "nothing written";
    for (int i = 1; i < kVariantCount; ++i) {
      if (!pk_test::runs_here(i)) continue;
      EXPECT_EQ(gauss_filter_u8_table[i](src, cols, dst.data(), w, {w, h}, mask), status_ok) << pk_test::level_name(i);
      EXPECT_EQ(dst, ref) << pk_test::level_name(i);
    }
    counting_hooks::refuse = false;
  }
  // A row buffer whose size does not fit the allocator's int32 argument.
  std::vector<uint8_t> one(8);
  EXPECT_EQ(gauss_filter_u8_table[0](src, cols, one.data(), 1, {INT32_MAX / 8, 1}, mask_5x5), status_no_memory);
}

}  // namespace
