// Every vector implementation against the generic one, bit for bit: random and
// boundary inputs, every short length and a few long ones, misaligned pointers,
// in-place use, odd regions and steps. Outputs are guarded by sentinels, inputs
// and MXCSR must come back unchanged.

#include <gtest/gtest.h>
#include <immintrin.h>

#include <array>
#include <cmath>
#include <cstring>
#include <iterator>
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
std::pair<size_t, size_t> offsets_for(int64_t k) { return offsets()[static_cast<size_t>(k) % offsets().size()]; }

uint32_t float_bits(float f) {
  uint32_t u;
  std::memcpy(&u, &f, sizeof u);
  return u;
}

// One canonical quiet NaN: two NaN operands then give the same bits whichever one
// an implementation returns.
const float quiet_nan = std::numeric_limits<float>::quiet_NaN();

// Values a conversion or an addition gets wrong first: signed zeros, infinities,
// the largest and subnormal magnitudes, halves and their neighbours, the range ends.
float special_float(std::mt19937_64& rng) {
  const float inf = std::numeric_limits<float>::infinity();
  const float half = static_cast<float>(rng() % 520) - 4.5f;  // k + 0.5 around 0..255
  const float picks[] = {0.0f,    -0.0f,    inf,    -inf, 3.0e38f, -3.0e38f, 1.0e-40f, -1.0e-40f, 255.0f,
                         256.0f,  -1.0f,    0.5f,   half, std::nextafter(half, -inf), std::nextafter(half, inf),
                         -half};
  return picks[rng() % std::size(picks)];
}

enum class fill { random, special, mixed_nan };
constexpr fill fills[] = {fill::random, fill::special, fill::mixed_nan};

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

exact_buffer<float>* filled(exact_buffer<float>* b, std::mt19937_64& rng, fill f) {
  for (size_t i = 0; i < b->size(); ++i) (*b)[i] = make_float(rng, f);
  return b;
}

// Runs `call` on the generic code (0) and the variant (1), each given its own
// destination of `dst_bytes` at `dst_offset` bytes; checks MXCSR, the sentinels and
// the returned status, and hands both destinations to `compare`.
template <class Call, class Compare>
void run_both(const Call& call, size_t dst_bytes, size_t dst_offset, const Compare& compare) {
  guarded_bytes ref(dst_bytes, dst_offset), out(dst_bytes, dst_offset);
  // Rounding mode, masks, FTZ/DAZ; the sticky exception flags may be raised.
  auto control = [] { return _mm_getcsr() & ~0x3Fu; };
  const unsigned int csr = control();
  const pixel_status ref_status = call(0, ref.data());
  const pixel_status status = call(1, out.data());
  ASSERT_EQ(control(), csr) << "MXCSR controls changed";
  ASSERT_EQ(status, ref_status);
  ASSERT_TRUE(ref.guards_intact()) << "generic wrote outside its destination";
  ASSERT_TRUE(out.guards_intact()) << "wrote outside the destination";
  compare(ref.data(), out.data());
}

// Rows of floats compared as bits.
auto same_floats(int32_t len) {
  return [len](const unsigned char* r, const unsigned char* o) {
    ASSERT_EQ(std::memcmp(r, o, len * sizeof(float)), 0) << "len " << len;
  };
}

class KernelEquivalence : public pk_test::level_test {
 protected:
  // Each distinct function is tested once: a slot that repeats a lower one is skipped.
  template <class Fn>
  bool distinct(const dispatch_table<Fn>& table) const {
    for (int i = 1; i < index(); ++i)
      if (table[i] == table[index()] && pk_test::runs_here(i)) return false;
    return true;
  }
  template <class Fn>
  std::array<Fn*, 2> pair(const dispatch_table<Fn>& table) const {
    return {table[0], table[index()]};
  }

  std::mt19937_64 rng_{pk_test::test_seed()};
  testing::ScopedTrace seed_{__FILE__, __LINE__, testing::Message() << "seed " << pk_test::test_seed()};
};

