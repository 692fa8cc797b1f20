// The plug-in as a host meets it: dlopen, getComponentInstance and libzm only.
// Producer threads feed an intro, a main source and an outro, a consumer thread reads
// the spliced stream; queues of two frames make every thread wait on the others often.

#include "splice_graph.h"

#include <gtest/gtest.h>

namespace introoutro_test {
namespace {

TEST(IntroOutroHost, EveryFrameArrivesInOrderStampedAcrossThreads) {
  const uint32_t counts[3] = {40, 400, 30};  // intro, main, outro
  const char* queues[3] = {"intro", "feature", "the_outro"};
  std::vector<clip_input> inputs;
  for (int id = 2; id >= 0; --id) {  // connected outro first: roles come from the names
    clip_input in{queues[id], video(2, 1, 50.0), {}};
    for (uint32_t i = 0; i < counts[id]; ++i) {
      const uint8_t bytes[2] = {static_cast<uint8_t>(id), static_cast<uint8_t>(i)};
      in.frames.push_back(RVideoFrame::createWithData(kY22P, 2, bytes, 0, KX::kCopy));
      in.frames.back()->setPlayTime(KX::CTimeStamp::createWithSeconds(100.0 * (id + 1) + i * 0.5));
      in.frames.back()->setDuration(KX::CTimeStamp::createWithSeconds(0.02));
      in.frames.back()->setSequence(i * 3);
    }
    inputs.push_back(std::move(in));
  }
  const splice_output out =
      run_splice(inputs, {{"system_informat", "Y22P"}, {"system_outformat", "Y22P"}}, 2);

  ASSERT_EQ(out.frames.size(), counts[0] + counts[1] + counts[2]);
  size_t k = 0;
  double time = 100.0;  // the intro's first play time
  for (uint8_t id = 0; id < 3; ++id) {
    for (uint32_t i = 0; i < counts[id]; ++i, ++k) {
      const RFrame& f = *out.frames[k];
      ASSERT_EQ(f.getData()[0], id) << "frame " << k;
      ASSERT_EQ(f.getData()[1], static_cast<uint8_t>(i)) << "frame " << k;
      EXPECT_EQ(f.getSequence(), k);
      EXPECT_EQ(f.getPlayTime().getSecondsAsDouble(), time) << "frame " << k;
      EXPECT_EQ(f.getDecodeTime(), f.getPlayTime()) << "frame " << k;
      time += 0.02;
    }
  }
}

}  // namespace
}  // namespace introoutro_test
