#include <gtest/gtest.h>

#include <cmath>

#include "filter/video/framerate/ivtc/cadence_lock.h"
#include "frame_helpers.h"

namespace {

using namespace framerate_test;

// Film picture t of a texture drifting right and down, so that every field of a
// picture differs from the other pictures' fields.
framerate_frame* film_picture(const picture_layout& l, int t, double play_time, double duration) {
  framerate_frame* f = make_frame(l, 0, play_time, duration, false, t);
  const uint32_t max = l.sample_bytes == 1 ? 255 : 65535;
  for (int plane = 0; plane < 3; ++plane) {
    const uint32_t w = plane ? l.chroma_width : l.width, h = plane ? l.chroma_height : l.height;
    for (uint32_t y = 0; y < h; ++y)
      for (uint32_t x = 0; x < w; ++x) {
        const double u = x - 3.0 * t / (plane ? 2 : 1), v = y - 2.0 * t;
        const double s = 0.5 + 0.3 * std::sin(0.21 * u + plane) + 0.18 * std::cos(0.17 * v + 0.05 * u);
        const uint32_t value = static_cast<uint32_t>(s * max + 0.5);
        const size_t i = plane_offset(l, plane) + size_t{y} * w + x;
        if (l.sample_bytes == 1) f->data[i] = static_cast<uint8_t>(value);
        else { const uint16_t q = static_cast<uint16_t>(value); std::memcpy(f->data + 2 * i, &q, 2); }
      }
  }
  return f;
}

// Runs `count` film pictures through telecine at 30000/1001.
std::vector<frame_ptr> telecined(const picture_layout& l, uint32_t format, int count) {
  framerate_params p = params_for(23.976, 29.97, format, l.width, l.height);
  filter_ptr conv(create_framerate_filter(format));
  EXPECT_EQ(conv->configure(p), 0);
  std::vector<frame_ptr> out;
  for (int t = 0; t < count; ++t) {
    conv->push_frame(film_picture(l, t, t * 1001.0 / 24000, 1001.0 / 24000));
    drain(*conv, out);
  }
  conv->push_frame(nullptr);
  drain(*conv, out);
  return out;
}

// A copy of `src` stamped at `play_time`, as a fresh record for a converter.
framerate_frame* copy_record(const framerate_frame& src, double play_time) {
  auto* f = static_cast<framerate_frame*>(std::malloc(sizeof(framerate_frame)));
  *f = src;
  f->data = static_cast<uint8_t*>(std::malloc(f->size));
  std::memcpy(f->data, src.data, f->size);
  f->alpha = nullptr;
  f->play_time = f->decode_time = play_time;
  return f;
}

// Runs `in` (29.97 fps, from `start`) through inverse telecine; with `short_at` >= 0 a
// record one byte short is pushed after that picture.
std::vector<frame_ptr> inverse(const std::vector<frame_ptr>& in, uint32_t format, const picture_layout& l,
                               bool adaptive, uint32_t phase = 0, double start = 0.0, bool end = true,
                               int short_at = -1) {
  framerate_params p = params_for(29.97, 23.976, format, l.width, l.height);
  p.field_order = 1;
  p.adaptive_ivtc = adaptive;
  p.ivtc_phase = phase;
  filter_ptr conv(create_framerate_filter(format));
  EXPECT_EQ(conv->configure(p), 0);
  EXPECT_EQ(p.field_order, 0u);
  std::vector<frame_ptr> out;
  for (size_t i = 0; i < in.size(); ++i) {
    conv->push_frame(copy_record(*in[i], start + i * 1001.0 / 30000));
    if (static_cast<int>(i) == short_at) {
      framerate_frame* bad = copy_record(*in[i], 0.0);
      --bad->size;
      conv->push_frame(bad);
    }
    drain(*conv, out);
  }
  if (end) {
    conv->push_frame(nullptr);
    drain(*conv, out);
  }
  EXPECT_EQ(conv->rejected_frames(), short_at >= 0 ? 1u : 0u);
  return out;
}

// Index of the picture in `pictures` whose luma equals f's, or -1.
int luma_match(const framerate_frame& f, const std::vector<frame_ptr>& pictures, const picture_layout& l) {
  const size_t bytes = l.luma_samples() * l.sample_bytes;
  for (size_t t = 0; t < pictures.size(); ++t)
    if (std::memcmp(f.data, pictures[t]->data, bytes) == 0) return static_cast<int>(t);
  return -1;
}

std::vector<int> luma_matches(const std::vector<frame_ptr>& out, const std::vector<frame_ptr>& pictures,
                              const picture_layout& l) {
  std::vector<int> ids;
  for (const frame_ptr& f : out) ids.push_back(luma_match(*f, pictures, l));
  return ids;
}

// Progressive 29.97 fps pictures of vertical stripes moving sideways: no line differs
// from the one below it, so nothing ever looks combed.
std::vector<frame_ptr> progressive_clip(const picture_layout& l, int count) {
  std::vector<frame_ptr> clip;
  for (int t = 0; t < count; ++t) {
    framerate_frame* f = make_frame(l, 0, t * 1001.0 / 30000, 1001.0 / 30000, false, t);
    for (uint32_t y = 0; y < l.height; ++y)
      for (uint32_t x = 0; x < l.width; ++x)
        f->data[size_t{y} * l.width + x] = static_cast<uint8_t>(128 + 60 * std::sin(0.2 * (x - 3.0 * t)));
    clip.emplace_back(f);
  }
  return clip;
}

TEST(InverseTelecine, ProgressiveSourceIsCopiedAndThinnedToTheFilmRate) {
  const picture_layout l = layout_of(0, 64, 48);
  const std::vector<frame_ptr> clip = progressive_clip(l, 100);
  const std::vector<int> ids = luma_matches(inverse(clip, 0, l, true), clip, l);
  // Decisions start with the fifth picture and copy the front one; a copy that would
  // put the count two above trunc(steps * 23.976 / 29.97) is dropped: pictures 5, 10 ...
  std::vector<int> want;
  for (int i = 0; i < 96; ++i) {
    if (i < 5 || i % 5 != 0) want.push_back(i);
  }
  want.insert(want.end(), {96, 97, 98, 99});  // the end flushes the queue
  EXPECT_EQ(ids, want);
}

TEST(InverseTelecine, RecoversFilmFromTheProjectsOwnPulldown) {
  for (uint32_t format : {0u, 3u}) {
    SCOPED_TRACE(testing::Message() << "format " << format);
    const picture_layout l = format == 0 ? layout_of(0, 160, 120) : layout_of(3, 96, 64);
    const int count = format == 0 ? 200 : 60;
    std::vector<frame_ptr> film;
    for (int t = 0; t < count; ++t) film.emplace_back(film_picture(l, t, 0, 0));
    const std::vector<frame_ptr> video = telecined(l, format, count);
    ASSERT_EQ(video.size(), count / 4 * 5u);
    const std::vector<frame_ptr> out = inverse(video, format, l, true, 0, 0.0, true, 37);
    // Every film picture comes back exactly, in order, except at the very end: the
    // flush passes the four queued pictures on unchanged, and two of them are the
    // mixed B/C and C/D of the last group.
    std::vector<int> want;
    for (int t = 0; t < count - 2; ++t) want.push_back(t);
    want.insert(want.end(), {-1, -1, count - 1});
    EXPECT_EQ(luma_matches(out, film, l), want);
    for (size_t k = 0; k < out.size(); ++k) {
      EXPECT_EQ(out[k]->sequence, k);
      EXPECT_DOUBLE_EQ(out[k]->play_time, k * 1001.0 / 24000);
    }
  }
}

TEST(InverseTelecine, FixedPhaseWeavesAtItsPositionUnlessTheClipStartsLate) {
  const picture_layout l = layout_of(0, 64, 48);
  const std::vector<frame_ptr> clip = progressive_clip(l, 20);
  const std::vector<frame_ptr> fixed = inverse(clip, 0, l, false, 2);
  // Cycle positions 2 (pictures 2, 7, 12) weave the next picture's odd lines in (the
  // fields differ equally, so parity 1); the others are copied; the end flushes four.
  const std::vector<int> want = {0, 1, -1, 4, 5, 6, -1, 9, 10, 11, -1, 14, 15, 16, 17, 18, 19};
  ASSERT_EQ(luma_matches(fixed, clip, l), want);
  for (size_t k : {2u, 6u, 10u}) {
    const size_t first = k / 4 * 5 + 2;
    for (uint32_t y = 0; y < l.height; ++y)
      EXPECT_EQ(std::memcmp(fixed[k]->data + y * l.width, clip[first + (y & 1)]->data + y * l.width, l.width), 0)
          << "output " << k << " line " << y;
  }
  // A first picture at 0.02 s means a cut from a longer stream: the phase is
  // detected, so nothing is woven here.
  for (int id : luma_matches(inverse(clip, 0, l, false, 2, 0.02), clip, l)) EXPECT_GE(id, 0);
}

TEST(InverseTelecine, EndWhilePrimingPassesEverythingOn) {
  const picture_layout l = layout_of(1, 16, 8);
  std::vector<frame_ptr> clip;
  for (int i = 0; i < 4; ++i) clip.emplace_back(make_frame(l, i, i / 30.0, 1 / 30.0));
  const std::vector<frame_ptr> out = inverse(clip, 1, l, true);
  ASSERT_EQ(out.size(), 4u);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(std::memcmp(out[i]->data, clip[i]->data, l.bytes()), 0);
  EXPECT_TRUE(inverse(clip, 1, l, true, 0, 0.0, false).empty()) << "no output before five are queued";
}

// At the first decision the field histories hold four values, so the fifth slot of
// their sorted copies is still 0.0 and a clear minimum is not yet the smallest.
TEST(InverseTelecine, FirstDecisionSortsFourValuesAgainstAnEmptySlot) {
  ivtc_histories h;
  h.comb = {1, 1, 1, 1, 1};
  h.top = {1, 5, 5, 5};
  h.bottom = {5, 5, 1, 5};
  h.sort_copies();
  EXPECT_EQ(h.top_sorted, (std::array<float, 5>{0, 1, 5, 5, 5}));
  EXPECT_EQ(match_cadence(h, 1.0f), cadence_match::none);
  h.top.push_back(5);
  h.bottom.push_back(5);
  h.sort_copies();
  EXPECT_EQ(match_cadence(h, 1.0f), cadence_match::pattern_one);
  h.top = {5, 5, 1, 5, 5};
  h.bottom = {1, 5, 5, 5, 5};
  h.sort_copies();
  EXPECT_EQ(match_cadence(h, 1.0f), cadence_match::pattern_two);
  h.comb = {0.5f, 0.5f, 1, 1, 1};  // nothing combed at the front
  EXPECT_EQ(match_cadence(h, 1.0f), cadence_match::none);
}

}  // namespace
