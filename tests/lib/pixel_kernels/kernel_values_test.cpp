// Exact numbers every level must produce: the conversion and rounding examples,
// the special constants, and the Gaussian sums at their rounding edges.

#include <gtest/gtest.h>

#include <cmath>
#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <vector>

#include "kernel_test_support.h"

namespace {

using namespace ns_pixel_kernels;

class KernelValues : public testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    if (!pk_test::runs_here(index())) GTEST_SKIP() << "this processor cannot run " << pk_test::level_name(index());
  }
  int index() const { return GetParam(); }
};

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
  uint32_t payload_nan = 0x7FC12345u, signalling_nan = 0x7F800001u;
  float qnan, snan;
  std::memcpy(&qnan, &payload_nan, 4);
  std::memcpy(&snan, &signalling_nan, 4);
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
  std::vector<float> in_place = {1.0f, -2.0f, 0.25f};
  ASSERT_EQ(fn(in_place.data(), -4.0f, in_place.data(), 3), status_ok);
  EXPECT_EQ(in_place, (std::vector<float>{-4.0f, 8.0f, -1.0f}));
}

TEST_P(KernelValues, AddAndMultiplyInPlace) {
  std::vector<float> a(67), b(67);
  for (int i = 0; i < 67; ++i) {
    a[i] = 0.1f * i;
    b[i] = 1000.0f - 3.0f * i;
  }
  std::vector<float> sum = b, product = a;
  ASSERT_EQ(add_f32_table[index()](a.data(), sum.data(), sum.data(), 67), status_ok);
  ASSERT_EQ(multiply_f32_table[index()](product.data(), b.data(), product.data(), 67), status_ok);
  for (int i = 0; i < 67; ++i) {
    EXPECT_EQ(sum[i], a[i] + b[i]) << i;
    EXPECT_EQ(product[i], a[i] * b[i]) << i;
  }
}

TEST_P(KernelValues, RowKernelsRejectBadArgumentsWritingNothing) {
  const int i = index();
  float f[4] = {1, 2, 3, 4}, out[4] = {7, 7, 7, 7};
  uint8_t bytes[4] = {7, 7, 7, 7};
  EXPECT_EQ(add_f32_table[i](f, f, out, 0), status_size_error);
  EXPECT_EQ(add_f32_table[i](f, f, nullptr, 0), status_null_pointer) << "null is checked before the length";
  EXPECT_EQ(multiply_f32_table[i](nullptr, f, out, -5), status_null_pointer);
  EXPECT_EQ(multiply_by_constant_f32_table[i](f, 2.0f, out, -1), status_size_error);
  EXPECT_EQ(convert_f32_to_u8_table[i](f, bytes, 0, 1, 0), status_size_error);
  EXPECT_EQ(convert_u8_to_f32_table[i](bytes, nullptr, 4), status_null_pointer);
  EXPECT_EQ(convert_u16_to_f32_table[i](nullptr, out, 4), status_null_pointer);
  for (float v : out) EXPECT_EQ(v, 7.0f);
  for (uint8_t v : bytes) EXPECT_EQ(v, 7);
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
  const uint8_t expected8[n] = {255, 0, 254, 2, 0, 255, 13, 255, 0};
  const uint16_t expected16[n] = {255, 0, 254, 1, 0, 65535, 12, 65535, 0};
  for (int i = 0; i < n; ++i) {
    EXPECT_EQ(narrow8[i], expected8[i]) << "sum " << sums[i];
    EXPECT_EQ(narrow16[i], expected16[i]) << "sum " << sums[i];
  }
  // Summed before narrowing: 100 * 0.75 + 51 * 0.5 = 100.5 rounds to 100; a zero
  // weight ignores even an infinity.
  const float a[] = {100.0f}, b[] = {51.0f}, c[] = {std::numeric_limits<float>::infinity()};
  const float* taps[] = {a, c, b};
  const float w[] = {0.75f, -0.0f, 0.5f};
  uint8_t out = 0;
  ASSERT_EQ(weighted_rows_f32_to_u8_table[index()](taps, w, 3, &out, 1), status_ok);
  EXPECT_EQ(out, 100);
}

