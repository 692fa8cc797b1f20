// Every vector implementation against the generic one, bit for bit: random and
// boundary inputs, every short length and a few long ones, misaligned pointers,
// in-place use, odd regions and steps. Outputs are guarded by sentinels, inputs
// and MXCSR must come back unchanged.

#include <gtest/gtest.h>
#include <immintrin.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "kernel_test_support.h"
#include "pixel_kernels/common/scale_factor.h"

namespace {

using namespace ns_pixel_kernels;
using pk_test::exact_buffer;
using pk_test::guarded_bytes;

std::vector<int32_t> row_lengths() {
  std::vector<int32_t> lengths;
  for (int32_t n = 1; n <= 70; ++n) lengths.push_back(n);
  for (int32_t n : {1920, 1921, 4103}) lengths.push_back(n);
  return lengths;
}

// Source and destination offsets in elements from a 64-byte boundary, each moved
// on its own through one 256-bit vector's worth.
std::vector<std::pair<size_t, size_t>> offsets() {
  std::vector<std::pair<size_t, size_t>> o;
  for (size_t k = 0; k < 8; ++k) {
    o.emplace_back(k, 0);
    if (k) o.emplace_back(0, k);
  }
  return o;
}

uint32_t float_bits(float f) {
  uint32_t u;
  std::memcpy(&u, &f, sizeof u);
  return u;
}
float bits_float(uint32_t u) {
  float f;
  std::memcpy(&f, &u, sizeof f);
  return f;
}

// Values a conversion or an addition gets wrong first: signed zeros, infinities,
// the largest and subnormal magnitudes, halves and their neighbours, the range ends.
float special_float(std::mt19937_64& rng) {
  const float inf = std::numeric_limits<float>::infinity();
  const float half = static_cast<float>(rng() % 520) - 4.5f;  // k + 0.5 around 0..255
  const float picks[] = {0.0f,
                         -0.0f,
                         inf,
                         -inf,
                         3.0e38f,
                         -3.0e38f,
                         1.0e-40f,
                         -1.0e-40f,
                         255.0f,
                         256.0f,
                         -1.0f,
                         0.5f,
                         half,
                         std::nextafter(half, -inf),
                         std::nextafter(half, inf),
                         -half};
  return picks[rng() % (sizeof picks / sizeof picks[0])];
}

// One canonical quiet NaN: two NaN operands then give the same bits whichever one
// an implementation returns.
const float quiet_nan = bits_float(0x7FC00000u);

enum class fill { random, special, mixed_nan };

float make_float(std::mt19937_64& rng, fill mode) {
  std::uniform_real_distribution<float> wide(-300.0f, 600.0f);
  switch (mode) {
    case fill::random:
      return wide(rng);
    case fill::special:
      return special_float(rng);
    case fill::mixed_nan:
      return rng() % 7 == 0 ? quiet_nan : (rng() % 2 ? special_float(rng) : wide(rng));
  }
  return 0.0f;
}

class KernelEquivalence : public testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    if (!pk_test::runs_here(index())) GTEST_SKIP() << "this processor cannot run " << level();
  }
  int index() const { return GetParam(); }
  const char* level() const { return pk_test::level_name(index()); }

  // Tests each distinct function once: a slot that repeats a lower one is skipped.
  template <class Fn>
  bool repeats_lower_slot(const dispatch_table<Fn>& table) const {
    for (int i = 1; i < index(); ++i)
      if (table[i] == table[index()] && pk_test::runs_here(i)) return true;
    return false;
  }

  std::mt19937_64 rng_{pk_test::test_seed()};
};

