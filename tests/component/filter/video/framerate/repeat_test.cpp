#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <tuple>

#include "filter/video/framerate/rate_plan.h"
#include "filter/video/framerate/time_grid.h"
#include "frame_helpers.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// The sanitizers' allocator statistics (GCC ships no header that declares them).
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

namespace {

using namespace framerate_test;

// Bytes the program has allocated and not freed.
size_t live_heap_bytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return __sanitizer_get_current_allocated_bytes();
#else
  const struct mallinfo2 m = mallinfo2();
  return m.uordblks + m.hblkhd;
#endif
}

// The time code make_frame gives picture `id`.
ulbase::timecode make_frame_code(uint32_t id) {
  return ulbase::timecode::from_frame_index(ulbase::timecode::mode_25, 1000 + id);
}

// `extra` bytes more after the picture, numbered.
void lengthen(framerate_frame& f, uint32_t extra) {
  f.data = static_cast<uint8_t*>(std::realloc(f.data, f.size + extra));
  for (uint32_t i = 0; i < extra; ++i) f.data[f.size + i] = static_cast<uint8_t>(200 + i);
  f.size += extra;
}

struct shown {
  size_t picture;    // index into the pushed pictures
  size_t available;  // pushes (the end included) after which it can be popped
};

// The time grid's outputs by output instant: the instants run from the grid start a
// period apart (summed, as the converter sums them), and each takes the first picture,
// from the one the instant before took on, whose middle lies after it; once the
// stream has ended, the last picture takes the instants before its end.
std::vector<shown> grid_outputs(const framerate_params& p, const std::vector<frame_ptr>& in, double period) {
  const double first_time = grid_first_time(p.dst_rate, in[0]->play_time, p.src_rate);
  double instant = grid_start(first_time, period, p.time_mode, 0.0);
  std::vector<shown> out;
  for (size_t i = 0; i <= in.size();) {
    const framerate_frame& f = *in[std::min(i, in.size() - 1)];
    const int64_t limit = grid_ms(f.play_time + (i < in.size() ? f.duration * 0.5 : f.duration));
    if (!grid_before(grid_ms(instant), limit, p.time_mode)) {
      ++i;
      continue;
    }
    out.push_back({std::min(i, in.size() - 1), i + 1});
    if (instant + period == instant) ++i;
    instant += period;
  }
  return out;
}

