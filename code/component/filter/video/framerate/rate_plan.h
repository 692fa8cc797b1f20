#pragma once
// Configuration decisions, free of pictures: classify the two rates, snap the
// destination to its exact 1000/1001 value, choose the method and the output clock.

#include <cstdint>
#include <optional>

#include "filter/video/framerate/framerate_filter.h"

namespace ns_video_framerate {

enum class method_kind { time_grid, decimation, inverse_telecine, pal_to_film, film_to_pal, telecine };

// A rate's family: base 24, 25, 30, 50 or 60, or 1 for an unlisted rate.
struct rate_class {
  uint32_t base = 1;
  bool ntsc = false;                            // a 1000/1001 rate
  ulbase::timecode::mode_type timecode_mode = ulbase::timecode::mode_none;
  double exact = 0.0;                           // the rate itself, or its exact 1000/1001 value
};

// Classifies by the code trunc((r + 0.005) * 100), so 29.97 and 29.9700 agree.
rate_class classify_rate(double r);

struct rate_plan {
  framerate_params params;                      // the block as configure writes it back
  method_kind method = method_kind::time_grid;
  double output_rate = 0.0;
  double frame_period = 0.0;
  uint32_t src_base = 0, dst_base = 0;
  bool src_ntsc = false, dst_ntsc = false;
  uint32_t dst_step = 0;                        // step of generated time codes
  ulbase::timecode::mode_type timecode_mode = ulbase::timecode::mode_none;
  uint64_t decimation = 0;                      // |n| while the decimation method runs
};

// Nothing for a block that configure refuses (see framerate_filter::configure).
std::optional<rate_plan> plan_rates(const framerate_params& p);

}  // namespace ns_video_framerate
