// Where each piece's sound ends: whole samples from cumulative frame counts, with no
// error that grows with the number of joins.

#include "audio/join_clock.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>

namespace {

using ns_audio::frame_rate;
using ns_audio::sample_at_frame;
using ns_audio::seconds_to_samples;

TEST(JoinClock, RoundsEachFrameBoundaryToTheNearestSample) {
  const frame_rate ntsc{30000, 1001};
  EXPECT_EQ(sample_at_frame(0, ntsc, 48000), 0u);
  EXPECT_EQ(sample_at_frame(1, ntsc, 48000), 1602u);  // 1601.6
  EXPECT_EQ(sample_at_frame(5, ntsc, 48000), 8008u);  // whole: five frames of NTSC at 48 kHz
  EXPECT_EQ(sample_at_frame(1, ntsc, 44100), 1471u);  // 1471.47
  EXPECT_EQ(sample_at_frame(3, ntsc, 44100), 4414u);  // 4414.41
  EXPECT_EQ(sample_at_frame(1, {2, 1}, 1), 1u);       // a half goes up
  EXPECT_EQ(sample_at_frame(3, {25, 1}, 44100), 5292u);
  // 2^40 frames at 192 kHz: the product passes 64 bits, the result does not.
  EXPECT_EQ(sample_at_frame(uint64_t{1} << 40, ntsc, 192000), 7043911292184166u);
  EXPECT_THROW(sample_at_frame(1, {0, 1}, 48000), std::invalid_argument);
}

TEST(JoinClock, OneFramePiecesDoNotDriftOverManyJoins) {
  // 1000 pieces of one frame each: every boundary stays within half a sample of the
  // exact time, so the sound of the 1000th piece ends where its picture does. Piece
  // lengths alternate between neighbouring counts, as they must: a fixed rounded
  // length per piece would drift by 0.47 samples a join.
  struct clock {
    frame_rate rate;
    uint32_t sample_rate;
    size_t lengths;  // distinct piece lengths: 1 when a frame is a whole number of samples
  };
  for (const auto& [rate, sample_rate, distinct] : {clock{{30000, 1001}, 44100, 2}, clock{{24000, 1001}, 48000, 1},
                                                    clock{{25, 1}, 44100, 1}, clock{{60000, 1001}, 22050, 2}}) {
    SCOPED_TRACE(testing::Message() << rate.num << "/" << rate.den << " frames/s at " << sample_rate << " Hz");
    std::set<uint64_t> lengths;
    uint64_t previous = 0;
    for (uint64_t k = 1; k <= 1000; ++k) {
      const uint64_t end = sample_at_frame(k, rate, sample_rate);
      // |end - k*den*rate/num| <= 1/2, exactly: |2*end*num - 2*k*den*rate| <= num.
      const auto exact2 = static_cast<int64_t>(2 * k * rate.den * sample_rate);
      ASSERT_LE(std::llabs(static_cast<int64_t>(2 * end * rate.num) - exact2), static_cast<int64_t>(rate.num))
          << "piece " << k;
      lengths.insert(end - previous);
      previous = end;
    }
    EXPECT_EQ(lengths.size(), distinct);
  }
}

TEST(JoinClock, SecondsToSamplesRoundsHalvesAwayFromZero) {
  EXPECT_EQ(seconds_to_samples(1, 10, 48000), 4800);
  EXPECT_EQ(seconds_to_samples(-1, 20, 48000), -2400);
  EXPECT_EQ(seconds_to_samples(1, 96000, 48000), 1);
  EXPECT_EQ(seconds_to_samples(-1, 96000, 48000), -1);
  EXPECT_EQ(seconds_to_samples(-1, 96001, 48000), 0);
  EXPECT_EQ(seconds_to_samples(1001, 30000, 44100), 1471);
  EXPECT_THROW(seconds_to_samples(1, 0, 48000), std::invalid_argument);
}

}  // namespace
