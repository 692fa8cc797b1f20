#include "filter/video/framerate/ivtc/cadence_lock.h"

#include <algorithm>
#include <cmath>

namespace ns_video_framerate {

namespace {

void sort_copy(std::array<float, 5>& sorted, const std::deque<float>& values) {
  std::copy_n(values.begin(), std::min(values.size(), sorted.size()), sorted.begin());
  std::sort(sorted.begin(), sorted.end());
}

float pattern_one_level(const ivtc_histories& h) { return std::max(h.top[0], h.bottom[2]); }
float pattern_two_level(const ivtc_histories& h) { return std::max(h.top[2], h.bottom[0]); }

}  // namespace

void ivtc_histories::sort_copies() {
  sort_copy(top_sorted, top);
  sort_copy(bottom_sorted, bottom);
  sort_copy(comb_sorted, comb);
}

void ivtc_histories::pop_all_fronts() {
  top.pop_front();
  bottom.pop_front();
  comb.pop_front();
}

void cadence_lock::note_match(bool pattern_one, const ivtc_histories& h) {
  if (repeat_pos != cycle_pos) {
    lock_count = 0;
    repeat_level = 100.0f;
    return;
  }
  lock_count = lock_count + 1 > 8 ? 4 : lock_count + 1;
  const double v = pattern_one ? pattern_one_level(h) : pattern_two_level(h);
  repeat_level = repeat_level == 100.0f ? static_cast<float>(v) : static_cast<float>(0.95 * repeat_level + 0.05 * v);
}

void cadence_lock::note_rejected_weave() {
  if (cycle_pos != repeat_pos) return;
  repeat_level = 100.0f;
  lock_count = std::max(lock_count - 2, 0);
}

void cadence_lock::note_repair() {
  lock_count = std::max(lock_count - 2, 0);
  repeat_level = 100.0f;
}

cadence_match match_cadence(const ivtc_histories& h, float m) {
  const auto& c = h.top;
  const auto& d = h.bottom;
  const auto& e = h.comb;
  if (!(e[0] > 0.95 * m || e[1] > 0.95 * m)) return cadence_match::none;
  if (c[0] <= h.top_sorted[0] && d[2] <= h.bottom_sorted[0]) return cadence_match::pattern_one;
  if (c[2] <= h.top_sorted[0] && d[0] <= h.bottom_sorted[0]) return cadence_match::pattern_two;
  return cadence_match::none;
}

int weave_parity(const ivtc_histories& h) { return h.bottom[0] > h.top[0] ? 2 : 1; }

int repair_parity(const ivtc_histories& h) { return h.top[0] > h.bottom[0] ? 2 : 1; }

bool needs_repair(const ivtc_histories& h, float m) {
  const float e0 = h.comb[0];
  const auto& es = h.comb_sorted;
  const bool isolated = e0 > m && (es[4] - es[0]) / es[4] > 0.6f && e0 > 0.3f &&
                        (h.bottom[0] < h.bottom_sorted[1] || h.top[0] < h.top_sorted[1]);
  return isolated || e0 > 2.5f;
}

bool predicts_weave(const cadence_lock& lock, const ivtc_histories& h) {
  return lock.cycle_pos == lock.repeat_pos &&
         2.0 * lock.repeat_level > std::min(pattern_one_level(h), pattern_two_level(h)) && lock.lock_count >= 5;
}

int32_t drift(uint32_t seen, uint32_t out_count, double rate) {
  const auto expected = static_cast<uint32_t>(std::trunc(seen / (29.97 / rate)));
  return static_cast<int32_t>(out_count - expected);
}

}  // namespace ns_video_framerate
