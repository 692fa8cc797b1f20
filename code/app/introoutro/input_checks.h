#pragma once
// What a broadcast engineer expects to be told about the inputs beyond what the
// plug-in can take: colour ranges that differ, fields in the wrong order, inputs
// without frames. Pure: no I/O.

#include "introoutro/splice_plan.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ns_introoutro {

// Throws plan_error for a main source that holds no frames (when its size tells) and
// for a clip whose colour range differs from the main source's (a stream without
// XCOLORRANGE counts as limited range). Returns warnings: an interlaced clip whose
// field order is not the interlaced main source's.
std::vector<std::string> check_clips_against_main(const std::vector<input_info>& inputs);

// After the run, from the frames read from each role: throws plan_error when the main
// source had none; returns a warning for each clip that had none.
std::vector<std::string> check_frames_read(const std::vector<input_info>& inputs,
                                           const std::vector<std::pair<role, uint64_t>>& frames_read);

}  // namespace ns_introoutro
