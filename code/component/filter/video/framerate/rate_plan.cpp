#include "filter/video/framerate/rate_plan.h"

#include <cmath>
#include <cstdlib>

#include "filter/video/framerate/picture_layout.h"

namespace ns_video_framerate {

namespace {

using mode = ulbase::timecode;

bool usable_picture(const framerate_params& p) {
  return layout_of(p.format, p.width, p.height).bytes() <= UINT32_MAX;  // fits a record's `size`
}

bool acceptable(const framerate_params& p) {
  if (p.format > 4 || !usable_picture(p)) return false;
  if (!std::isfinite(p.src_rate) || p.src_rate <= 0.0) return false;
  if (!std::isfinite(p.dst_rate) || p.dst_rate < 0.0) return false;
  return !(p.decimate && p.decimation == 0);
}

}  // namespace

rate_class classify_rate(double r) {
  const double code = std::trunc((r + 0.005) * 100.0);
  rate_class c;
  c.exact = r;
  if (code == 500 || code == 625 || code == 1250 || code == 2500) {
    c.base = 25;
    c.timecode_mode = mode::mode_25;
  } else if (code == 400 || code == 600 || code == 800 || code == 1200 || code == 2400) {
    c.base = 24;
    c.timecode_mode = mode::mode_24;
  } else if (code == 2398) {
    c = {24, true, mode::mode_23_976, 24000.0 / 1001.0};
  } else if (code == 300 || code == 1000 || code == 1500 || code == 3000) {
    c.base = 30;
    c.timecode_mode = mode::mode_30;
  } else if (code == 2997) {
    c = {30, true, mode::mode_29_97_df, 30000.0 / 1001.0};
  } else if (code == 6000) {
    c.base = 60;
    c.timecode_mode = mode::mode_60;
  } else if (code == 5994) {
    c = {60, true, mode::mode_59_94_df, 60000.0 / 1001.0};
  } else if (code == 5000) {
    c.base = 50;
    c.timecode_mode = mode::mode_50;
  }
  return c;
}

std::optional<rate_plan> plan_rates(const framerate_params& p) {
  if (!acceptable(p)) return std::nullopt;
  rate_plan plan;
  plan.params = p;
  framerate_params& q = plan.params;

  if (q.decimate) {
    // The caller's own decimation: no classification, no generated time codes.
    if (q.decimation == -2) {
      q.decimate = false;
      plan.output_rate = 2.0 * q.src_rate;
    } else {
      plan.decimation = static_cast<uint64_t>(std::llabs(int64_t{q.decimation}));
      plan.output_rate = q.src_rate / static_cast<double>(plan.decimation);
    }
  } else {
    if (q.dst_rate == 0.0) q.dst_rate = q.src_rate;
    const rate_class src = classify_rate(q.src_rate);
    const rate_class dst = classify_rate(q.dst_rate);
    q.dst_rate = dst.exact;
    plan.src_base = src.base;
    plan.src_ntsc = src.ntsc;
    plan.dst_base = dst.base;
    plan.dst_ntsc = dst.ntsc;
    plan.timecode_mode = dst.timecode_mode;
    plan.dst_step = static_cast<uint32_t>(std::fmin(std::trunc(dst.base / q.dst_rate), UINT32_MAX));
    plan.output_rate = q.dst_rate;
    if (src.base == dst.base && q.src_rate > q.dst_rate && src.ntsc == dst.ntsc && q.cadence_aware) {
      const double n = std::trunc(q.src_rate / q.dst_rate);
      // An absurd ratio would not fit the block; such a stream keeps the time grid.
      if (n <= INT32_MAX) {
        q.decimate = true;
        q.decimation = static_cast<int32_t>(n);
        plan.decimation = static_cast<uint64_t>(n);
      }
    }
  }
  plan.frame_period = 1.0 / plan.output_rate;

  const double dst = plan.output_rate;
  if (q.decimate) {
    plan.method = method_kind::decimation;
  } else if (q.cadence_aware && plan.src_base == 30 && q.src_rate >= 29.93 && q.src_rate <= 30.01 &&
             plan.dst_base == 24 && dst >= 23.93 && dst <= 30.04 && (q.field_order == 1 || q.field_order == 2)) {
    plan.method = method_kind::inverse_telecine;
    q.field_order = 0;
  } else if (q.cadence_aware && plan.src_base == 25 && plan.dst_base == 24) {
    plan.method = method_kind::pal_to_film;
  } else if (q.cadence_aware && plan.src_base == 24 && plan.dst_base == 25) {
    plan.method = method_kind::film_to_pal;
  } else if (q.cadence_aware && plan.src_base == 24 && plan.dst_base == 30) {
    plan.method = method_kind::telecine;
    q.field_order = q.height < 700 ? 1 : 2;
  }
  return plan;
}

}  // namespace ns_video_framerate