TEST_P(KernelValues, WeightedRowsRejectBadArgumentsWritingNothing) {
  const int i = index();
  const float row[4] = {1, 2, 3, 4};
  const float* rows[] = {row, nullptr};
  const float w[] = {0.5f, 0.5f};
  uint8_t out[4] = {7, 7, 7, 7};
  uint16_t out16[4] = {7, 7, 7, 7};
  EXPECT_EQ(weighted_rows_f32_to_u8_table[i](rows, w, 2, out, 4), status_null_pointer) << "a null tap row";
  EXPECT_EQ(weighted_rows_f32_to_u8_table[i](rows, nullptr, 1, out, 4), status_null_pointer);
  EXPECT_EQ(weighted_rows_f32_to_u8_table[i](rows, w, 0, out, 4), status_size_error);
  EXPECT_EQ(weighted_rows_f32_to_u8_table[i](rows, w, 1, out, 0), status_size_error);
  EXPECT_EQ(weighted_rows_f32_to_u16_table[i](nullptr, w, 1, out16, 4), status_null_pointer);
  EXPECT_EQ(weighted_rows_f32_to_u16_table[i](rows, w, 1, nullptr, 4), status_null_pointer);
  EXPECT_EQ(weighted_rows_f32_to_u16_table[i](rows, w, -2, out16, 4), status_size_error);
  for (uint8_t v : out) EXPECT_EQ(v, 7);
  for (uint16_t v : out16) EXPECT_EQ(v, 7);
}

// A plane of `w` x `h` samples (ring included) with the given values at
// (x, y) offsets from the centre sample; the rest is `background`.
template <class T>
struct test_plane {
  test_plane(int32_t w, int32_t h, T background) : w(w), h(h), v(w * h, background) {}
  T& at(int32_t x, int32_t y) { return v[y * w + x]; }
  int32_t step() const { return w * static_cast<int32_t>(sizeof(T)); }
  int32_t w, h;
  std::vector<T> v;
};

TEST_P(KernelValues, Gauss3x3SingleBrightSampleAndTies) {
  auto* fn = gauss_filter_u8_table[index()];
  test_plane<uint8_t> p(7, 7, 0);
  p.at(3, 3) = 255;
  std::vector<uint8_t> out(25, 0xCC);
  ASSERT_EQ(fn(&p.at(1, 1), p.step(), out.data(), 5, {5, 5}, mask_3x3), status_ok);
  const std::vector<uint8_t> want = {0, 0,  0,  0,  0,  //
                                     0, 16, 32, 16, 0,  //
                                     0, 32, 64, 32, 0,  //
                                     0, 16, 32, 16, 0,  //
                                     0, 0,  0,  0,  0};
  EXPECT_EQ(out, want) << "S = 1020, 510, 255: 63.75, 31.875, 15.9375";
  // A corner neighbour of weight 1 gives S equal to its value: exact halves.
  for (auto [value, expected] : {std::pair{8, 0}, {24, 2}, {40, 2}, {56, 4}, {255, 16}}) {
    test_plane<uint8_t> q(3, 3, 0);
    q.at(0, 0) = static_cast<uint8_t>(value);
    uint8_t r = 0xCC;
    ASSERT_EQ(fn(&q.at(1, 1), q.step(), &r, 1, {1, 1}, mask_3x3), status_ok);
    EXPECT_EQ(r, expected) << "S = " << value;
  }
}

