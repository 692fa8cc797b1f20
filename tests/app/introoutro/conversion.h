#pragma once
// Checks of runs in which the filter converts clips to the main source's rate and size.

#include <gtest/gtest.h>

#include <cstdint>

namespace introoutro_test {

// A clip of `frames` at `fps` gives about its duration at the main rate: a few frames
// short at most, as the converter still holds the clip's last pictures when the clip
// ends.
inline void expect_about(uint64_t got, double frames, double fps, double main_fps) {
  const double duration_frames = frames * main_fps / fps;
  EXPECT_LE(static_cast<double>(got), duration_frames + 1.0);
  EXPECT_GE(static_cast<double>(got), duration_frames - 6.0);
}

}  // namespace introoutro_test
