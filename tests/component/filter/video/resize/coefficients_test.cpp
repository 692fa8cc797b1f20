#include <gtest/gtest.h>

#include "filter/video/resize/coefficients.h"

namespace ns_video_resize {
namespace {

TEST(Coefficients, BilinearTwoToFourAlignsCornersAndNearestRoundsHalvesUp) {
  const axis_table t = build_axis_table(filter_bilinear, 0.0f, 2, 4);
  ASSERT_EQ(t.weights.size(), 2u);
  const float expected[2][4] = {{1.0f, 2.0f / 3, 1.0f / 3, 0.0f}, {0.0f, 1.0f / 3, 2.0f / 3, 1.0f}};
  for (uint32_t x = 0; x < 4; ++x) {
    EXPECT_EQ(t.index[x], 0u);
    EXPECT_NEAR(t.weights[0][x], expected[0][x], 1e-6) << "x " << x;
    EXPECT_NEAR(t.weights[1][x], expected[1][x], 1e-6) << "x " << x;
  }
  // 4 -> 7 puts every other position exactly half-way: nearest takes the upper sample.
  EXPECT_EQ(build_axis_table(filter_nearest, 0.0f, 4, 7).index, (std::vector<uint32_t>{0, 1, 1, 2, 2, 3, 3}));
}

TEST(Coefficients, CubicSpansTakeBorderSamplesAloneAndHalfwayWeightsAreCatmullRom) {
  // 4 -> 7: positions 0, 0.5, 1, 1.5, 2, 2.5, 3.
  const axis_table cubic = build_axis_table(filter_cubic, -0.5f, 4, 7);
  EXPECT_EQ(cubic.index[3], 0u);
  const float halfway[4] = {-0.0625f, 0.5625f, 0.5625f, -0.0625f};
  for (uint32_t t = 0; t < 4; ++t) EXPECT_EQ(cubic.weights[t][3], halfway[t]) << "tap " << t;

  for (uint32_t filter : {filter_cubic, filter_bspline}) {
    const axis_table table = build_axis_table(filter, -0.5f, 100, 37);
    EXPECT_EQ(table.index.front(), 0u);
    EXPECT_EQ(table.index.back(), 96u);
    const float first[4] = {1, 0, 0, 0};
    for (uint32_t t = 0; t < 4; ++t) {
      if (filter == filter_cubic) {
        EXPECT_EQ(table.weights[t].front(), first[t]) << "tap " << t;
        EXPECT_EQ(table.weights[t].back(), first[3 - t]) << "tap " << t;
      } else {
        // The B-spline smooths even whole positions: 1/6, 2/3, 1/6 around the border sample.
        EXPECT_NEAR(table.weights[t].front(), t == 0 ? 0.6666667f : t == 1 ? 0.16666667f : 0.0f, 1e-6);
      }
    }
  }
}

TEST(Coefficients, EveryRowSumsToOneAndEveryTapStaysInside) {
  for (uint32_t filter : {filter_bilinear, filter_cubic, filter_bspline, filter_nearest}) {
    for (auto [src, dst] : {std::pair{2u, 4u}, {720u, 1920u}, {1920u, 1280u}, {17u, 5u}, {64u, 64u}}) {
      const axis_table t = build_axis_table(filter, -0.5f, src, dst);
      const uint32_t taps = filter_taps(filter);
      if (src < taps) continue;
      for (uint32_t x = 0; x < dst; ++x) {
        ASSERT_LE(t.index[x] + taps, src) << filter << ": " << src << "->" << dst << " x " << x;
        // A clamped B-spline span misses the third sample it would smooth with.
        if (filter == filter_bspline && (t.index[x] == 0 || t.index[x] == src - taps)) continue;
        float sum = 0.0f;
        for (uint32_t k = 0; k < taps; ++k) sum += t.weights[k][x];
        ASSERT_NEAR(sum, 1.0f, 1e-5) << filter << ": " << src << "->" << dst << " x " << x;
      }
    }
  }
}

}  // namespace
}  // namespace ns_video_resize