// Runs `call` on the reference and the variant (each given its own destination of
// `dst_bytes` at `dst_offset` bytes), checks MXCSR, the sentinels and the returned
// status, and hands both destinations to `compare`.
template <class Call, class Compare>
void run_both(const Call& call, size_t dst_bytes, size_t dst_offset, const Compare& compare) {
  guarded_bytes ref(dst_bytes, dst_offset), out(dst_bytes, dst_offset);
  // Rounding mode, masks, FTZ/DAZ; the sticky exception flags may be raised.
  auto control = [] { return _mm_getcsr() & ~0x3Fu; };
  const unsigned int csr = control();
  const pixel_status ref_status = call(0, ref.data());
  ASSERT_EQ(control(), csr) << "generic changed the MXCSR controls";
  const pixel_status status = call(1, out.data());
  ASSERT_EQ(control(), csr) << "MXCSR controls changed";
  ASSERT_EQ(status, ref_status);
  ASSERT_TRUE(ref.guards_intact()) << "generic wrote outside its destination";
  ASSERT_TRUE(out.guards_intact()) << "wrote outside the destination";
  compare(ref.data(), out.data());
}

// Widening conversions: every sample value is exact, so any difference is a fault
// in addressing, lane order or the tails.
template <class T, class Fn>
void check_widen(const dispatch_table<Fn>& table, int index, std::mt19937_64& rng) {
  const auto fns = std::array{table[0], table[index]};
  for (int32_t len : row_lengths()) {
    for (auto [so, doff] : offsets()) {
      exact_buffer<T> src(len, so);
      for (int32_t i = 0; i < len; ++i) src[i] = static_cast<T>(rng());
      src[0] = std::numeric_limits<T>::max();
      const std::vector<T> before(src.data(), src.data() + len);
      run_both([&](int which, unsigned char* d) { return fns[which](src.data(), reinterpret_cast<float*>(d), len); },
               len * sizeof(float), doff * sizeof(float), [&](const unsigned char* r, const unsigned char* o) {
                 ASSERT_EQ(std::memcmp(r, o, len * sizeof(float)), 0) << "len " << len << " offsets " << so << "," << doff;
               });
      ASSERT_TRUE(src.same_as(before)) << "source changed";
    }
  }
}

TEST_P(KernelEquivalence, ConvertU8ToF32) {
  if (repeats_lower_slot(convert_u8_to_f32_table)) GTEST_SKIP() << "same function as a lower slot";
  SCOPED_TRACE(testing::Message() << "level " << level() << " seed " << pk_test::test_seed());
  check_widen<uint8_t>(convert_u8_to_f32_table, index(), rng_);
}

TEST_P(KernelEquivalence, ConvertU16ToF32) {
  if (repeats_lower_slot(convert_u16_to_f32_table)) GTEST_SKIP() << "same function as a lower slot";
  SCOPED_TRACE(testing::Message() << "level " << level() << " seed " << pk_test::test_seed());
  check_widen<uint16_t>(convert_u16_to_f32_table, index(), rng_);
}

// The one allowed difference: a NaN (after scaling) stores 0 in the generic code and
// 255 in every vector level.
TEST_P(KernelEquivalence, ConvertF32ToU8) {
  if (repeats_lower_slot(convert_f32_to_u8_table)) GTEST_SKIP() << "same function as a lower slot";
  const auto fns = std::array{convert_f32_to_u8_table[0], convert_f32_to_u8_table[index()]};
  SCOPED_TRACE(testing::Message() << "level " << level() << " seed " << pk_test::test_seed());
  const int32_t modes[] = {round_toward_zero, round_nearest, round_half_away, 7, -1};
  const int32_t scales[] = {0, 1, -3, 8, -7, 149, 151, -127, -129, 1000000, -1000000};
  for (int32_t mode : modes) {
    for (int32_t scale : scales) {
      const float m = scale_multiplier(scale);
      for (fill f : {fill::random, fill::special, fill::mixed_nan}) {
        for (int32_t len : row_lengths()) {
          const auto [so, doff] = offsets()[static_cast<size_t>(len + mode + scale) % offsets().size()];
          exact_buffer<float> src(len, so);
          for (int32_t i = 0; i < len; ++i) src[i] = make_float(rng_, f);
          const std::vector<float> before(src.data(), src.data() + len);
          run_both([&](int which, unsigned char* d) { return fns[which](src.data(), d, len, mode, scale); }, len,
                   doff, [&](const unsigned char* r, const unsigned char* o) {
                     for (int32_t i = 0; i < len; ++i) {
                       const bool nan = std::isnan(scale == 0 ? src[i] : src[i] * m);
                       const unsigned char want_ref = nan ? 0 : r[i], want = nan ? 255 : r[i];
                       ASSERT_EQ(r[i], want_ref) << "generic, NaN at " << i;
                       ASSERT_EQ(o[i], want) << "element " << i << " of " << len << " value " << src[i]
                                             << " (bits 0x" << std::hex << float_bits(src[i]) << std::dec
                                             << ") mode " << mode << " scale " << scale;
                     }
                   });
          ASSERT_TRUE(src.same_as(before)) << "source changed";
        }
      }
    }
  }
}

