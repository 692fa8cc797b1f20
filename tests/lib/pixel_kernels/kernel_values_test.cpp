// Exact numbers every level must produce: the conversion and rounding examples,
// the special constants, the Gaussian sums at their rounding edges, and the
// statuses for bad arguments.

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <tuple>
#include <vector>

#include "kernel_test_support.h"

namespace {

using namespace ns_pixel_kernels;

using KernelValues = pk_test::level_test;

std::vector<uint8_t> narrow(convert_f32_to_u8_fn* fn, std::vector<float> in, int32_t mode, int32_t scale) {
  std::vector<uint8_t> out(in.size(), 0xCC);
  EXPECT_EQ(fn(in.data(), out.data(), static_cast<int32_t>(in.size()), mode, scale), status_ok);
  return out;
}

TEST_P(KernelValues, ConvertF32ToU8RoundsAndScales) {
  auto* fn = convert_f32_to_u8_table[index()];
  const std::vector<float> in = {-3.0f, 0.49f, 0.5f, 1.5f, 254.5f, 255.0f, 300.0f};
  EXPECT_EQ(narrow(fn, in, round_nearest, 0), (std::vector<uint8_t>{0, 0, 0, 2, 254, 255, 255}));
  EXPECT_EQ(narrow(fn, in, round_toward_zero, 0), (std::vector<uint8_t>{0, 0, 0, 1, 254, 255, 255}));
  EXPECT_EQ(narrow(fn, in, round_half_away, 0), (std::vector<uint8_t>{0, 0, 1, 2, 255, 255, 255}));
  EXPECT_EQ(narrow(fn, in, 99, 0), narrow(fn, in, round_half_away, 0)) << "any other mode rounds half away";
  // Ties: even under round_nearest, away under the other mode; the float just below
  // one half must not round up (an add-0.5-then-truncate under nearest would).
  const std::vector<float> ties = {2.5f, 3.5f, 2.49f, std::nextafter(0.5f, 0.0f), 127.5f};
  EXPECT_EQ(narrow(fn, ties, round_nearest, 0), (std::vector<uint8_t>{2, 4, 2, 0, 128}));
  EXPECT_EQ(narrow(fn, ties, round_half_away, 0), (std::vector<uint8_t>{3, 4, 2, 0, 128}));
  EXPECT_EQ(narrow(fn, {510.0f}, round_nearest, 1), std::vector<uint8_t>{255});
  EXPECT_EQ(narrow(fn, {1.0f}, round_nearest, -3), std::vector<uint8_t>{8});
  EXPECT_EQ(narrow(fn, {9.0f, 3.0f}, round_half_away, 1), (std::vector<uint8_t>{5, 2})) << "4.5 and 1.5";
  EXPECT_EQ(narrow(fn, {-0.0f, std::numeric_limits<float>::infinity()}, round_nearest, 0), (std::vector<uint8_t>{0, 255}));
}

TEST_P(KernelValues, MultiplyByConstantSpecialValues) {
  auto* fn = multiply_by_constant_f32_table[index()];
  const float inf = std::numeric_limits<float>::infinity();
  const float qnan = std::bit_cast<float>(0x7FC12345u), snan = std::bit_cast<float>(0x7F800001u);
  const std::vector<float> src = {-0.0f, qnan, snan, inf, -inf, 3.0f, -2.5f, 1e-40f, 7.0f};
  const int32_t n = static_cast<int32_t>(src.size());
  std::vector<float> dst(src.size(), 9.0f);
  ASSERT_EQ(fn(src.data(), 1.0f, dst.data(), n), status_ok);
  EXPECT_EQ(std::memcmp(dst.data(), src.data(), n * 4), 0) << "1.0 copies bits: -0.0 and both NaNs kept";
  for (float zero : {0.0f, -0.0f}) {
    std::fill(dst.begin(), dst.end(), 9.0f);
    ASSERT_EQ(fn(src.data(), zero, dst.data(), n), status_ok);
    for (float v : dst) EXPECT_EQ(std::bit_cast<uint32_t>(v), 0u) << "+0.0 even from infinities and NaN";
  }
}

// The scaler's narrowing through one tap of weight 1.0: 8-bit rounds ties to even and
// saturates, 16-bit truncates and clamps; NaN stores 0 at every level.
TEST_P(KernelValues, WeightedRowsNarrowLikeTheScaler) {
  const float sums[] = {255.6f, -3.0f, 254.5f, 1.5f, 0.49f, 65535.9f, 12.9f, 70000.0f,
                        std::numeric_limits<float>::quiet_NaN()};
  constexpr int32_t n = 9;
  const float* rows[] = {sums};
  const float one = 1.0f;
  uint8_t narrow8[n];
  uint16_t narrow16[n];
  ASSERT_EQ(weighted_rows_f32_to_u8_table[index()](rows, &one, 1, narrow8, n), status_ok);
  ASSERT_EQ(weighted_rows_f32_to_u16_table[index()](rows, &one, 1, narrow16, n), status_ok);
  EXPECT_EQ(std::vector<uint8_t>(narrow8, narrow8 + n), (std::vector<uint8_t>{255, 0, 254, 2, 0, 255, 13, 255, 0}));
  EXPECT_EQ(std::vector<uint16_t>(narrow16, narrow16 + n),
            (std::vector<uint16_t>{255, 0, 254, 1, 0, 65535, 12, 65535, 0}));
  // Summed before narrowing: 100 * 0.75 + 51 * 0.5 = 100.5 rounds to 100; a zero
  // weight ignores even an infinity.
  const float a[] = {100.0f}, b[] = {51.0f}, c[] = {std::numeric_limits<float>::infinity()};
  const float* taps[] = {a, c, b};
  const float w[] = {0.75f, -0.0f, 0.5f};
  uint8_t out = 0;
  ASSERT_EQ(weighted_rows_f32_to_u8_table[index()](taps, w, 3, &out, 1), status_ok);
  EXPECT_EQ(out, 100);
}

// Null is checked before sizes, sizes before steps, steps before the mask; nothing
// is written on failure.
TEST_P(KernelValues, BadArgumentsAreRejectedInOrderWritingNothing) {
  const int i = index();
  const float f[4] = {1, 2, 3, 4};
  const float* rows[] = {f, nullptr};
  const float w[] = {0.5f, 0.5f};
  float out[4] = {7, 7, 7, 7};
  uint8_t bytes[16];
  uint16_t words[4] = {7, 7, 7, 7};
  std::memset(bytes, 7, sizeof bytes);
  EXPECT_EQ(add_f32_table[i](f, f, out, 0), status_size_error);
  EXPECT_EQ(add_f32_table[i](f, f, nullptr, 0), status_null_pointer);
  EXPECT_EQ(multiply_f32_table[i](nullptr, f, out, -5), status_null_pointer);
  EXPECT_EQ(multiply_by_constant_f32_table[i](f, 2.0f, out, -1), status_size_error);
  EXPECT_EQ(convert_f32_to_u8_table[i](f, bytes, 0, 1, 0), status_size_error);
  EXPECT_EQ(convert_u8_to_f32_table[i](bytes, nullptr, 4), status_null_pointer);
  EXPECT_EQ(convert_u16_to_f32_table[i](nullptr, out, 4), status_null_pointer);

  EXPECT_EQ(weighted_rows_f32_to_u8_table[i](rows, w, 2, bytes, 4), status_null_pointer) << "a null tap row";
  EXPECT_EQ(weighted_rows_f32_to_u8_table[i](rows, nullptr, 1, bytes, 4), status_null_pointer);
  EXPECT_EQ(weighted_rows_f32_to_u8_table[i](rows, w, 0, bytes, 4), status_size_error);
  EXPECT_EQ(weighted_rows_f32_to_u8_table[i](rows, w, 1, bytes, 0), status_size_error);
  EXPECT_EQ(weighted_rows_f32_to_u16_table[i](nullptr, w, 1, words, 4), status_null_pointer);
  EXPECT_EQ(weighted_rows_f32_to_u16_table[i](rows, w, 1, nullptr, 4), status_null_pointer);
  EXPECT_EQ(weighted_rows_f32_to_u16_table[i](rows, w, -2, words, 4), status_size_error);

  auto* gauss = gauss_filter_u8_table[i];  // the checks are shared by both sample types
  const uint8_t src[64] = {};
  const uint8_t* s = src + 18;
  EXPECT_EQ(gauss(nullptr, 0, bytes, 0, {0, 0}, 0), status_null_pointer);
  EXPECT_EQ(gauss(s, 0, bytes, 0, {0, 3}, 0), status_size_error);
  EXPECT_EQ(gauss(s, 8, bytes, 4, {3, 0}, 33), status_size_error);
  EXPECT_EQ(gauss(s, 0, bytes, 4, {3, 3}, 0), status_step_error);
  EXPECT_EQ(gauss(s, 8, bytes, -4, {3, 3}, 33), status_step_error);
  EXPECT_EQ(gauss(s, 8, bytes, 4, {3, 3}, 35), status_mask_size_error);
  EXPECT_EQ(gauss(s, 8, bytes, 4, {3, 3}, 5), status_mask_size_error);
  EXPECT_EQ(gauss_filter_u16_table[i](nullptr, 8, nullptr, 8, {1, 1}, 33), status_null_pointer);

  for (float v : out) EXPECT_EQ(v, 7.0f);
  for (uint8_t v : bytes) EXPECT_EQ(v, 7);
  for (uint16_t v : words) EXPECT_EQ(v, 7);
}

// A plane of w x h samples (ring included), `background` but for the listed
// (x, y, value) samples; filtered at the region inside the ring.
template <class T>
std::vector<T> gauss(int index, int32_t w, int32_t h, int32_t mask, T background,
                     std::initializer_list<std::tuple<int, int, int>> samples = {}) {
  std::vector<T> plane(w * h, background);
  for (auto [x, y, v] : samples) plane[y * w + x] = static_cast<T>(v);
  const int32_t r = mask == mask_3x3 ? 1 : 2, rw = w - 2 * r, rh = h - 2 * r;
  const int32_t step = w * static_cast<int32_t>(sizeof(T)), out_step = rw * static_cast<int32_t>(sizeof(T));
  std::vector<T> out(rw * rh, 0xCC);
  pixel_status s;
  if constexpr (sizeof(T) == 1) {
    s = gauss_filter_u8_table[index](&plane[r * w + r], step, out.data(), out_step, {rw, rh}, mask);
  } else {
    s = gauss_filter_u16_table[index](&plane[r * w + r], step, out.data(), out_step, {rw, rh}, mask);
  }
  EXPECT_EQ(s, status_ok);
  return out;
}

TEST_P(KernelValues, GaussSumsRoundAtTheirEdges) {
  const std::vector<uint8_t> want = {0, 0,  0,  0,  0,  //
                                     0, 16, 32, 16, 0,  //
                                     0, 32, 64, 32, 0,  //
                                     0, 16, 32, 16, 0,  //
                                     0, 0,  0,  0,  0};
  EXPECT_EQ(gauss<uint8_t>(index(), 7, 7, mask_3x3, 0, {{3, 3, 255}}), want)
      << "S = 1020, 510, 255: 63.75, 31.875, 15.9375";
  // A corner neighbour of weight 1 gives S equal to its value: exact halves, to even.
  for (auto [value, expected] : {std::pair{8, 0}, {24, 2}, {40, 2}, {56, 4}, {255, 16}})
    EXPECT_EQ(gauss<uint8_t>(index(), 3, 3, mask_3x3, 0, {{0, 0, value}})[0], expected) << "S = " << value;
  // 5x5: S = 285 (2 * 127 + 31) rounds down, 286 (2 * 127 + 2 * 12 + 4 * 2) up.
  const std::initializer_list<std::tuple<int, int, int>> s285 = {{2, 2, 2}, {1, 1, 1}};
  const std::initializer_list<std::tuple<int, int, int>> s286 = {{2, 2, 2}, {0, 2, 1}, {4, 2, 1}, {0, 0, 1},
                                                                 {4, 0, 1}, {0, 4, 1}, {4, 4, 1}};
  EXPECT_EQ(gauss<uint8_t>(index(), 5, 5, mask_5x5, 0, s285)[0], 0);
  EXPECT_EQ(gauss<uint8_t>(index(), 5, 5, mask_5x5, 0, s286)[0], 1);
  EXPECT_EQ(gauss<uint16_t>(index(), 5, 5, mask_5x5, 0, s285)[0], 0);
  EXPECT_EQ(gauss<uint16_t>(index(), 5, 5, mask_5x5, 0, s286)[0], 1);
  // Constant planes stay constant (the weights sum to the divisor), up to the largest sums.
  for (int32_t mask : {mask_3x3, mask_5x5}) {
    const int32_t ring = mask == mask_3x3 ? 2 : 4;
    for (int v : {1, 128, 255})
      EXPECT_EQ(gauss<uint8_t>(index(), 41, 9, mask, v), std::vector<uint8_t>((41 - ring) * (9 - ring), v))
          << "value " << v << " mask " << mask;
    for (int v : {1, 40000, 65535})
      EXPECT_EQ(gauss<uint16_t>(index(), 23, 8, mask, v), std::vector<uint16_t>((23 - ring) * (8 - ring), v))
          << "value " << v << " mask " << mask;
  }
}

INSTANTIATE_TEST_SUITE_P(Levels, KernelValues, testing::Range(0, kVariantCount), pk_test::level_param_name);

}  // namespace
