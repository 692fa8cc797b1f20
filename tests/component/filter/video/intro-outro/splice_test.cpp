// Routing and the output stamp, through the plug-in in a graph of threads.

#include "splice_graph.h"

#include <gtest/gtest.h>

namespace introoutro_test {
namespace {

// Frames tagged base + i, at the given play times and durations, with sequence
// numbers of their own that the filter must replace.
std::vector<RPtr<RVideoFrame>> frames(uint8_t base, const std::vector<double>& play, const std::vector<double>& dur) {
  std::vector<RPtr<RVideoFrame>> v;
  for (size_t i = 0; i < play.size(); ++i) {
    v.push_back(tagged_frame(static_cast<uint8_t>(base + i), play[i], dur[i], static_cast<uint32_t>(700 + i)));
  }
  return v;
}

struct splice_case {
  const char* label;
  std::vector<clip_input> inputs;
  double origin;
  std::vector<uint8_t> tags;  // expected output order
};

TEST(IntroOutroSplice, OneCountAndOneClockAcrossEveryJoin) {
  const RPtr<const RVideoDescription> d = video(4, 2, 25.0);
  const RPtr<const RVideoDescription> main_d = video(4, 2, 25.0);
  const std::vector<double> d3(3, 0.04), d5(5, 0.04), d2(2, 0.04);
  const std::vector<splice_case> cases = {
      {"intro 3, main 5, outro 2",
       {{"intro", d, frames(0x10, {10.0, 10.04, 10.08}, d3)},
        {"main", main_d, frames(0x20, {500, 500.04, 500.08, 500.12, 500.16}, d5)},
        {"outro", d, frames(0x30, {3.0, 3.04}, d2)}},
       10.0,
       {0x10, 0x11, 0x12, 0x20, 0x21, 0x22, 0x23, 0x24, 0x30, 0x31}},
      {"no intro: the origin is the first main frame",
       {{"outro", d, frames(0x30, {3.0, 3.04}, d2)}, {"main", main_d, frames(0x20, {500, 500.04, 500.08}, d3)}},
       500.0,
       {0x20, 0x21, 0x22, 0x30, 0x31}},
      {"an intro that ends without a frame",
       {{"main", main_d, frames(0x20, {7.5, 7.54, 7.58}, d3)}, {"intro", d, {}}, {"outro", d, frames(0x30, {0, 0.04}, d2)}},
       7.5,
       {0x20, 0x21, 0x22, 0x30, 0x31}},
      {"holes and uneven durations in the main source",
       {{"intro", d, frames(0x10, {1.0}, {0.5})},
        {"main", main_d, frames(0x20, {0.0, 0.04, 0.5, 0.54, 2.0}, {0.04, 0.02, 0.1, 0.04, 0.04})},
        {"outro", d, frames(0x30, {9.0}, {0.25})}},
       1.0,
       {0x10, 0x20, 0x21, 0x22, 0x23, 0x24, 0x30}},
  };
  for (const splice_case& c : cases) {
    for (uint32_t capacity : {1u, 8u}) {
      SCOPED_TRACE(std::string(c.label) + ", queues of " + std::to_string(capacity));
      // What each input frame was before the filter saw it, by tag.
      std::map<uint8_t, std::pair<const RVideoFrame*, double>> sent;
      for (const clip_input& in : c.inputs) {
        for (const auto& f : in.frames) {
          sent[f->getData()[0]] = {f.get(), f->getDuration().getSecondsAsDouble()};
        }
      }
      const splice_output out = run_splice(c.inputs, {{"system_informat", "IYUV"}, {"system_outformat", "IYUV"}},
                                           capacity);
      EXPECT_EQ(out.description.get(), main_d.get()) << "the output is described by the main source's description";
      ASSERT_EQ(out.frames.size(), c.tags.size());
      double expected_time = c.origin;
      for (size_t k = 0; k < out.frames.size(); ++k) {
        const RFrame& f = *out.frames[k];
        const uint8_t tag = f.getData()[0];
        ASSERT_EQ(tag, c.tags[k]) << "frame " << k;
        // The very frame that was sent, picture untouched, duration kept.
        EXPECT_EQ(&f, sent[tag].first) << "frame " << k;
        EXPECT_EQ(bytes_of(f), std::vector<uint8_t>(12, tag)) << "frame " << k;
        EXPECT_EQ(f.getDuration().getSecondsAsDouble(), sent[tag].second) << "frame " << k;
        EXPECT_EQ(f.getSequence(), k);
        EXPECT_EQ(f.getPlayTime().getSecondsAsDouble(), expected_time) << "frame " << k;
        EXPECT_EQ(f.getDecodeTime(), f.getPlayTime()) << "frame " << k;
        expected_time += sent[tag].second;
      }
    }
  }
}

}  // namespace
}  // namespace introoutro_test