// Binary float kernels: out of place, then in place into each source.
template <class Fn>
void check_binary(const dispatch_table<Fn>& table, int index, std::mt19937_64& rng) {
  const auto fns = std::array{table[0], table[index]};
  for (fill f : {fill::random, fill::special, fill::mixed_nan}) {
    for (int32_t len : row_lengths()) {
      for (auto [so, doff] : offsets()) {
        exact_buffer<float> a(len, so), b(len, (so + doff) % 8);
        for (int32_t i = 0; i < len; ++i) {
          a[i] = make_float(rng, f);
          b[i] = make_float(rng, f);
        }
        const std::vector<float> a0(a.data(), a.data() + len), b0(b.data(), b.data() + len);
        run_both([&](int which, unsigned char* d) { return fns[which](a.data(), b.data(), reinterpret_cast<float*>(d), len); },
                 len * sizeof(float), doff * sizeof(float), [&](const unsigned char* r, const unsigned char* o) {
                   ASSERT_EQ(std::memcmp(r, o, len * sizeof(float)), 0) << "len " << len << " offsets " << so << "," << doff;
                 });
        ASSERT_TRUE(a.same_as(a0) && b.same_as(b0)) << "source changed";
        // In place: dst is the second source, then the first.
        for (int which_src = 0; which_src < 2; ++which_src) {
          std::vector<float> ref_a = a0, ref_b = b0;
          exact_buffer<float> va(len, so), vb(len, (so + doff) % 8);
          std::memcpy(va.data(), a0.data(), len * sizeof(float));
          std::memcpy(vb.data(), b0.data(), len * sizeof(float));
          float* ref_dst = which_src ? ref_a.data() : ref_b.data();
          float* dst = which_src ? va.data() : vb.data();
          ASSERT_EQ(fns[0](ref_a.data(), ref_b.data(), ref_dst, len), status_ok);
          ASSERT_EQ(fns[1](va.data(), vb.data(), dst, len), status_ok);
          ASSERT_EQ(std::memcmp(ref_dst, dst, len * sizeof(float)), 0) << "in place into source " << which_src + 1 << ", len " << len;
        }
      }
    }
  }
}

TEST_P(KernelEquivalence, AddF32) {
  if (repeats_lower_slot(add_f32_table)) GTEST_SKIP() << "same function as a lower slot";
  SCOPED_TRACE(testing::Message() << "level " << level() << " seed " << pk_test::test_seed());
  check_binary(add_f32_table, index(), rng_);
}

TEST_P(KernelEquivalence, MultiplyF32) {
  if (repeats_lower_slot(multiply_f32_table)) GTEST_SKIP() << "same function as a lower slot";
  SCOPED_TRACE(testing::Message() << "level " << level() << " seed " << pk_test::test_seed());
  check_binary(multiply_f32_table, index(), rng_);
}

