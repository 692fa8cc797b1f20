#pragma once
// Fixed cadences that need no picture analysis.
//
// Decimation by n keeps inputs whose sequence number is a multiple of n.
// 25 -> 24 drops inputs numbered 1, 26, 51 ...
// 24 -> 25 inserts a field mix of two inputs at outputs 1, 26, 51 ...
// 24 -> 30 (2:3 pulldown) turns each group of four film pictures into five:
//
//   film      A       B       C       D
//   fields   At Ab   Bt Bb   Ct Cb   Dt Db
//   video    At Ab | Bt Bb | Bt Cb | Ct Db | Dt Db
//            A       B       B/C     C/D     D        (top / bottom field)
//
// When film at exactly 24 becomes 30000/1001 video, one group in 200 gives its four
// pictures plainly (4 outputs instead of 5), so 24 * 5/4 = 30 becomes 30 * 999/1000.

#include <cstdint>

namespace ns_video_framerate {

constexpr bool decimation_keeps(uint64_t sequence, uint64_t n) { return sequence % n == 0; }

constexpr bool pal_to_film_drops(uint64_t sequence) { return sequence % 25 == 1; }

constexpr bool film_to_pal_mix_due(uint32_t out_count) { return out_count % 25 == 0; }

// telecine_count grows by 5 per group of four inputs.
constexpr uint32_t telecine_group_step = 5;

constexpr bool telecine_drift_due(uint32_t telecine_count, bool src_ntsc, bool dst_ntsc) {
  return dst_ntsc && !src_ntsc && telecine_count % 1000 == 995;
}

}  // namespace ns_video_framerate
