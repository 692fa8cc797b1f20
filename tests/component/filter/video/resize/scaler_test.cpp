#include <gtest/gtest.h>

#include "filter/video/resize/passes.h"
#include "filter/video/resize/transpose.h"
#include "filter/video/resize/video_resize_impl.h"
#include "resize_test_support.h"

namespace ns_video_resize {
namespace {

using namespace testing_support;

template <class S>
void expect_transposed(uint32_t width, uint32_t height) {
  std::vector<S> in(std::size_t{width} * height), out(in.size() + 1, 0x5A);
  for (std::size_t i = 0; i < in.size(); ++i) in[i] = static_cast<S>(i * 2654435761u >> 9);
  transpose_plane(in.data(), width, height, out.data());
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      ASSERT_EQ(out[std::size_t{x} * height + y], in[std::size_t{y} * width + x])
          << sizeof(S) << "-byte " << width << "x" << height << " at " << x << "," << y;
    }
  }
  EXPECT_EQ(out.back(), 0x5A);
}

TEST(Scaler, TransposesWholeBlocksAndRaggedEdges) {
  for (uint32_t w = 1; w <= 19; ++w) {
    for (uint32_t h = 1; h <= 19; ++h) {
      expect_transposed<uint8_t>(w, h);
      expect_transposed<uint16_t>(w, h);
    }
  }
  expect_transposed<uint8_t>(1282, 723);
  expect_transposed<uint16_t>(723, 1282);
}

TEST(Scaler, ConstantPlanesStayConstantAtEverySizeFilterAndOrder) {
  struct job {
    uint32_t src_w, src_h, dst_w, dst_h;
  };
  // Up, down (with both smoothing levels), and wider-but-shorter (vertical pass first).
  const job jobs[] = {{64, 36, 100, 58}, {200, 120, 48, 30}, {96, 64, 50, 32}, {40, 40, 64, 18}};
  for (uint32_t format : {1u, 3u, 8u, 10u}) {
    for (uint32_t filter : {filter_bilinear, filter_cubic, filter_nearest}) {
      for (const job& j : jobs) {
        SCOPED_TRACE(testing::Message()
                     << "format " << format << " filter " << filter << " " << j.src_w << "x"
                     << j.src_h << "->" << j.dst_w << "x" << j.dst_h);
        const uint32_t level[4] = {17, 140, 230, 66};
        auto r = make_resizer(format);
        ASSERT_EQ(configure(
                      *r, resize_args{j.dst_w, j.dst_h, j.src_w, j.src_h, format} |
                              [&](auto& a) { a.filter = filter, a.prefilter = 1; }),
                  1);
        const frame in(format, j.src_w, j.src_h, [&](uint32_t p, uint32_t, uint32_t) {
          return format >= 7 ? level[p] * 251 : level[p];
        });
        const frame out = run(*r, format, j.dst_w, j.dst_h, in);
        for (uint32_t p = 0; p < out.planes(); ++p) {
          // 16-bit sums are truncated: weights that add up to just below 1 lose a unit
          // in each of the two passes.
          const uint32_t c = in.at(p, 0, 0);
          const uint32_t lowest = format >= 7 && filter != filter_nearest ? c - 2 : c;
          uint32_t wrong = 0;
          for (uint32_t y = 0; y < out.size(p).height; ++y) {
            for (uint32_t x = 0; x < out.size(p).width; ++x) {
              wrong += out.at(p, x, y) < lowest || out.at(p, x, y) > c;
            }
          }
          EXPECT_EQ(wrong, 0u) << "plane " << p;
        }
      }
    }
  }
}

TEST(Scaler, BilinearTwoByTwoToFourByFourInterpolatesLinearly) {
  // Samples 10x + 20y at the corners of a 2x2 picture, 4:4:4 so chroma scales alike.
  for (uint32_t format : {4u, 8u}) {
    const uint32_t unit = format == 8 ? 500 : 1;
    auto r = make_resizer(format);
    ASSERT_EQ(
        configure(
            *r, resize_args{4, 4, 2, 2, format} | [](auto& a) { a.filter = filter_bilinear; }),
        1);
    const frame in(format, 2, 2, [&](uint32_t p, uint32_t x, uint32_t y) {
      return (30 * x + 60 * y + p) * unit;
    });
    const frame out = run(*r, format, 4, 4, in);
    for (uint32_t p = 0; p < 3; ++p) {
      for (uint32_t y = 0; y < 4; ++y) {
        for (uint32_t x = 0; x < 4; ++x) {
          // Truncation may lose one unit of a 16-bit sum that lands just below a whole number.
          EXPECT_NEAR(out.at(p, x, y), (10 * x + 20 * y + p) * unit, format == 8 ? 1 : 0)
              << "format " << format << " plane " << p << " at " << x << "," << y;
        }
      }
    }
  }
}

TEST(Scaler, NearestRepeatsTheClosestSampleWithHalvesUp) {
  // 4 -> 7 puts every other position exactly half-way between two samples.
  auto r = make_resizer(4);
  ASSERT_EQ(configure(
                *r, resize_args{7, 2, 4, 2, 4} | [](auto& a) { a.filter = filter_nearest; }),
            1);
  const frame in(4, 4, 2, [](uint32_t, uint32_t x, uint32_t y) { return 10 * x + 100 * y; });
  const frame out = run(*r, 4, 7, 2, in);
  const uint32_t expected[7] = {0, 10, 10, 20, 20, 30, 30};
  for (uint32_t x = 0; x < 7; ++x) {
    EXPECT_EQ(out.at(0, x, 0), expected[x]) << "x " << x;
    EXPECT_EQ(out.at(2, x, 1), expected[x] + 100) << "x " << x;
  }
}

TEST(Scaler, FieldsAreScaledApartAndWovenBackRowByRow) {
  // Top-field rows hold one value, bottom-field rows another: scaled by fields each
  // field stays constant, so the output rows must alternate exactly.
  for (uint32_t format : {1u, 3u, 5u}) {
    for (uint32_t prefilter : {0u, 2u}) {
      SCOPED_TRACE(testing::Message() << "format " << format << " prefilter " << prefilter);
      auto r = make_resizer(format);
      ASSERT_EQ(configure(
                    *r, resize_args{48, 24, 32, 40, format} |
                            [&](auto& a) {
                              a.scan_mode = 2, a.filter = filter_cubic, a.prefilter = prefilter;
                            }),
                1);
      const frame in(format, 32, 40,
                     [](uint32_t p, uint32_t, uint32_t y) { return 40 + 30 * p + (y % 2) * 100; });
      const frame out = run(*r, format, 48, 24, in);
      for (uint32_t p = 0; p < out.planes(); ++p) {
        // 4:2:0 chroma has as many rows as one field and is scaled whole.
        const bool whole = format == 1 && p > 0;
        for (uint32_t y = 0; y < out.size(p).height; ++y) {
          for (uint32_t x = 0; x < out.size(p).width; ++x) {
            if (whole) {
              ASSERT_GE(out.at(p, x, y), 40 + 30 * p) << "plane " << p;
              ASSERT_LE(out.at(p, x, y), 140 + 30 * p) << "plane " << p;
            } else {
              ASSERT_EQ(out.at(p, x, y), 40 + 30 * p + (y % 2) * 100)
                  << "plane " << p << " at " << x << "," << y;
            }
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace ns_video_resize