TEST_P(KernelEquivalence, MultiplyByConstantF32) {
  if (repeats_lower_slot(multiply_by_constant_f32_table)) GTEST_SKIP() << "same function as a lower slot";
  const auto fns = std::array{multiply_by_constant_f32_table[0], multiply_by_constant_f32_table[index()]};
  SCOPED_TRACE(testing::Message() << "level " << level() << " seed " << pk_test::test_seed());
  const float inf = std::numeric_limits<float>::infinity();
  const float values[] = {1.0f, 0.0f, -0.0f, 0.5f, -3.25f, 1.0e30f, 1.0e-30f, inf, quiet_nan};
  for (float value : values) {
    for (fill f : {fill::random, fill::special, fill::mixed_nan}) {
      for (int32_t len : row_lengths()) {
        const auto [so, doff] = offsets()[static_cast<size_t>(len) % offsets().size()];
        exact_buffer<float> src(len, so);
        for (int32_t i = 0; i < len; ++i) src[i] = make_float(rng_, f);
        const std::vector<float> before(src.data(), src.data() + len);
        run_both([&](int which, unsigned char* d) { return fns[which](src.data(), value, reinterpret_cast<float*>(d), len); },
                 len * sizeof(float), doff * sizeof(float), [&](const unsigned char* r, const unsigned char* o) {
                   ASSERT_EQ(std::memcmp(r, o, len * sizeof(float)), 0) << "len " << len << " value " << value;
                 });
        ASSERT_TRUE(src.same_as(before)) << "source changed";
        std::vector<float> ref = before;
        ASSERT_EQ(fns[0](ref.data(), value, ref.data(), len), status_ok);
        ASSERT_EQ(fns[1](src.data(), value, src.data(), len), status_ok);
        ASSERT_TRUE(src.same_as(ref)) << "in place, len " << len << " value " << value;
      }
    }
  }
}

// A +0.0 fill past 2 MiB takes the streaming path on the AVX levels.
TEST_P(KernelEquivalence, MultiplyByZeroLargeFill) {
  if (repeats_lower_slot(multiply_by_constant_f32_table)) GTEST_SKIP() << "same function as a lower slot";
  const int32_t len = (3 << 20) / 4 + 13;
  std::vector<float> src(len, quiet_nan);
  guarded_bytes out(len * sizeof(float), 4);
  std::memset(out.data(), 0xFF, len * sizeof(float));
  ASSERT_EQ(multiply_by_constant_f32_table[index()](src.data(), -0.0f, out.as<float>(), len), status_ok);
  ASSERT_TRUE(out.guards_intact());
  for (int32_t i = 0; i < len; ++i) ASSERT_EQ(float_bits(out.as<float>()[i]), 0u) << i;
}

