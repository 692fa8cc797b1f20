#pragma once
// Checks of runs in which the filter converts clips to the main source's rate and size.

#include <gtest/gtest.h>

#include <cstdint>

namespace introoutro_test {

// A clip of `frames` at `fps` gives its duration at the main rate, to the frame: the
// host feeds it whole through the converter.
inline void expect_about(uint64_t got, double frames, double fps, double main_fps) {
  EXPECT_NEAR(static_cast<double>(got), frames * main_fps / fps, 1.0);
}

}  // namespace introoutro_test