// Over many rate pairs, time modes and holds from none to a minute, every popped record
// is a full copy of the right picture (key plane and bytes past the picture included),
// stamped as its output instant, and can be popped from the push that decides it
// on, however long the caller waits to pop it.
TEST(Repeats, EveryRecordIsTheCopyItsInstantShowsStampedInOrder) {
  const picture_layout l = layout_of(1, 8, 6);
  const double holds[] = {0.04, 2.0, 0.0, 1.0 / 30, 0.5, 61.0, 0.02, 0.001, 10.0, 0.04, 7.3, 0.04};
  const double pairs[][2] = {{25, 30},       {30, 25},  {24, 25},  {25, 24},    {23.976, 29.97},
                             {29.97, 23.976}, {24, 60},  {1, 25},   {0.5, 29.97}, {25, 50},
                             {25, 12},        {30, 48},  {50, 59.94}, {60, 23.976}, {12, 30}};
  std::mt19937 rng(515);
  for (const auto& pair : pairs)
    for (uint32_t time_mode : {1000u, 1002u, 1003u, 0u})
      for (bool keep : {false, true}) {
        framerate_params p = params_for(pair[0], pair[1], 1, l.width, l.height);
        p.cadence_aware = false;
        p.time_mode = time_mode;
        p.keep_timecode = keep;
        SCOPED_TRACE(testing::Message() << pair[0] << " -> " << pair[1] << " mode " << time_mode << " keep " << keep);
        filter_ptr conv(create_framerate_filter(p.format));
        ASSERT_EQ(conv->configure(p), 0);
        const double period = 1.0 / p.dst_rate;
        // Generated codes start from the first picture's, counted at the output rate.
        const rate_class dst = classify_rate(p.dst_rate);
        const ulbase::timecode seed =
            dst.timecode_mode == ulbase::timecode::mode_none
                ? ulbase::timecode()
                : ulbase::timecode_with_timestamp(dst.timecode_mode, make_frame_code(0).stream_time(),
                                                  static_cast<uint32_t>(std::trunc(dst.base / p.dst_rate)));

        std::vector<frame_ptr> in;
        double t = 3.0;
        for (size_t i = 0; i < std::size(holds); ++i) {
          in.emplace_back(make_frame(l, static_cast<uint32_t>(i), i % 3 != 1));
          if (i == 4) lengthen(*in.back(), 5);  // a longer record is copied whole
          in.back()->play_time = in.back()->decode_time = t;
          in.back()->duration = holds[i];
          t += holds[i];
        }
        const std::vector<shown> want = grid_outputs(p, in, period);
        const double first_time = grid_first_time(p.dst_rate, in[0]->play_time, p.src_rate);

        std::vector<frame_ptr> out;
        ulbase::timecode code = seed;
        for (size_t push = 0; push <= in.size(); ++push) {
          conv->push_frame(push < in.size() ? copy_of(*in[push], l.luma_samples()) : nullptr);
          size_t ready = 0;
          while (ready < want.size() && want[ready].available <= push + 1) ++ready;
          // Sometimes pop only part of what is ready and leave the rest for later.
          const size_t stop = push < in.size() && rng() % 3 == 0 ? out.size() + (ready - out.size()) / 2 : ready;
          while (out.size() < stop) {
            framerate_frame* f = conv->pop_frame();
            ASSERT_NE(f, nullptr) << "output " << out.size() << " missing after push " << push;
            out.emplace_back(f);
            const size_t k = out.size() - 1;
            const framerate_frame& src = *in[want[k].picture];
            SCOPED_TRACE(testing::Message() << "output " << k << " of picture " << want[k].picture);
            ASSERT_EQ(f->size, src.size);
            EXPECT_EQ(std::memcmp(f->data, src.data, src.size), 0);
            ASSERT_EQ(f->alpha != nullptr, src.alpha != nullptr);
            EXPECT_TRUE(!src.alpha || std::memcmp(f->alpha, src.alpha, l.luma_samples()) == 0);
            EXPECT_EQ(f->sequence, k);
            EXPECT_EQ(f->duration, period);
            EXPECT_EQ(f->play_time, static_cast<uint32_t>(k) * period + first_time);
            EXPECT_EQ(f->decode_time, f->play_time);
            EXPECT_EQ(f->timecode, keep ? src.timecode : code);
            code.increment();
          }
          if (stop == ready) {
            EXPECT_EQ(frame_ptr(conv->pop_frame()), nullptr) << "early output after push " << push;
          }
        }
        EXPECT_EQ(conv->pop_frame(), nullptr);
        EXPECT_EQ(out.size(), want.size());
      }
}

// A still held for an hour costs what a still held for a second does: one picture
// and the record being popped, not a copy per output instant.
TEST(Repeats, ALongStillHoldsItsPictureOnceWhateverItsDuration) {
  for (const auto& [format, width, height, popped] :
       {std::tuple{0u, 64u, 36u, SIZE_MAX}, std::tuple{0u, 1920u, 1080u, size_t{50}}}) {
    const picture_layout l = layout_of(format, width, height);
    const size_t picture = l.bytes() + l.luma_samples();  // with its key plane
    SCOPED_TRACE(testing::Message() << width << "x" << height);
    framerate_params p = params_for(1.0 / 3600, 25, format, width, height);
    p.time_mode = 1000;
    filter_ptr conv(create_framerate_filter(p.format));
    ASSERT_EQ(conv->configure(p), 0);
    framerate_frame* still = make_frame(l, 7, true);
    still->duration = 3600;
    const std::vector<uint8_t> bytes(still->data, still->data + still->size);
    const size_t before = live_heap_bytes();
    int64_t peak = 0;
    size_t count = 0;
    // Pops what is ready (up to `popped` records per push), freeing each record before
    // the next, as a host does.
    auto drain_some = [&] {
      for (size_t n = 0; n < popped; ++n) {
        peak = std::max(peak, static_cast<int64_t>(live_heap_bytes() - before));
        const frame_ptr f(conv->pop_frame());
        if (!f) break;
        ASSERT_EQ(f->sequence, count++);
        ASSERT_TRUE(f->size == bytes.size() && std::memcmp(f->data, bytes.data(), f->size) == 0);
      }
    };
    conv->push_frame(still);
    drain_some();
    ASSERT_LT(peak, 2 * static_cast<int64_t>(picture)) << "bytes held beyond the still";
    conv->push_frame(nullptr);
    drain_some();
    EXPECT_LT(peak, 2 * static_cast<int64_t>(picture)) << "bytes held beyond the still";
    EXPECT_EQ(count > 3500u * 25, popped == SIZE_MAX) << "an hour of outputs when all are popped";
    EXPECT_TRUE(popped == SIZE_MAX || count == 2 * popped);
    conv.reset();
    EXPECT_LT(live_heap_bytes(), before - picture / 2) << "the still outlived the converter";
  }
}

}  // namespace