// Gaussian filters: every region from 1x1 to 9x9 and a few odd large ones, with
// row padding on both sides; the padding and everything around the region are
// sentinels that must survive.
template <class T, class Fn>
void check_gauss(const dispatch_table<Fn>& table, int index, std::mt19937_64& rng) {
  const auto fns = std::array{table[0], table[index]};
  std::vector<pixel_size> sizes;
  for (int32_t h = 1; h <= 9; ++h)
    for (int32_t w = 1; w <= 9; ++w) sizes.push_back({w, h});
  for (pixel_size s : {pixel_size{15, 3}, {17, 4}, {31, 5}, {33, 6}, {63, 3}, {65, 4}, {1921, 7}, {97, 35}})
    sizes.push_back(s);
  const T max = std::numeric_limits<T>::max();
  for (int32_t mask : {mask_3x3, mask_5x5}) {
    const int32_t ring = mask == mask_3x3 ? 1 : 2;
    for (pixel_size roi : sizes) {
      for (int fill_mode = 0; fill_mode < 3; ++fill_mode) {
        const int32_t pad_src = static_cast<int32_t>(rng() % 5), pad_dst = static_cast<int32_t>(rng() % 5);
        const int32_t src_cols = roi.width + 2 * ring + pad_src, src_rows = roi.height + 2 * ring;
        const int32_t src_step = src_cols * static_cast<int32_t>(sizeof(T));
        const int32_t dst_step = (roi.width + pad_dst) * static_cast<int32_t>(sizeof(T));
        exact_buffer<T> plane(static_cast<size_t>(src_cols) * src_rows);
        for (size_t i = 0; i < plane.size(); ++i)
          plane[i] = fill_mode == 0 ? static_cast<T>(rng()) : fill_mode == 1 ? max : static_cast<T>(rng() % 2 ? max : 0);
        const std::vector<T> before(plane.data(), plane.data() + plane.size());
        const T* src = plane.data() + ring * src_cols + ring;
        const size_t dst_bytes = static_cast<size_t>(dst_step) * (roi.height - 1) + roi.width * sizeof(T);
        run_both([&](int which, unsigned char* d) { return fns[which](src, src_step, reinterpret_cast<T*>(d), dst_step, roi, mask); },
                 dst_bytes, 0, [&](const unsigned char* r, const unsigned char* o) {
                   for (int32_t y = 0; y < roi.height; ++y) {
                     const unsigned char* rr = r + static_cast<size_t>(y) * dst_step;
                     const unsigned char* orow = o + static_cast<size_t>(y) * dst_step;
                     ASSERT_EQ(std::memcmp(rr, orow, roi.width * sizeof(T)), 0)
                         << "row " << y << " of " << roi.width << "x" << roi.height << " mask " << mask;
                     if (y + 1 < roi.height) {
                       for (size_t p = roi.width * sizeof(T); p < static_cast<size_t>(dst_step); ++p) {
                         ASSERT_EQ(rr[p], guarded_bytes::sentinel) << "generic wrote row padding";
                         ASSERT_EQ(orow[p], guarded_bytes::sentinel) << "wrote row padding, row " << y;
                       }
                     }
                   }
                 });
        ASSERT_TRUE(plane.same_as(before)) << "source changed";
      }
    }
  }
}

TEST_P(KernelEquivalence, GaussFilterU8) {
  if (repeats_lower_slot(gauss_filter_u8_table)) GTEST_SKIP() << "same function as a lower slot";
  SCOPED_TRACE(testing::Message() << "level " << level() << " seed " << pk_test::test_seed());
  check_gauss<uint8_t>(gauss_filter_u8_table, index(), rng_);
}

TEST_P(KernelEquivalence, GaussFilterU16) {
  if (repeats_lower_slot(gauss_filter_u16_table)) GTEST_SKIP() << "same function as a lower slot";
  SCOPED_TRACE(testing::Message() << "level " << level() << " seed " << pk_test::test_seed());
  check_gauss<uint16_t>(gauss_filter_u16_table, index(), rng_);
}

// Weighted rows against the sequence they replace, built from the generic kernels:
// multiply the first row into the sum, then per tap multiply into a product and add
// the sum, then narrow (8-bit: convert_f32_to_u8 rounding to nearest; 16-bit: truncate
// toward zero, clamp, NaN to 0).
template <class S>
void weighted_reference(const std::vector<const float*>& rows, const std::vector<float>& weights,
                        S* dst, int32_t len) {
  std::vector<float> sum(len), product(len);
  ASSERT_EQ(multiply_by_constant_f32_table[0](rows[0], weights[0], sum.data(), len), status_ok);
  for (size_t t = 1; t < rows.size(); ++t) {
    ASSERT_EQ(multiply_by_constant_f32_table[0](rows[t], weights[t], product.data(), len), status_ok);
    ASSERT_EQ(add_f32_table[0](product.data(), sum.data(), sum.data(), len), status_ok);
  }
  if constexpr (sizeof(S) == 1) {
    ASSERT_EQ(convert_f32_to_u8_table[0](sum.data(), dst, len, round_nearest, 0), status_ok);
  } else {
    for (int32_t i = 0; i < len; ++i) {
      const float v = sum[i];
      dst[i] = !(v > 0.0f) ? 0 : v >= 65535.0f ? 65535 : static_cast<S>(static_cast<int32_t>(v));
    }
  }
}

