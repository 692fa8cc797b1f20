#include "introoutro/clip_ending.h"

#include "filter/video/framerate/framerate_filter.h"
#include "filter/video/framerate/rate_plan.h"
#include "filter/video/framerate/time_grid.h"

#include <cmath>
#include <cstdlib>
#include <new>
#include <stdexcept>

namespace ns_introoutro {

namespace {

using ns_video_framerate::framerate_frame;
using ns_video_framerate::framerate_params;

// The shadow's pictures: the smallest 4:2:0 picture. What the converter does with a
// clip's timing does not depend on the picture size.
constexpr uint32_t shadow_side = 2;
constexpr uint32_t shadow_bytes = shadow_side * shadow_side * 3 / 2;

// The cadence that holds most pictures back (telecine: four and a look-ahead) is
// released by four more.
constexpr size_t max_guards = 4;

// The block the filter gives a clip's converter (its clip preparation), on the
// shadow's picture size.
framerate_params filter_params(double clip_fps, double main_fps) {
  framerate_params p{};
  p.cadence_aware = true;
  p.src_rate = clip_fps;
  p.dst_rate = main_fps;
  p.decimate = false;
  p.decimation = 1;
  p.format = 0;
  p.width = shadow_side;
  p.height = shadow_side;
  p.field_order = 0;
  p.adaptive_ivtc = true;
  p.ivtc_phase = 0;
  p.keep_timecode = true;
  p.time_mode = 1000;
  return p;
}

framerate_frame* shadow_record(const frame_timing& t) {
  auto* f = static_cast<framerate_frame*>(std::malloc(sizeof(framerate_frame)));
  auto* data = static_cast<uint8_t*>(std::malloc(shadow_bytes));
  if (f == nullptr || data == nullptr) {
    std::free(f);
    std::free(data);
    throw std::bad_alloc();
  }
  f->data = data;
  f->size = shadow_bytes;
  f->duration = t.duration;
  f->play_time = f->decode_time = t.play_time;
  f->sequence = t.sequence;
  new (&f->timecode) ulbase::timecode();
  f->alpha = nullptr;
  return f;
}

void release(framerate_frame* f) {
  std::free(f->data);
  std::free(f->alpha);
  std::free(f);
}

}  // namespace

clip_ending::clip_ending(double clip_fps, double main_fps) : clip_rate(clip_fps) {
  framerate_params p = filter_params(clip_fps, main_fps);
  const std::optional<ns_video_framerate::rate_plan> plan = ns_video_framerate::plan_rates(p);
  shadow.reset(ns_video_framerate::create_framerate_filter(p.format));
  if (!plan || !shadow || shadow->configure(p) != 0) {
    throw std::runtime_error("no frame-rate conversion from " + std::to_string(clip_fps) + " to " +
                             std::to_string(main_fps) + " frames/s");
  }
  output_rate = plan->output_rate;
  time_grid = plan->method == ns_video_framerate::method_kind::time_grid;
}

clip_ending::~clip_ending() = default;

uint64_t clip_ending::push(const frame_timing& frame) {
  shadow->push_frame(shadow_record(frame));
  uint64_t n = 0;
  while (framerate_frame* f = shadow->pop_frame()) {
    release(f);
    ++n;
  }
  return n;
}

void clip_ending::see(const frame_timing& frame) {
  if (seen == 0) {
    first = frame;
    grid_first = ns_video_framerate::grid_first_time(output_rate, frame.play_time, clip_rate);
  }
  last = frame;
  ++seen;
  out += push(frame);
}

std::vector<frame_timing> clip_ending::guards() {
  if (seen == 0) return {};
  const double end = last.play_time + last.duration;
  const double whole = (end - first.play_time) * output_rate;  // the clip's duration in main frames
  std::vector<frame_timing> candidates;
  if (time_grid) {
    // One picture whose middle lies half a period before the grid instant that would
    // be one frame too many: every instant up to it shows the last picture.
    const double period = 1.0 / output_rate;
    const double middle = grid_first + (std::round(whole) - 0.5) * period;
    candidates.push_back({middle - period / 2, period, last.sequence + 1});
  } else {
    // The cadences count pictures, not time: more of the same, in step with the clip.
    for (size_t i = 1; i <= max_guards; ++i) {
      candidates.push_back({end + static_cast<double>(i - 1) * last.duration, last.duration, last.sequence + i});
    }
  }
  // The number of guards whose output is nearest the whole duration; a clip never
  // vanishes when a guard can show it, and of two equally near counts the longer
  // one wins, so that the clip's last pictures are shown.
  std::vector<uint64_t> counts{out};
  for (const frame_timing& g : candidates) counts.push_back(counts.back() + push(g));
  size_t best = 0;
  const auto worse = [&](size_t a, size_t b) {
    if ((counts[a] == 0) != (counts[b] == 0)) return counts[a] == 0;
    const double da = std::fabs(static_cast<double>(counts[a]) - whole);
    const double db = std::fabs(static_cast<double>(counts[b]) - whole);
    if (da != db) return da > db;
    return counts[a] < counts[b];
  };
  for (size_t k = 1; k < counts.size(); ++k) {
    if (worse(best, k)) best = k;
  }
  out = counts[best];
  candidates.resize(best);
  return candidates;
}

uint64_t whole_clip_frames(const ns_y4m::frame_clock& clip, double main_fps, uint64_t frames) {
  clip_ending ending(clip.frames_per_second(), main_fps);
  for (uint64_t n = 0; n < frames; ++n) ending.see({clip.time_of(n), clip.period(), n});
  ending.guards();
  return ending.frames_out();
}

}  // namespace ns_introoutro
