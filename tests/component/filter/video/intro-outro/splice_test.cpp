// Routing and the output stamp, through the plug-in in a graph of threads.

#include "splice_graph.h"

#include <gtest/gtest.h>

namespace introoutro_test {
namespace {

// Frames tagged first + i (mod 256), at the given play times and durations, with
// sequence numbers of their own that the filter must replace.
std::vector<RPtr<RVideoFrame>> frames(uint8_t first, const std::vector<double>& play, const std::vector<double>& dur) {
  std::vector<RPtr<RVideoFrame>> v;
  for (size_t i = 0; i < play.size(); ++i) {
    v.push_back(tagged_frame(static_cast<uint8_t>(first + i), play[i], dur[i], static_cast<uint32_t>(700 + i)));
  }
  return v;
}

// n frames of `duration` each from `start` on.
std::vector<RPtr<RVideoFrame>> run_of(uint8_t first, size_t n, double start, double duration) {
  std::vector<double> play(n);
  for (size_t i = 0; i < n; ++i) play[i] = start + 0.5 * i;
  return frames(first, play, std::vector<double>(n, duration));
}

struct splice_case {
  const char* label;
  std::vector<clip_input> inputs;
  std::vector<size_t> order;  // the inputs whose frames come out, in output order
};

TEST(IntroOutroSplice, OneCountAndOneClockAcrossEveryJoin) {
  const RPtr<const RVideoDescription> d = video(4, 2, 25.0), main_d = video(4, 2, 25.0);
  const std::vector<double> d3(3, 0.04), d5(5, 0.04), d2(2, 0.04);
  for (uint32_t capacity : {1u, 8u}) {
    // Made afresh for each run: the filter re-stamps the frames it passes on.
    const std::vector<splice_case> cases = {
        {"intro 3, main 5, outro 2",
         {{"intro", d, frames(0x10, {10.0, 10.04, 10.08}, d3)},
          {"main", main_d, frames(0x20, {500, 500.04, 500.08, 500.12, 500.16}, d5)},
          {"outro", d, frames(0x30, {3.0, 3.04}, d2)}},
         {0, 1, 2}},
        {"no intro: the origin is the first main frame",
         {{"outro", d, frames(0x30, {3.0, 3.04}, d2)}, {"main", main_d, frames(0x20, {500, 500.04, 500.08}, d3)}},
         {1, 0}},
        {"an intro that ends without a frame",
         {{"main", main_d, frames(0x20, {7.5, 7.54, 7.58}, d3)}, {"intro", d, {}}, {"outro", d, frames(0x30, {0, 0.04}, d2)}},
         {0, 2}},
        {"holes and uneven durations in the main source",
         {{"intro", d, frames(0x10, {1.0}, {0.5})},
          {"main", main_d, frames(0x20, {0.0, 0.04, 0.5, 0.54, 2.0}, {0.04, 0.02, 0.1, 0.04, 0.04})},
          {"outro", d, frames(0x30, {9.0}, {0.25})}},
         {0, 1, 2}},
        // Long enough that every thread waits on the others often; roles by name only.
        {"long clips, connected outro first",
         {{"the_outro", d, run_of(0, 30, 300, 0.02)}, {"feature", main_d, run_of(0, 400, 200, 0.02)},
          {"intro", d, run_of(0, 40, 100, 0.02)}},
         {2, 1, 0}},
    };
    for (const splice_case& c : cases) {
      SCOPED_TRACE(std::string(c.label) + ", queues of " + std::to_string(capacity));
      // What each frame was before the filter saw it.
      std::vector<RPtr<RVideoFrame>> sent;
      for (size_t i : c.order) sent.insert(sent.end(), c.inputs[i].frames.begin(), c.inputs[i].frames.end());
      std::vector<std::vector<uint8_t>> pictures;
      std::vector<double> durations;
      for (const auto& f : sent) {
        pictures.push_back(bytes_of(*f));
        durations.push_back(f->getDuration().getSecondsAsDouble());
      }
      double time = sent[0]->getPlayTime().getSecondsAsDouble();

      const splice_output out = run_splice(c.inputs, {{"system_informat", "IYUV"}, {"system_outformat", "IYUV"}},
                                           capacity);
      ASSERT_FALSE(out.error) << out.error->what();
      EXPECT_EQ(out.description.get(), main_d.get()) << "the output is described by the main source's description";
      EXPECT_EQ(out.ends, 2u) << "runloop ends its output once, the host's thread body once more";
      ASSERT_EQ(out.frames.size(), sent.size());
      for (size_t k = 0; k < out.frames.size(); ++k) {
        SCOPED_TRACE("frame " + std::to_string(k));
        const RFrame& f = *out.frames[k];
        // The very frame that was sent, picture untouched, duration kept.
        ASSERT_EQ(&f, sent[k].get());
        EXPECT_EQ(bytes_of(f), pictures[k]);
        EXPECT_EQ(f.getDuration().getSecondsAsDouble(), durations[k]);
        EXPECT_EQ(f.getSequence(), k);
        EXPECT_EQ(f.getPlayTime().getSecondsAsDouble(), time);
        EXPECT_EQ(f.getDecodeTime(), f.getPlayTime());
        time += durations[k];
      }
    }
  }
}

}  // namespace
}  // namespace introoutro_test