// Weights a sum gets wrong first: signed zeros (which must not read their row), 1.0,
// negatives, subnormal and tiny magnitudes, large ones.
float weight_pick(std::mt19937_64& rng) {
  const float picks[] = {0.0f,  -0.0f,   1.0f,    -1.0f,   0.5f,    -0.0625f, 1.0e-40f,
                         -1.0e-40f, 1.0e-30f, 1.3e-7f, 3.5f, -2.75f, 1.0e20f};
  if (rng() % 3 == 0) return std::uniform_real_distribution<float>(-0.6f, 1.2f)(rng);
  return picks[rng() % (sizeof picks / sizeof picks[0])];
}

// Rows of widened samples (what the scaler passes) or of any floats; 1 to 6 taps; every
// short length and long ones; each row and dst misaligned on its own; dst also over the
// first row's own storage. Rows must come back unchanged.
template <class S, class Fn>
void check_weighted(const dispatch_table<Fn>& table, int index, std::mt19937_64& rng) {
  const S max = std::numeric_limits<S>::max();
  enum class rows_of { samples, extremes, random, special, mixed_nan };
  const rows_of kinds[] = {rows_of::samples, rows_of::extremes, rows_of::random, rows_of::special,
                           rows_of::mixed_nan};
  for (int32_t taps : {1, 2, 3, 4, 6}) {
    for (rows_of kind : kinds) {
      for (int32_t len : row_lengths()) {
        const auto [so, doff] = offsets()[static_cast<size_t>(len + taps) % offsets().size()];
        std::vector<std::unique_ptr<exact_buffer<float>>> storage;
        std::vector<const float*> rows;
        std::vector<float> weights;
        for (int32_t t = 0; t < taps; ++t) {
          storage.push_back(std::make_unique<exact_buffer<float>>(len, (so + t) % 8));
          exact_buffer<float>& row = *storage.back();
          for (int32_t i = 0; i < len; ++i) {
            switch (kind) {
              case rows_of::samples:
                row[i] = static_cast<float>(static_cast<S>(rng()));
                break;
              case rows_of::extremes:
                row[i] = rng() % 2 ? static_cast<float>(max) : 0.0f;
                break;
              case rows_of::random:
                row[i] = make_float(rng, fill::random);
                break;
              case rows_of::special:
                row[i] = make_float(rng, fill::special);
                break;
              case rows_of::mixed_nan:
                row[i] = make_float(rng, fill::mixed_nan);
                break;
            }
          }
          rows.push_back(row.data());
          weights.push_back(weight_pick(rng));
        }
        std::vector<std::vector<float>> before;
        for (const float* r : rows) before.emplace_back(r, r + len);
        std::vector<S> want(len);
        weighted_reference(rows, weights, want.data(), len);
        const auto describe = [&] {
          testing::Message m;
          m << taps << " taps, len " << len << ", rows kind " << static_cast<int>(kind)
            << ", offsets " << so << "," << doff << ", weights";
          for (float w : weights) m << " " << w;
          return m;
        };
        guarded_bytes out(len * sizeof(S), doff * sizeof(S));
        const unsigned int csr = _mm_getcsr() & ~0x3Fu;
        ASSERT_EQ(table[index](rows.data(), weights.data(), taps, out.as<S>(), len), status_ok)
            << describe();
        ASSERT_EQ(_mm_getcsr() & ~0x3Fu, csr) << "MXCSR controls changed";
        ASSERT_TRUE(out.guards_intact()) << "wrote outside the destination, " << describe();
        for (int32_t i = 0; i < len; ++i)
          ASSERT_EQ(out.as<S>()[i], want[i]) << "element " << i << ", " << describe();
        for (int32_t t = 0; t < taps; ++t)
          ASSERT_TRUE(storage[t]->same_as(before[t])) << "row " << t << " changed";
        // Over the first row: each element's taps are read before it is stored.
        S* over_first = reinterpret_cast<S*>(storage[0]->data());
        ASSERT_EQ(table[index](rows.data(), weights.data(), taps, over_first, len), status_ok);
        ASSERT_EQ(std::memcmp(over_first, want.data(), len * sizeof(S)), 0)
            << "over the first row, " << describe();
      }
    }
  }
}

