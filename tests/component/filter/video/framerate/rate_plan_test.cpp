#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <tuple>

#include "filter/video/framerate/rate_plan.h"
#include "frame_helpers.h"

namespace {

using namespace framerate_test;
using mode = ulbase::timecode;
using enum method_kind;

TEST(RatePlan, ClassifiesRatesAndChoosesTheMethod) {
  const double f24 = 24000.0 / 1001, f30 = 30000.0 / 1001, f60 = 60000.0 / 1001;
  const struct {
    double src, dst;
    bool aware;
    uint32_t order, height;
    int32_t decimation;  // the caller sets decimate when not 1
    method_kind method;
    double dst_back, out_rate;
    int32_t decimation_back;  // decimate comes back set when not 1
    uint32_t order_back, step;
    mode::mode_type tc;
  } cases[] = {
      {29.97, 0.0, true, 0, 480, 1, time_grid, f30, f30, 1, 0, 1, mode::mode_29_97_df},  // 0 = source, snapped
      {29.97, 23.976, true, 0, 480, 1, time_grid, f24, f24, 1, 0, 1, mode::mode_23_976},  // progressive
      {29.97, 23.976, true, 2, 480, 1, inverse_telecine, f24, f24, 1, 0, 1, mode::mode_23_976},
      {23.976, 29.97, true, 0, 480, 1, telecine, f30, f30, 1, 1, 1, mode::mode_29_97_df},
      {23.976, 29.97, true, 0, 1080, 1, telecine, f30, f30, 1, 2, 1, mode::mode_29_97_df},
      {25, 12.5, true, 0, 480, 1, decimation, 12.5, 12.5, 2, 0, 2, mode::mode_25},
      {25, 12.5, false, 0, 480, 1, time_grid, 12.5, 12.5, 1, 0, 2, mode::mode_25},
      {30, 10, true, 0, 480, 1, decimation, 10, 10, 3, 0, 3, mode::mode_30},
      {24, 23.976, true, 0, 480, 1, time_grid, f24, f24, 1, 0, 1, mode::mode_23_976},  // 1000/1001 flags differ
      {59.94, 29.97, true, 0, 480, 1, time_grid, f30, f30, 1, 0, 1, mode::mode_29_97_df},  // bases differ
      {25, 0.0, true, 0, 480, -2, time_grid, 0.0, 50, -2, 0, 0, mode::mode_none},  // doubling, unclassified
      {30, 0.0, true, 0, 480, -3, decimation, 0.0, 10, -3, 0, 0, mode::mode_none},
      {25, 48, true, 0, 480, 1, time_grid, 48, 48, 1, 0, 0, mode::mode_none},  // 48 is unlisted
      {50.5, 20, true, 0, 480, 1, decimation, 20, 20, 2, 0, 0, mode::mode_none},  // both unlisted: base 1
      {25, 24, true, 0, 480, 1, pal_to_film, 24, 24, 1, 0, 1, mode::mode_24},
      {24, 25, true, 0, 480, 1, film_to_pal, 25, 25, 1, 0, 1, mode::mode_25},
      {24, 25, false, 0, 480, 1, time_grid, 25, 25, 1, 0, 1, mode::mode_25},
      {50, 59.94, true, 0, 480, 1, time_grid, f60, f60, 1, 0, 1, mode::mode_59_94_df},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.src << " -> " << c.dst << " aware " << c.aware << " order " << c.order
                                    << " decimation " << c.decimation);
    framerate_params p = params_for(c.src, c.dst, 0, 16, c.height);
    p.cadence_aware = c.aware;
    p.field_order = c.order;
    p.decimate = c.decimation != 1;
    p.decimation = c.decimation;
    p.keep_timecode = true;
    p.time_mode = 1234;
    const auto plan = plan_rates(p);
    ASSERT_TRUE(plan);
    EXPECT_EQ(plan->method, c.method);
    EXPECT_EQ(plan->frame_period, 1.0 / c.out_rate);
    EXPECT_EQ(plan->dst_step, c.step);
    EXPECT_EQ(plan->timecode_mode, c.tc);
    // configure writes the block back, all but the two fields it only reads
    filter_ptr conv(create_framerate_filter(0));
    ASSERT_EQ(conv->configure(p), 0);
    EXPECT_EQ(p.dst_rate, c.dst_back);
    EXPECT_EQ(p.decimate, c.decimation_back > 1 || c.decimation_back == -3);
    EXPECT_EQ(p.decimation, c.decimation_back);
    EXPECT_EQ(p.field_order, c.order_back);
    EXPECT_TRUE(p.keep_timecode && p.time_mode == 1234);
  }
}

TEST(RatePlan, RefusesBlocksWithoutAClockAndLeavesThemUntouched) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  const struct {
    uint32_t format, size;
    double src, dst;
    bool decimate;
  } bad[] = {{5, 8, 25, 30, false},   {0, 8, 0, 30, false},   {0, 8, -25, 30, false}, {0, 8, nan, 30, false},
             {0, 8, inf, 30, false},  {0, 8, 25, -1, false},  {0, 8, 25, nan, false}, {0, 8, 25, 30, true},
             {4, 40000, 25, 30, false}};  // a 9.6 GB picture
  for (const auto& b : bad) {
    framerate_params p = params_for(b.src, b.dst, b.format, b.size, b.size);
    p.decimate = b.decimate;
    p.decimation = 0;
    const framerate_params before = p;
    filter_ptr conv(create_framerate_filter(p.format));
    EXPECT_EQ(conv->configure(p), 1) << "format " << b.format << " src " << b.src << " dst " << b.dst;
    const auto fields = [](const framerate_params& q) {  // bit patterns, so that NaN equals NaN
      return std::tuple(q.cadence_aware, std::bit_cast<uint64_t>(q.src_rate), std::bit_cast<uint64_t>(q.dst_rate),
                        q.decimate, q.decimation, q.format, q.width, q.height, q.field_order);
    };
    EXPECT_EQ(fields(p), fields(before));
    // unconfigured, it refuses pictures rather than divide by a zero rate
    conv->push_frame(make_frame(layout_of(0, 8, 8), 0));
    conv->push_frame(nullptr);
    EXPECT_EQ(conv->pop_frame(), nullptr);
    EXPECT_EQ(conv->rejected_frames(), 1u);
  }
  EXPECT_EQ(destroy_framerate_filter(nullptr), 2);
  // once pictures went through, the clock can no longer change
  framerate_params p = params_for(25, 30);
  filter_ptr conv(create_framerate_filter(0));
  ASSERT_EQ(conv->configure(p), 0);
  conv->push_frame(make_frame(layout_of(0, 8, 8), 0));
  EXPECT_EQ(conv->configure(p), 1);
}

}  // namespace
