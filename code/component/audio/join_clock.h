#pragma once
// Where the sound of each piece ends: output frame counts on the video's rational
// clock turned into whole output samples. Pure integer arithmetic, exact.

#include <cstdint>

namespace ns_audio {

struct frame_rate {
  uint32_t num = 0;  // frames per second = num / den; both above 0
  uint32_t den = 0;
};

// The sample at which output frame `frames` starts (so the sound of the first
// `frames` pictures is that many samples): frames * den * sample_rate / num rounded to
// the nearest sample, halves up. Always computed from the whole count, so rounding
// never adds up across joins.
uint64_t sample_at_frame(uint64_t frames, frame_rate rate, uint32_t sample_rate);

// num / den seconds (den > 0, either sign) in samples, rounded to the nearest, halves
// away from zero.
int64_t seconds_to_samples(int64_t num, int64_t den, uint32_t sample_rate);

}  // namespace ns_audio
