#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "filter/video/framerate/framerate_impl.h"
#include "filter/video/framerate/rate_plan.h"
#include "frame_helpers.h"

namespace {

using namespace framerate_test;
using mode = ulbase::timecode;

struct plan_case {
  double src, dst;
  bool cadence_aware;
  uint32_t field_order, height;
  bool decimate;
  int32_t decimation;
  // expected
  method_kind method;
  double dst_back, output_rate;
  bool decimate_back;
  int32_t decimation_back;
  uint32_t field_order_back, dst_base, dst_step;
  mode::mode_type tc_mode;
};

TEST(RatePlan, ClassifiesRatesAndChoosesTheMethod) {
  const double ntsc24 = 24000.0 / 1001, ntsc30 = 30000.0 / 1001, ntsc60 = 60000.0 / 1001;
  const plan_case cases[] = {
      // dst 0 means the source rate, snapped when it is a 1000/1001 rate
      {29.97, 0.0, true, 0, 480, false, 1, method_kind::time_grid, ntsc30, ntsc30, false, 1, 0, 30, 1,
       mode::mode_29_97_df},
      // inverse telecine needs an interlaced source
      {29.97, 23.976, true, 0, 480, false, 1, method_kind::time_grid, ntsc24, ntsc24, false, 1, 0, 24, 1,
       mode::mode_23_976},
      {29.97, 23.976, true, 2, 480, false, 1, method_kind::inverse_telecine, ntsc24, ntsc24, false, 1, 0, 24, 1,
       mode::mode_23_976},
      {23.976, 29.97, true, 0, 480, false, 1, method_kind::telecine, ntsc30, ntsc30, false, 1, 1, 30, 1,
       mode::mode_29_97_df},
      {23.976, 29.97, true, 0, 1080, false, 1, method_kind::telecine, ntsc30, ntsc30, false, 1, 2, 30, 1,
       mode::mode_29_97_df},
      {25, 12.5, true, 0, 480, false, 1, method_kind::decimation, 12.5, 12.5, true, 2, 0, 25, 2, mode::mode_25},
      {25, 12.5, false, 0, 480, false, 1, method_kind::time_grid, 12.5, 12.5, false, 1, 0, 25, 2, mode::mode_25},
      // 1000/1001 flags differ: no decimation
      {24, 23.976, true, 0, 480, false, 1, method_kind::time_grid, ntsc24, ntsc24, false, 1, 0, 24, 1,
       mode::mode_23_976},
      // bases 60 and 30 differ: the grid drops every other picture
      {59.94, 29.97, true, 0, 480, false, 1, method_kind::time_grid, ntsc30, ntsc30, false, 1, 0, 30, 1,
       mode::mode_29_97_df},
      {30, 10, true, 0, 480, false, 1, method_kind::decimation, 10, 10, true, 3, 0, 30, 3, mode::mode_30},
      // the caller's -2 doubles the rate on the time grid, unclassified
      {25, 0.0, true, 0, 480, true, -2, method_kind::time_grid, 0.0, 50, false, -2, 0, 0, 0, mode::mode_none},
      {30, 0.0, true, 0, 480, true, -3, method_kind::decimation, 0.0, 10, true, -3, 0, 0, 0, mode::mode_none},
      {25, 48, true, 0, 480, false, 1, method_kind::time_grid, 48, 48, false, 1, 0, 1, 0, mode::mode_none},
      // two unlisted rates share base 1
      {50.5, 20, true, 0, 480, false, 1, method_kind::decimation, 20, 20, true, 2, 0, 1, 0, mode::mode_none},
      {25, 24, true, 0, 480, false, 1, method_kind::pal_to_film, 24, 24, false, 1, 0, 24, 1, mode::mode_24},
      {24, 25, true, 0, 480, false, 1, method_kind::film_to_pal, 25, 25, false, 1, 0, 25, 1, mode::mode_25},
      {24, 25, false, 0, 480, false, 1, method_kind::time_grid, 25, 25, false, 1, 0, 25, 1, mode::mode_25},
      {30, 60, true, 0, 480, false, 1, method_kind::time_grid, 60, 60, false, 1, 0, 60, 1, mode::mode_60},
      {59.94, 60, true, 0, 480, false, 1, method_kind::time_grid, 60, 60, false, 1, 0, 60, 1, mode::mode_60},
      {50, 59.94, true, 0, 480, false, 1, method_kind::time_grid, ntsc60, ntsc60, false, 1, 0, 60, 1,
       mode::mode_59_94_df},
  };
  for (const plan_case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.src << " -> " << c.dst << " aware " << c.cadence_aware << " order "
                                    << c.field_order << " decimate " << c.decimate << "/" << c.decimation);
    framerate_params p = params_for(c.src, c.dst, 0, 16, c.height);
    p.cadence_aware = c.cadence_aware;
    p.field_order = c.field_order;
    p.decimate = c.decimate;
    p.decimation = c.decimation;
    const auto plan = plan_rates(p);
    ASSERT_TRUE(plan);
    EXPECT_EQ(plan->method, c.method);
    EXPECT_EQ(plan->params.dst_rate, c.dst_back);
    EXPECT_EQ(plan->output_rate, c.output_rate);
    EXPECT_EQ(plan->frame_period, 1.0 / c.output_rate);
    EXPECT_EQ(plan->params.decimate, c.decimate_back);
    EXPECT_EQ(plan->params.decimation, c.decimation_back);
    EXPECT_EQ(plan->params.field_order, c.field_order_back);
    EXPECT_EQ(plan->dst_base, c.dst_base);
    EXPECT_EQ(plan->dst_step, c.dst_step);
    EXPECT_EQ(plan->timecode_mode, c.tc_mode);

    // configure writes the same block back, except the two fields it only reads
    filter_ptr conv(create_framerate_filter(0));
    p.keep_timecode = true;
    p.time_mode = 1234;
    ASSERT_EQ(conv->configure(p), 0);
    EXPECT_EQ(p.dst_rate, c.dst_back);
    EXPECT_EQ(p.decimate, c.decimate_back);
    EXPECT_EQ(p.field_order, c.field_order_back);
    EXPECT_TRUE(p.keep_timecode);
    EXPECT_EQ(p.time_mode, 1234u);
  }
}