TEST_P(KernelValues, Gauss5x5RoundsAt285And286) {
  for (bool wide : {false, true}) {
    // 285 = 2 * 127 + 31; 286 = 2 * 127 + 2 * 12 + 4 * 2.
    auto run = [&](auto sample, std::initializer_list<std::tuple<int, int, int>> taps) {
      using T = decltype(sample);
      test_plane<T> q(5, 5, 0);
      for (auto [x, y, v] : taps) q.at(2 + x, 2 + y) = static_cast<T>(v);
      T r = 0;
      pixel_status s;
      if constexpr (sizeof(T) == 1) {
        s = gauss_filter_u8_table[index()](&q.at(2, 2), q.step(), &r, 1, {1, 1}, mask_5x5);
      } else {
        s = gauss_filter_u16_table[index()](&q.at(2, 2), q.step(), &r, 2, {1, 1}, mask_5x5);
      }
      EXPECT_EQ(s, status_ok);
      return static_cast<int>(r);
    };
    auto check = [&](auto sample) {
      EXPECT_EQ(run(sample, {{0, 0, 2}, {-1, -1, 1}}), 0) << "S = 285";
      EXPECT_EQ(run(sample, {{0, 0, 2}, {-2, 0, 1}, {2, 0, 1}, {-2, -2, 1}, {2, -2, 1}, {-2, 2, 1}, {2, 2, 1}}), 1)
          << "S = 286";
    };
    if (wide) {
      check(uint16_t{});
    } else {
      check(uint8_t{});
    }
  }
}

// Constant planes stay constant (the weights sum to the divisor), up to the largest
// sums, through the resizer's own call: a copy's interior filtered back into the
// plane.
TEST_P(KernelValues, ConstantPlanesStayConstant) {
  for (int32_t mask : {mask_3x3, mask_5x5}) {
    const int32_t r = mask == mask_3x3 ? 1 : 2;
    for (int value : {0, 1, 128, 255}) {
      test_plane<uint8_t> plane(41, 9, static_cast<uint8_t>(value));
      const std::vector<uint8_t> copy = plane.v;
      ASSERT_EQ(gauss_filter_u8_table[index()](copy.data() + r * 41 + r, 41, &plane.at(r, r), 41, {41 - 2 * r, 9 - 2 * r}, mask),
                status_ok);
      EXPECT_EQ(plane.v, copy) << "value " << value << " mask " << mask;
    }
    for (int value : {0, 1, 40000, 65535}) {
      test_plane<uint16_t> plane(23, 8, static_cast<uint16_t>(value));
      const std::vector<uint16_t> copy = plane.v;
      ASSERT_EQ(gauss_filter_u16_table[index()](copy.data() + r * 23 + r, plane.step(), &plane.at(r, r), plane.step(),
                                                {23 - 2 * r, 8 - 2 * r}, mask),
                status_ok);
      EXPECT_EQ(plane.v, copy) << "value " << value << " mask " << mask;
    }
  }
}

TEST_P(KernelValues, GaussRejectsBadArgumentsInOrder) {
  auto* fn = gauss_filter_u8_table[index()];  // the checks are shared by both sample types
  uint8_t src[64] = {}, dst[16];
  std::memset(dst, 0x77, sizeof dst);
  const uint8_t* s = src + 18;
  EXPECT_EQ(fn(nullptr, 0, dst, 0, {0, 0}, 0), status_null_pointer);
  EXPECT_EQ(fn(s, 0, dst, 0, {0, 3}, 0), status_size_error);
  EXPECT_EQ(fn(s, 8, dst, 4, {3, 0}, 33), status_size_error);
  EXPECT_EQ(fn(s, 0, dst, 4, {3, 3}, 0), status_step_error);
  EXPECT_EQ(fn(s, 8, dst, -4, {3, 3}, 33), status_step_error);
  EXPECT_EQ(fn(s, 8, dst, 4, {3, 3}, 35), status_mask_size_error);
  EXPECT_EQ(fn(s, 8, dst, 4, {3, 3}, 5), status_mask_size_error);
  EXPECT_EQ(gauss_filter_u16_table[index()](nullptr, 8, nullptr, 8, {1, 1}, 33), status_null_pointer);
  for (uint8_t v : dst) EXPECT_EQ(v, 0x77);
}

INSTANTIATE_TEST_SUITE_P(Levels, KernelValues, testing::Range(0, kVariantCount), pk_test::level_param_name());

}  // namespace
