#include <gtest/gtest.h>

#include <cmath>

#include "filter/video/resize/coefficients.h"
#include "orrin/component_inventory.h"
#include "resize_test_support.h"

namespace ns_video_resize {
namespace {

using namespace testing_support;

// The media library's zimg converter and the own cubic (Catmull-Rom) scaler place
// their samples slightly differently, but on a smooth picture they must agree
// closely; a swapped plane, a shifted row or a wrong stride would not.
TEST(ZimgAgreement, ConverterAndOwnCubicAgreeOnASmoothPicture) {
  Quorvane::Orrin::AddKestrelleComponentDependencies();
  struct job {
    uint32_t format, src_w, src_h, dst_w, dst_h;
  };
  const job jobs[] = {
      {1, 320, 180, 480, 270}, {1, 480, 270, 320, 180}, {3, 360, 200, 540, 300}, {1, 360, 200, 540, 300},
      {7, 320, 180, 480, 270}};
  for (const job& j : jobs) {
    SCOPED_TRACE(testing::Message() << "format " << j.format << " " << j.src_w << "x" << j.src_h << "->" << j.dst_w
                                    << "x" << j.dst_h);
    const double peak = j.format == 7 ? 65535.0 : 255.0;
    const frame in(j.format, j.src_w, j.src_h, [&](uint32_t p, uint32_t x, uint32_t y) {
      const double v = 0.5 + 0.3 * std::sin(x / (7.0 + 3 * p) + y / 9.0) + 0.15 * std::cos(y / (5.0 + 2 * p));
      return static_cast<uint32_t>(std::lround(v * peak));
    });

    auto through_converter = make_resizer(j.format);
    ASSERT_EQ(configure(*through_converter, {j.dst_w, j.dst_h, j.src_w, j.src_h, j.format}), 1);
    auto own = make_resizer(j.format);
    ASSERT_EQ(configure(*own, resize_args{j.dst_w, j.dst_h, j.src_w, j.src_h, j.format} | with_filter(filter_cubic)), 1);

    int32_t result = 0;
    const frame a = run(*through_converter, j.format, j.dst_w, j.dst_h, in, &result);
    ASSERT_EQ(result, 1);
    const frame b = run(*own, j.format, j.dst_w, j.dst_h, in);
    for (uint32_t p = 0; p < 3; ++p) EXPECT_GE(psnr(a, b, p, peak), 35.0) << "plane " << p;
  }
}

}  // namespace
}  // namespace ns_video_resize
