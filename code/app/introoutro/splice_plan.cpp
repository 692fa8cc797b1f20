#include "introoutro/splice_plan.h"

#include "introoutro/clip_ending.h"
#include "io/frame_clock.h"

#include <algorithm>
#include <cmath>

namespace ns_introoutro {

namespace {

const input_info& main_of(const std::vector<input_info>& inputs) {
  const auto it = std::find_if(inputs.begin(), inputs.end(), [](const input_info& i) { return i.role == role::main; });
  if (it == inputs.end()) throw plan_error("no main source");
  return *it;
}

std::string size_text(const ns_y4m::stream_header& h) {
  return std::to_string(h.width) + "x" + std::to_string(h.height);
}

double fps_of(const ns_y4m::stream_header& h) { return ns_y4m::frame_clock(h.rate).frames_per_second(); }

bool even(const ns_y4m::stream_header& h) { return h.width % 2 == 0 && h.height % 2 == 0; }

}  // namespace

const char* role_name(role r) {
  switch (r) {
    case role::intro: return "intro";
    case role::main: return "main";
    default: return "outro";
  }
}

bool needs_rate_conversion(double clip_fps, double main_fps) {
  return static_cast<float>(static_cast<uint32_t>(clip_fps)) != static_cast<float>(main_fps);
}

bool needs_scaling(const ns_y4m::stream_header& clip, const ns_y4m::stream_header& main) {
  return clip.width != main.width || clip.height != main.height;
}

void check_inputs(const std::vector<input_info>& inputs) {
  const input_info& main = main_of(inputs);
  if (std::count_if(inputs.begin(), inputs.end(), [](const input_info& i) { return i.role == role::main; }) != 1) {
    throw plan_error("more than one main source");
  }
  const std::string main_family = ns_y4m::chroma_family(main.header.sampling);
  for (const input_info& clip : inputs) {
    if (clip.role == role::main) continue;
    const std::string family = ns_y4m::chroma_family(clip.header.sampling);
    if (family != main_family) {
      throw plan_error(clip.name + ": the " + role_name(clip.role) + " is " + family + " (C" +
                       ns_y4m::chroma_name(clip.header.sampling) + ") but the main source " + main.name + " is " +
                       main_family + " (C" + ns_y4m::chroma_name(main.header.sampling) +
                       "): all inputs must share one format");
    }
    const bool scaled = needs_scaling(clip.header, main.header);
    const bool retimed = needs_rate_conversion(fps_of(clip.header), fps_of(main.header));
    if ((scaled || retimed) && !even(clip.header)) {
      throw plan_error(clip.name + ": the " + std::string(role_name(clip.role)) + " is " + size_text(clip.header) +
                       " and must be " + (scaled ? "scaled to " + size_text(main.header) : "converted to the main rate") +
                       ", which needs an even width and height");
    }
    if (scaled && !even(main.header)) {
      throw plan_error(main.name + ": the main source is " + size_text(main.header) + " and the " +
                       role_name(clip.role) + " " + clip.name + " must be scaled to it, which needs an even width and height");
    }
  }
}

std::optional<frame_total> expected_output(const std::vector<input_info>& inputs) {
  const input_info& main = main_of(inputs);
  const double main_fps = fps_of(main.header);
  frame_total total{0, true};
  for (const input_info& i : inputs) {
    if (!i.frames) return std::nullopt;
    total.exact = total.exact && i.frames_exact;
    const double fps = fps_of(i.header);
    if (i.role != role::main && needs_rate_conversion(fps, main_fps)) {
      total.frames += whole_clip_frames(ns_y4m::frame_clock(i.header.rate), main_fps, *i.frames);
    } else {
      total.frames += *i.frames;
    }
  }
  return total;
}

}  // namespace ns_introoutro
