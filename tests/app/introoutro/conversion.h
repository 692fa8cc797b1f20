#pragma once
// Checks of runs in which the filter converts clips to the main source's rate and size.

#include "run_program.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace introoutro_test {

// A converted clip gives about its duration at the main rate: a few frames short at
// most, as the converter still holds the clip's last pictures when the clip ends.
inline void expect_about(uint64_t frames, double duration_frames) {
  EXPECT_LE(static_cast<double>(frames), duration_frames + 1.0);
  EXPECT_GE(static_cast<double>(frames), duration_frames - 6.0);
}

// A plug-in that does not convert clips refuses, at configure, a clip whose size or
// rate differs from the main source's.
inline bool refused_conversion(const run_result& r) {
  return r.status != 0 && r.err.find("conversion") != std::string::npos;
}

}  // namespace introoutro_test