TEST(RatePlan, RefusesBlocksWithoutAClockAndLeavesThemUntouched) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  auto with = [](auto change) {
    framerate_params p = params_for(25, 30);
    change(p);
    return p;
  };
  const framerate_params bad[] = {
      with([](framerate_params& p) { p.format = 5; }),
      with([](framerate_params& p) { p.src_rate = 0; }),
      with([](framerate_params& p) { p.src_rate = -25; }),
      with([&](framerate_params& p) { p.src_rate = nan; }),
      with([&](framerate_params& p) { p.src_rate = inf; }),
      with([](framerate_params& p) { p.dst_rate = -1; }),
      with([&](framerate_params& p) { p.dst_rate = nan; }),
      with([](framerate_params& p) { p.decimate = true, p.decimation = 0; }),
      with([](framerate_params& p) { p.format = 4, p.width = 40000, p.height = 40000; }),
  };
  for (const framerate_params& b : bad) {
    framerate_params p = b;
    filter_ptr conv(create_framerate_filter(p.format));
    EXPECT_EQ(conv->configure(p), 1) << "src " << b.src_rate << " dst " << b.dst_rate << " format " << b.format;
    EXPECT_EQ(std::memcmp(&p, &b, sizeof p), 0);
    // an unconfigured converter refuses pictures instead of dividing by a zero rate
    const picture_layout l = layout_of(0, 8, 8);
    EXPECT_EQ(conv->push_frame(make_frame(l, 0, 0.0, 0.04)), 0);
    EXPECT_EQ(conv->push_frame(nullptr), 0);
    EXPECT_EQ(conv->pop_frame(), nullptr);
    EXPECT_EQ(conv->rejected_frames(), 1u);
  }

  EXPECT_NE(dynamic_cast<framerate_impl<uint16_t>*>(filter_ptr(create_framerate_filter(3)).get()), nullptr);
  EXPECT_NE(dynamic_cast<framerate_impl<uint16_t>*>(filter_ptr(create_framerate_filter(4)).get()), nullptr);
  EXPECT_NE(dynamic_cast<framerate_impl<uint8_t>*>(filter_ptr(create_framerate_filter(7)).get()), nullptr);
  EXPECT_EQ(destroy_framerate_filter(nullptr), 2);

  // once pictures went through, the clock can no longer change
  framerate_params p = params_for(25, 30);
  filter_ptr conv(create_framerate_filter(0));
  ASSERT_EQ(conv->configure(p), 0);
  conv->push_frame(make_frame(layout_of(0, 8, 8), 0, 0.0, 0.04));
  EXPECT_EQ(conv->configure(p), 1);
}

}  // namespace
