#pragma once
// What can be known about a splice before it runs: whether the inputs fit together,
// and how many frames the output will have. Pure: no I/O.

#include "io/y4m_header.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace ns_introoutro {

// An input that cannot be spliced; the message names it.
class plan_error : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

enum class role { intro, main, outro };
const char* role_name(role r);

struct input_info {
  ns_introoutro::role role;
  std::string name;  // for messages: the file name or the demo clip
  ns_y4m::stream_header header;
  std::optional<uint64_t> frames;  // when the input's size tells
  bool frames_exact = true;        // false: `frames` is an estimate
};

// Whether the filter puts a clip at `clip_fps` through a frame-rate converter under
// a main source at `main_fps`: unless the clip's whole frames per second equal the
// main rate (so a 29.97 clip under a 29.97 main source is converted as well).
bool needs_rate_conversion(double clip_fps, double main_fps);
bool needs_scaling(const ns_y4m::stream_header& clip, const ns_y4m::stream_header& main);

// Throws plan_error unless there is exactly one main input, every input shares the
// main source's chroma family, and every clip that is converted has even sizes, as
// has the main source when a clip is scaled to it.
void check_inputs(const std::vector<input_info>& inputs);

struct frame_total {
  uint64_t frames;
  bool exact;  // false: a size that was not whole frames
};
// The output's frame count, when every input's size is known. A converted clip gives
// what the filter's converter makes of it, fed whole (clip_ending.h).
std::optional<frame_total> expected_output(const std::vector<input_info>& inputs);

}  // namespace ns_introoutro