TEST_P(KernelEquivalence, WeightedRowsF32ToU8) {
  if (repeats_lower_slot(weighted_rows_f32_to_u8_table)) GTEST_SKIP() << "same function as a lower slot";
  SCOPED_TRACE(testing::Message() << "level " << level() << " seed " << pk_test::test_seed());
  check_weighted<uint8_t>(weighted_rows_f32_to_u8_table, index(), rng_);
}

TEST_P(KernelEquivalence, WeightedRowsF32ToU16) {
  if (repeats_lower_slot(weighted_rows_f32_to_u16_table)) GTEST_SKIP() << "same function as a lower slot";
  SCOPED_TRACE(testing::Message() << "level " << level() << " seed " << pk_test::test_seed());
  check_weighted<uint16_t>(weighted_rows_f32_to_u16_table, index(), rng_);
}

// The generic code is the other levels' reference, so it too must match the sequence.
TEST(WeightedRowsGeneric, MatchesTheMultiplyAddNarrowSequence) {
  std::mt19937_64 rng{pk_test::test_seed()};
  check_weighted<uint8_t>(weighted_rows_f32_to_u8_table, 0, rng);
  check_weighted<uint16_t>(weighted_rows_f32_to_u16_table, 0, rng);
}

INSTANTIATE_TEST_SUITE_P(Levels, KernelEquivalence, testing::Range(1, kVariantCount), pk_test::level_param_name());

// The tables are the designed ladder: slot 3 repeats slot 2, slot 4 repeats slot 1
// for add and multiply, and every other vector slot is its own function, so a
// level that silently fell back to generic code cannot pass the tests above.
TEST(DispatchTables, AliasOnlyWhereDesigned) {
  auto check = [](const auto& table, bool slot4_reuses_slot1, const char* name) {
    SCOPED_TRACE(name);
    EXPECT_EQ(table[3], table[2]);
    if (slot4_reuses_slot1) {
      EXPECT_EQ(table[4], table[1]);
    }
    for (int i = 1; i < kVariantCount; ++i) {
      EXPECT_NE(table[i], table[0]) << "slot " << i << " is the generic code";
      for (int j = 1; j < i; ++j) {
        const bool designed = (i == 3 && j == 2) || (slot4_reuses_slot1 && i == 4 && j == 1);
        if (!designed) {
          EXPECT_NE(table[i], table[j]) << "slots " << j << " and " << i;
        }
      }
    }
  };
  check(convert_u8_to_f32_table, false, "convert_u8_to_f32");
  check(convert_u16_to_f32_table, false, "convert_u16_to_f32");
  check(convert_f32_to_u8_table, false, "convert_f32_to_u8");
  check(multiply_by_constant_f32_table, false, "multiply_by_constant_f32");
  check(add_f32_table, true, "add_f32");
  check(multiply_f32_table, true, "multiply_f32");
  check(gauss_filter_u8_table, false, "gauss_filter_u8");
  check(gauss_filter_u16_table, false, "gauss_filter_u16");
  check(weighted_rows_f32_to_u8_table, false, "weighted_rows_f32_to_u8");
  check(weighted_rows_f32_to_u16_table, false, "weighted_rows_f32_to_u16");
}

}  // namespace
