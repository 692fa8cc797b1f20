// Entry points before and during init_dispatch. Kept in a program of its own so
// that nothing has set variant_index before the first test runs.

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <thread>
#include <vector>

#include "pixel_kernels/dispatch/cpu_features.h"
#include "pixel_kernels/dispatch/tables.h"

namespace {

using namespace ns_pixel_kernels;

// A NaN tells the levels apart: the generic code stores 0, every vector level 255.
uint8_t narrowed_nan() {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  uint8_t out = 0x11;
  EXPECT_EQ(convert_f32_to_u8(&nan, &out, 1, round_nearest, 0), status_ok);
  return out;
}

TEST(Dispatch, EntryPointsRunGenericUntilInitThenTheChosenLevel) {
  ASSERT_EQ(variant_index.load(), 0);
  EXPECT_EQ(narrowed_nan(), 0);
  const cpu_snapshot regs = read_cpu_snapshot();
  const pixel_status status = init_dispatch();
  EXPECT_EQ(status, is_genuine_intel(regs.leaf0) ? status_ok : status_unexpected_vendor);
  EXPECT_EQ(init_dispatch(), status) << "a second call changes nothing";
  const int32_t chosen = variant_index.load();
  EXPECT_EQ(chosen, choose_variant(decode_features(regs)));
  EXPECT_EQ(narrowed_nan(), chosen == 0 ? 0 : 255) << "the index is read on every call";
  variant_index.store(0);
  EXPECT_EQ(narrowed_nan(), 0);
  variant_index.store(chosen);
}

// Resizers on several threads initialise while others already filter: no waiting,
// no race (ThreadSanitizer), and identical results throughout.
TEST(Dispatch, ConcurrentInitAndCallsAgree) {
  std::vector<uint8_t> plane(66 * 34);
  for (size_t i = 0; i < plane.size(); ++i) plane[i] = static_cast<uint8_t>(i * 131 + (i >> 5));
  std::vector<uint8_t> want(64 * 32);
  ASSERT_EQ(gauss_filter_u8_table[0](plane.data() + 67, 66, want.data(), 64, {64, 32}, mask_3x3), status_ok);
  std::atomic<int> mismatches{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      std::vector<uint8_t> out(want.size());
      for (int k = 0; k < 200; ++k) {
        if (t % 2 == 0 && k % 50 == 0) init_dispatch();
        gauss_filter_u8(plane.data() + 67, 66, out.data(), 64, {64, 32}, mask_3x3);
        if (out != want) mismatches.fetch_add(1);
      }
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(mismatches.load(), 0);
}

}  // namespace
