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
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; ++x)
      ASSERT_EQ(out[std::size_t{x} * height + y], in[std::size_t{y} * width + x])
          << sizeof(S) << "-byte " << width << "x" << height << " at " << x << "," << y;
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
        SCOPED_TRACE(testing::Message() << "format " << format << " filter " << filter << " " << j.src_w << "x"
                                        << j.src_h << "->" << j.dst_w << "x" << j.dst_h);
        const uint32_t level[4] = {17, 140, 230, 66};
        auto r = make_resizer(format);
        ASSERT_EQ(configure(*r, resize_args{j.dst_w, j.dst_h, j.src_w, j.src_h, format} |
                                    [&](auto& a) { a.filter = filter, a.prefilter = 1; }),
                  1);
        const frame in(format, j.src_w, j.src_h,
                       [&](uint32_t p, uint32_t, uint32_t) { return format >= 7 ? level[p] * 251 : level[p]; });
        const frame out = run(*r, format, j.dst_w, j.dst_h, in);
        for (uint32_t p = 0; p < out.planes(); ++p) {
          // 16-bit sums are truncated: weights that add up to just below 1 lose a unit
          // in each of the two passes.
          const uint32_t c = in.at(p, 0, 0);
          const uint32_t lowest = format >= 7 && filter != filter_nearest ? c - 2 : c;
          uint32_t wrong = 0;
          for (uint32_t y = 0; y < out.size(p).height; ++y)
            for (uint32_t x = 0; x < out.size(p).width; ++x) wrong += out.at(p, x, y) < lowest || out.at(p, x, y) > c;
          EXPECT_EQ(wrong, 0u) << "plane " << p;
        }
      }
    }
  }
}

TEST(Scaler, FieldsAreScaledApartAndWovenBackRowByRow) {
  // Top-field rows hold one value, bottom-field rows another: scaled by fields each
  // field stays constant, so the output rows must alternate exactly.
  for (uint32_t format : {1u, 3u, 5u}) {
    for (uint32_t prefilter : {0u, 2u}) {
      SCOPED_TRACE(testing::Message() << "format " << format << " prefilter " << prefilter);
      auto r = make_resizer(format);
      ASSERT_EQ(configure(*r, resize_args{48, 24, 32, 40, format} |
                                  [&](auto& a) { a.scan_mode = 2, a.filter = filter_cubic, a.prefilter = prefilter; }),
                1);
      const frame in(format, 32, 40, [](uint32_t p, uint32_t, uint32_t y) { return 40 + 30 * p + (y % 2) * 100; });
      const frame out = run(*r, format, 48, 24, in);
      for (uint32_t p = 0; p < out.planes(); ++p) {
        // 4:2:0 chroma has as many rows as one field and is scaled whole.
        const bool whole = format == 1 && p > 0;
        for (uint32_t y = 0; y < out.size(p).height; ++y) {
          for (uint32_t x = 0; x < out.size(p).width; ++x) {
            const uint32_t v = out.at(p, x, y), low = 40 + 30 * p;
            ASSERT_TRUE(whole ? v >= low && v <= low + 100 : v == low + (y % 2) * 100)
                << "plane " << p << " at " << x << "," << y << ": " << v;
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace ns_video_resize
