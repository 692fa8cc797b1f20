#include "io/frame_clock.h"

namespace ns_y4m {

namespace {

// Rates compared as fractions, so that 50/2 counts as 25 and 60000/2002 as 29.97.
bool same_rate(ratio r, uint64_t num, uint64_t den) { return uint64_t{r.num} * den == num * uint64_t{r.den}; }

ulbase::timecode::mode_type mode_of(ratio r) {
  using tc = ulbase::timecode;
  struct entry {
    uint64_t num, den;
    tc::mode_type mode;
  };
  static constexpr entry modes[] = {
      {24, 1, tc::mode_24},    {25, 1, tc::mode_25},    {30, 1, tc::mode_30},
      {50, 1, tc::mode_50},    {60, 1, tc::mode_60},    {24000, 1001, tc::mode_23_976},
      {30000, 1001, tc::mode_29_97_df}, {60000, 1001, tc::mode_59_94_df},
  };
  for (const entry& e : modes) {
    if (same_rate(r, e.num, e.den)) return e.mode;
  }
  return tc::mode_none;
}

}  // namespace

frame_clock::frame_clock(ratio rate) : rate(rate), mode(mode_of(rate)) {}

void stamp_frame(KX::ZM::RVideoFrame& frame, const frame_clock& clock, uint64_t n) {
  const KX::CTimeStamp start = KX::CTimeStamp::createWithSeconds(clock.time_of(n));
  frame.setSequence(static_cast<uint32_t>(n));
  frame.setPlayTime(start);
  frame.setDecodeTime(start);
  frame.setDuration(KX::CTimeStamp::createWithSeconds(clock.period()));
  frame.setTimecode(clock.timecode_of(n));
}

}  // namespace ns_y4m
