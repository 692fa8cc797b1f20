#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <utility>

#include "filter/video/framerate/ivtc/cadence_lock.h"
#include "filter/video/framerate/ivtc/comb_measure.h"
#include "frame_helpers.h"

namespace {

using namespace framerate_test;

// Pictures of a texture moving by (dx, dy) per unit of time, picture k showing its
// even lines at times[k].first and its odd lines at times[k].second (a field pair
// from two instants combs). With dy 0 and a texture constant down each column, no
// line differs from the next.
std::vector<frame_ptr> field_clip(const picture_layout& l, const std::vector<std::pair<double, double>>& times,
                                  double dx, double dy) {
  std::vector<frame_ptr> pictures = clip(l, static_cast<int>(times.size()));
  const uint32_t max = l.sample_bytes == 1 ? 255 : 65535;
  for (size_t k = 0; k < times.size(); ++k)
    for (int plane = 0; plane < 3; ++plane)
      for (uint32_t y = 0, w = plane ? l.chroma_width : l.width; y < (plane ? l.chroma_height : l.height); ++y)
        for (uint32_t x = 0; x < w; ++x) {
          const double t = (y & 1) ? times[k].second : times[k].first;
          const double u = x - dx * t / (plane ? 2 : 1), v = y - dy * t;
          const double s = 0.5 + 0.3 * std::sin(0.21 * u + plane) + (dy ? 0.18 * std::cos(0.17 * v + 0.05 * u) : 0);
          const size_t i = plane_offset(l, plane) + size_t{y} * w + x;
          if (l.sample_bytes == 1) pictures[k]->data[i] = static_cast<uint8_t>(s * max + 0.5);
          else reinterpret_cast<uint16_t*>(pictures[k]->data)[i] = static_cast<uint16_t>(s * max + 0.5);
        }
  return pictures;
}

// `count` progressive pictures, one per unit of time.
std::vector<frame_ptr> moving_clip(const picture_layout& l, int count, double dx, double dy) {
  std::vector<std::pair<double, double>> times;
  for (int t = 0; t < count; ++t) times.emplace_back(t, t);
  return field_clip(l, times, dx, dy);
}

framerate_params ivtc_params(const picture_layout& l, uint32_t format, bool adaptive, uint32_t phase = 0) {
  framerate_params p = params_for(29.97, 23.976, format, l.width, l.height);
  p.field_order = 1;
  p.adaptive_ivtc = adaptive;
  p.ivtc_phase = phase;
  return p;
}

// For each output, the index of the picture in `pictures` with the same luma, or -1.
std::vector<int> luma_matches(const std::vector<frame_ptr>& out, const std::vector<frame_ptr>& pictures,
                              const picture_layout& l) {
  std::vector<int> ids;
  for (const frame_ptr& f : out) {
    ids.push_back(-1);
    for (size_t t = 0; t < pictures.size() && ids.back() < 0; ++t)
      if (std::memcmp(f->data, pictures[t]->data, l.luma_samples() * l.sample_bytes) == 0) ids.back() = int(t);
  }
  return ids;
}

// Each output's time code as frames after the first output's.
std::vector<int> code_offsets(const std::vector<frame_ptr>& out) {
  std::vector<int> offsets;
  for (const frame_ptr& f : out)
    offsets.push_back(static_cast<int>(f->timecode.frame_index() - out.front()->timecode.frame_index()));
  return offsets;
}

TEST(InverseTelecine, ProgressiveSourceIsCopiedAndThinnedToTheFilmRate) {
  const picture_layout l = layout_of(0, 64, 48);
  const std::vector<frame_ptr> pictures = moving_clip(l, 100, 3, 0);
  // Decisions start with the fifth picture and copy the front one; a copy that would
  // put the count two above trunc(steps * 23.976 / 29.97) is dropped: pictures 5, 10 ...
  // The end passes the last four on.
  std::vector<int> want;
  for (int i = 0; i < 100; ++i) {
    if (i < 5 || i >= 96 || i % 5 != 0) want.push_back(i);
  }
  const std::vector<frame_ptr> out = convert(ivtc_params(l, 0, true), pictures);
  EXPECT_EQ(luma_matches(out, pictures, l), want);
  // Every decision takes a time code, the dropped copies' included: the codes are
  // the pictures' own positions, with gaps where copies were dropped.
  EXPECT_EQ(code_offsets(out), want);
}

TEST(InverseTelecine, ARejectedWeaveKeepsItsTimeCodeSpent) {
  const picture_layout l = layout_of(0, 64, 48);
  // Picture 6 repeats picture 5's even field with its odd field a little later, and
  // picture 8 repeats picture 7's odd field: the cadence seems to put a repeat at 6,
  // but weaving 6 with 7 combs worse than either, so that weave is withdrawn and 6
  // rebuilt from one field instead; 8 is rebuilt too. Picture 5's copy is dropped to
  // stay on the film-rate track.
  const std::vector<frame_ptr> pictures = field_clip(
      l, {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {5, 5.5}, {8, 8}, {9, 8}, {10, 10}, {11, 11}, {12, 12},
          {13, 13}, {14, 14}},
      3, 2);
  const std::vector<frame_ptr> out = convert(ivtc_params(l, 0, true), pictures);
  EXPECT_EQ(luma_matches(out, pictures, l), (std::vector<int>{0, 1, 2, 3, 4, -1, 7, -1, 9, 10, 11, 12, 13}));
  // Codes 5 (the dropped copy) and 6 (the withdrawn weave) are never shown.
  EXPECT_EQ(code_offsets(out), (std::vector<int>{0, 1, 2, 3, 4, 7, 8, 9, 10, 11, 12, 13, 14}));
}

TEST(InverseTelecine, RecoversFilmFromTheProjectsOwnPulldown) {
  for (uint32_t format : {0u, 3u}) {
    SCOPED_TRACE(testing::Message() << "format " << format);
    const picture_layout l = format == 0 ? layout_of(0, 160, 120) : layout_of(3, 96, 64);
    const int count = format == 0 ? 200 : 60;
    const std::vector<frame_ptr> film = moving_clip(l, count, 3, 2);
    const std::vector<frame_ptr> video = convert(params_for(23.976, 29.97, format, l.width, l.height), film);
    ASSERT_EQ(video.size(), count / 4 * 5u);
    const std::vector<frame_ptr> out = convert(ivtc_params(l, format, true), video, {.short_after = 37});
    // Every film picture comes back exactly and in order, except at the very end: the
    // flush passes the four queued pictures on unchanged, two of them the last
    // group's B/C and C/D mixes.
    std::vector<int> want;
    for (int t = 0; t < count - 2; ++t) want.push_back(t);
    want.insert(want.end(), {-1, -1, count - 1});
    EXPECT_EQ(luma_matches(out, film, l), want);
    EXPECT_EQ(out[0]->play_time, 0.0);
  }
}

TEST(InverseTelecine, FixedPhaseWeavesAtItsPositionUnlessTheClipStartsLate) {
  const picture_layout l = layout_of(0, 64, 48);
  const std::vector<frame_ptr> pictures = moving_clip(l, 20, 3, 0);
  const std::vector<frame_ptr> fixed = convert(ivtc_params(l, 0, false, 2), pictures);
  // Cycle position 2 (pictures 2, 7, 12) takes the next picture's odd lines (both
  // fields moved alike: parity 1); the others are copied; the end flushes four.
  const std::vector<int> want = {0, 1, -1, 4, 5, 6, -1, 9, 10, 11, -1, 14, 15, 16, 17, 18, 19};
  ASSERT_EQ(luma_matches(fixed, pictures, l), want);
  for (size_t k : {2u, 6u, 10u})
    for (uint32_t y = 0, at = 0; y < l.height; ++y, at += l.width) {
      const framerate_frame& source = *pictures[k / 4 * 5 + 2 + (y & 1)];
      EXPECT_EQ(std::memcmp(fixed[k]->data + at, source.data + at, l.width), 0) << k << ":" << y;
    }
  // A first picture at 0.02 s is a cut from a longer stream: the phase is detected
  // instead, and nothing here is woven.
  const std::vector<frame_ptr> late = convert(ivtc_params(l, 0, false, 2), pictures, {.start = 0.02});
  for (int id : luma_matches(late, pictures, l)) EXPECT_GE(id, 0);
  EXPECT_FLOAT_EQ(static_cast<float>(late[0]->play_time), 0.02f);
}

TEST(InverseTelecine, EndWhilePrimingPassesEverythingOn) {
  const picture_layout l = layout_of(1, 16, 8);
  const std::vector<frame_ptr> pictures = moving_clip(l, 4, 1, 1);
  EXPECT_TRUE(convert(ivtc_params(l, 1, true), pictures, {.end = false}).empty()) << "nothing before five";
  const std::vector<frame_ptr> out = convert(ivtc_params(l, 1, true), pictures);
  ASSERT_EQ(out.size(), 4u);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(std::memcmp(out[i]->data, pictures[i]->data, l.bytes()), 0);
}

// The streaming mask against its definition: every 3x3 block around an interior
// sample whose difference exceeds 2 (512 for 16-bit), on sizes down to 1x1.
TEST(InverseTelecine, MotionMaskMatchesItsDefinition) {
  std::mt19937 rng(7);
  for (uint32_t w = 1; w <= 9; ++w)
    for (uint32_t h = 1; h <= 9; ++h) {
      std::vector<uint16_t> a(w * h), b(w * h);
      for (size_t i = 0; i < a.size(); ++i) {
        a[i] = static_cast<uint16_t>(rng() % 2000), b[i] = static_cast<uint16_t>(a[i] + (rng() % 4 ? 0 : 515));
      }
      std::vector<uint8_t> want(w * h, 0), mask(w * h, 7), rows(5 * w);
      for (uint32_t y = 1; y + 1 < h; ++y)
        for (uint32_t x = 1; x + 1 < w; ++x)
          if (b[y * w + x] - a[y * w + x] > 512)
            for (uint32_t i = 0; i < 9; ++i) want[(y + i / 3 - 1) * w + x + i % 3 - 1] = 255;
      build_motion_mask(mask.data(), a.data(), b.data(), w, h, 2, rows.data());
      EXPECT_EQ(mask, want) << w << "x" << h;
    }
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