// Widening: every sample value is exact, so any difference is a fault in
// addressing, lane order or the tails.
template <class T, class Fn>
void check_widen(const std::array<Fn*, 2>& fns, std::mt19937_64& rng) {
  for (int32_t len : row_lengths()) {
    for (auto [so, doff] : offsets()) {
      exact_buffer<T> src(len, so);
      for (int32_t i = 0; i < len; ++i) src[i] = static_cast<T>(rng());
      src[0] = std::numeric_limits<T>::max();
      const std::vector<T> before = src.copy();
      run_both([&](int which, unsigned char* d) { return fns[which](src.data(), reinterpret_cast<float*>(d), len); },
               len * sizeof(float), doff * sizeof(float), same_floats(len));
      ASSERT_TRUE(src.same_as(before)) << "source changed";
    }
  }
}

TEST_P(KernelEquivalence, Widening) {
  if (distinct(convert_u8_to_f32_table)) check_widen<uint8_t>(pair(convert_u8_to_f32_table), rng_);
  if (distinct(convert_u16_to_f32_table)) check_widen<uint16_t>(pair(convert_u16_to_f32_table), rng_);
}

// The one allowed difference: a NaN (after scaling) stores 0 in the generic code and
// 255 in every vector level.
TEST_P(KernelEquivalence, ConvertF32ToU8) {
  if (!distinct(convert_f32_to_u8_table)) GTEST_SKIP() << "same function as a lower slot";
  const auto fns = pair(convert_f32_to_u8_table);
  for (int32_t mode : {int32_t{round_toward_zero}, int32_t{round_nearest}, int32_t{round_half_away}, 7, -1}) {
    for (int32_t scale : {0, 1, -3, 8, -7, 149, 151, -127, -129, 1000000, -1000000}) {
      const float m = scale_multiplier(scale);
      for (fill f : fills) {
        for (int32_t len : row_lengths()) {
          const auto [so, doff] = offsets_for(len + mode + scale);
          exact_buffer<float> src(len, so);
          const std::vector<float> before = filled(&src, rng_, f)->copy();
          run_both([&](int which, unsigned char* d) { return fns[which](src.data(), d, len, mode, scale); }, len,
                   doff, [&](const unsigned char* r, const unsigned char* o) {
                     for (int32_t i = 0; i < len; ++i) {
                       const bool nan = std::isnan(scale == 0 ? src[i] : src[i] * m);
                       ASSERT_EQ(r[i], nan ? 0 : r[i]) << "generic, NaN at " << i;
                       ASSERT_EQ(o[i], nan ? 255 : r[i])
                           << "element " << i << " of " << len << " value " << src[i] << " (bits 0x" << std::hex
                           << float_bits(src[i]) << std::dec << ") mode " << mode << " scale " << scale;
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
void check_binary(const std::array<Fn*, 2>& fns, std::mt19937_64& rng) {
  for (fill f : fills) {
    for (int32_t len : row_lengths()) {
      for (auto [so, doff] : offsets()) {
        exact_buffer<float> a(len, so), b(len, (so + doff) % 8);
        const std::vector<float> a0 = filled(&a, rng, f)->copy(), b0 = filled(&b, rng, f)->copy();
        auto call = [&](int which, unsigned char* d) {
          return fns[which](a.data(), b.data(), reinterpret_cast<float*>(d), len);
        };
        run_both(call, len * sizeof(float), doff * sizeof(float), same_floats(len));
        ASSERT_TRUE(a.same_as(a0) && b.same_as(b0)) << "source changed";
        for (int into = 0; into < 2; ++into) {
          std::vector<float> ref[2] = {a0, b0}, out[2] = {a0, b0};
          ASSERT_EQ(fns[0](ref[0].data(), ref[1].data(), ref[into].data(), len), status_ok);
          ASSERT_EQ(fns[1](out[0].data(), out[1].data(), out[into].data(), len), status_ok);
          ASSERT_EQ(std::memcmp(ref[into].data(), out[into].data(), len * sizeof(float)), 0)
              << "in place into source " << into + 1 << ", len " << len;
        }
      }
    }
  }
}

TEST_P(KernelEquivalence, Arithmetic) {
  if (distinct(add_f32_table)) check_binary(pair(add_f32_table), rng_);
  if (distinct(multiply_f32_table)) check_binary(pair(multiply_f32_table), rng_);
  if (!distinct(multiply_by_constant_f32_table)) return;
  const auto fns = pair(multiply_by_constant_f32_table);
  const float inf = std::numeric_limits<float>::infinity();
  for (float value : {1.0f, 0.0f, -0.0f, 0.5f, -3.25f, 1.0e30f, 1.0e-30f, inf, quiet_nan}) {
    for (fill f : fills) {
      for (int32_t len : row_lengths()) {
        const auto [so, doff] = offsets_for(len);
        exact_buffer<float> src(len, so);
        const std::vector<float> before = filled(&src, rng_, f)->copy();
        auto call = [&](int which, unsigned char* d) {
          return fns[which](src.data(), value, reinterpret_cast<float*>(d), len);
        };
        run_both(call, len * sizeof(float), doff * sizeof(float), same_floats(len));
        ASSERT_TRUE(src.same_as(before)) << "source changed";
        std::vector<float> ref = before;
        ASSERT_EQ(fns[0](ref.data(), value, ref.data(), len), status_ok);
        ASSERT_EQ(fns[1](src.data(), value, src.data(), len), status_ok);
        ASSERT_TRUE(src.same_as(ref)) << "in place, len " << len << " value " << value;
      }
    }
  }
  // A +0.0 fill past 2 MiB takes the streaming path on the AVX levels.
  const int32_t len = (3 << 20) / 4 + 13;
  std::vector<float> nans(len, quiet_nan);
  guarded_bytes out(len * sizeof(float), 4);
  std::memset(out.data(), 0xFF, len * sizeof(float));
  ASSERT_EQ(fns[1](nans.data(), -0.0f, out.as<float>(), len), status_ok);
  ASSERT_TRUE(out.guards_intact());
  for (int32_t i = 0; i < len; ++i) ASSERT_EQ(float_bits(out.as<float>()[i]), 0u) << i;
}

// Gaussian filters: every region from 1x1 to 9x9 and a few odd large ones, with
// row padding on both sides; the padding and everything around the region are
// sentinels that must survive.
template <class T, class Fn>
void check_gauss(const std::array<Fn*, 2>& fns, std::mt19937_64& rng) {
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
        const std::vector<T> before = plane.copy();
        const T* src = plane.data() + ring * src_cols + ring;
        const size_t row_bytes = roi.width * sizeof(T);
        const size_t dst_bytes = static_cast<size_t>(dst_step) * (roi.height - 1) + row_bytes;
        auto call = [&](int which, unsigned char* d) {
          return fns[which](src, src_step, reinterpret_cast<T*>(d), dst_step, roi, mask);
        };
        run_both(call, dst_bytes, 0, [&](const unsigned char* r, const unsigned char* o) {
          for (int32_t y = 0; y < roi.height; ++y) {
            const size_t at = static_cast<size_t>(y) * dst_step;
            ASSERT_EQ(std::memcmp(r + at, o + at, row_bytes), 0)
                << "row " << y << " of " << roi.width << "x" << roi.height << " mask " << mask;
            for (size_t p = row_bytes; y + 1 < roi.height && p < static_cast<size_t>(dst_step); ++p)
              ASSERT_TRUE(r[at + p] == guarded_bytes::sentinel && o[at + p] == guarded_bytes::sentinel)
                  << "row padding written, row " << y;
          }
        });
        ASSERT_TRUE(plane.same_as(before)) << "source changed";
      }
    }
  }
}

TEST_P(KernelEquivalence, GaussFilters) {
  if (distinct(gauss_filter_u8_table)) check_gauss<uint8_t>(pair(gauss_filter_u8_table), rng_);
  if (distinct(gauss_filter_u16_table)) check_gauss<uint16_t>(pair(gauss_filter_u16_table), rng_);
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
  const float picks[] = {0.0f, -0.0f, 1.0f, -1.0f, 0.5f, -0.0625f, 1.0e-40f, -1.0e-40f, 1.0e-30f, 1.3e-7f,
                         3.5f, -2.75f, 1.0e20f};
  if (rng() % 3 == 0) return std::uniform_real_distribution<float>(-0.6f, 1.2f)(rng);
  return picks[rng() % std::size(picks)];
}

// Rows of widened samples (what the scaler passes), of the extremes, or of any floats;
// 1 to 6 taps; every short length and long ones; each row and dst misaligned on its
// own; dst also over the first row's own storage. Rows must come back unchanged.
template <class S, class Fn>
void check_weighted(Fn* fn, std::mt19937_64& rng) {
  const float max = std::numeric_limits<S>::max();
  for (int32_t taps : {1, 2, 3, 4, 6}) {
    for (int kind = 0; kind < 5; ++kind) {
      auto value = [&]() -> float {
        if (kind == 0) return static_cast<float>(static_cast<S>(rng()));
        if (kind == 1) return rng() % 2 ? max : 0.0f;
        return make_float(rng, fills[kind - 2]);
      };
      for (int32_t len : row_lengths()) {
        const auto [so, doff] = offsets_for(len + taps);
        std::vector<std::unique_ptr<exact_buffer<float>>> storage;
        std::vector<const float*> rows;
        std::vector<std::vector<float>> before;
        std::vector<float> weights;
        for (int32_t t = 0; t < taps; ++t) {
          storage.push_back(std::make_unique<exact_buffer<float>>(len, (so + t) % 8));
          for (int32_t i = 0; i < len; ++i) (*storage.back())[i] = value();
          rows.push_back(storage.back()->data());
          before.push_back(storage.back()->copy());
          weights.push_back(weight_pick(rng));
        }
        std::vector<S> want(len);
        weighted_reference(rows, weights, want.data(), len);
        testing::Message what;
        what << taps << " taps, len " << len << ", rows kind " << kind << ", offsets " << so << "," << doff
             << ", weights";
        for (float w : weights) what << " " << w;
        guarded_bytes out(len * sizeof(S), doff * sizeof(S));
        const unsigned int csr = _mm_getcsr() & ~0x3Fu;
        ASSERT_EQ(fn(rows.data(), weights.data(), taps, out.as<S>(), len), status_ok) << what;
        ASSERT_EQ(_mm_getcsr() & ~0x3Fu, csr) << "MXCSR controls changed";
        ASSERT_TRUE(out.guards_intact()) << "wrote outside the destination, " << what;
        for (int32_t i = 0; i < len; ++i) ASSERT_EQ(out.as<S>()[i], want[i]) << "element " << i << ", " << what;
        for (int32_t t = 0; t < taps; ++t) ASSERT_TRUE(storage[t]->same_as(before[t])) << "row " << t << " changed";
        // Over the first row: each element's taps are read before it is stored.
        S* over_first = reinterpret_cast<S*>(storage[0]->data());
        ASSERT_EQ(fn(rows.data(), weights.data(), taps, over_first, len), status_ok);
        ASSERT_EQ(std::memcmp(over_first, want.data(), len * sizeof(S)), 0) << "over the first row, " << what;
      }
    }
  }
}

TEST_P(KernelEquivalence, WeightedRows) {
  if (distinct(weighted_rows_f32_to_u8_table)) check_weighted<uint8_t>(weighted_rows_f32_to_u8_table[index()], rng_);
  if (distinct(weighted_rows_f32_to_u16_table)) check_weighted<uint16_t>(weighted_rows_f32_to_u16_table[index()], rng_);
}

// The generic code is the other levels' reference, so it too must match the sequence.
TEST(WeightedRowsGeneric, MatchesTheMultiplyAddNarrowSequence) {
  std::mt19937_64 rng{pk_test::test_seed()};
  check_weighted<uint8_t>(weighted_rows_f32_to_u8_table[0], rng);
  check_weighted<uint16_t>(weighted_rows_f32_to_u16_table[0], rng);
}

INSTANTIATE_TEST_SUITE_P(Levels, KernelEquivalence, testing::Range(1, kVariantCount), pk_test::level_param_name);

// The tables are the designed ladder: slot 3 repeats slot 2, slot 4 repeats slot 1
// for add and multiply, and every other vector slot is its own function, so a
// level that silently fell back to generic code cannot pass the tests above.
TEST(DispatchTables, AliasOnlyWhereDesigned) {
  auto check = [](const auto& table, bool slot4_reuses_slot1, const char* name) {
    for (int i = 1; i < kVariantCount; ++i) {
      for (int j = 0; j < i; ++j) {
        const bool designed = (i == 3 && j == 2) || (slot4_reuses_slot1 && i == 4 && j == 1);
        EXPECT_EQ(table[i] == table[j], designed) << name << ": slots " << j << " and " << i;
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
