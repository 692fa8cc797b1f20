#include "audio/join_clock.h"

#include <stdexcept>

namespace ns_audio {

// 128-bit products: 2^64 frames * 2^32 * 2^32 does not fit 64 bits, and the
// quotient must be the exact rational rounded once.
uint64_t sample_at_frame(uint64_t frames, frame_rate rate, uint32_t sample_rate) {
  if (rate.num == 0 || rate.den == 0) throw std::invalid_argument("a frame rate needs a numerator and denominator above 0");
  const unsigned __int128 scaled = static_cast<unsigned __int128>(frames) * rate.den * sample_rate;
  return static_cast<uint64_t>((2 * scaled + rate.num) / (2 * static_cast<unsigned __int128>(rate.num)));
}

int64_t seconds_to_samples(int64_t num, int64_t den, uint32_t sample_rate) {
  if (den <= 0) throw std::invalid_argument("a time needs a denominator above 0");
  const __int128 wide = num;
  const __int128 scaled = (wide < 0 ? -wide : wide) * sample_rate;
  const auto magnitude = static_cast<int64_t>((2 * scaled + den) / (2 * static_cast<__int128>(den)));
  return num < 0 ? -magnitude : magnitude;
}

}  // namespace ns_audio
