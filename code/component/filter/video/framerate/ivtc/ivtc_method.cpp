// The inverse-telecine method of framerate_impl: priming, the fixed and adaptive
// decisions, and keeping the output on the 4-in-5 track.

#include "filter/video/framerate/framerate_impl.h"
#include "filter/video/framerate/ivtc/comb_measure.h"
#include "filter/video/framerate/ivtc/field_builders.h"

namespace ns_video_framerate {

namespace {

template <class T>
const T* samples(const framerate_frame& f) {
  return reinterpret_cast<const T*>(f.data);
}

// The motion mask marks differences above 2 (8-bit scale).
constexpr uint32_t motion_threshold = 2;

}  // namespace

template <class T>
float framerate_impl<T>::ivtc_comb(const framerate_frame& f) const {
  return comb_level(samples<T>(f), motion_mask_.data(), layout_.width, layout_.height);
}

template <class T>
void framerate_impl<T>::ivtc_measure(const framerate_frame& prev, const framerate_frame& next) {
  build_motion_mask(motion_mask_.data(), samples<T>(prev), samples<T>(next), layout_.width, layout_.height,
                    motion_threshold, mask_rows_.data());
  histories_.comb.push_back(ivtc_comb(next));
  const field_differences d = field_difference(samples<T>(prev), samples<T>(next), layout_.width, layout_.height);
  histories_.top.push_back(d.top);
  histories_.bottom.push_back(d.bottom);
}

template <class T>
framerate_frame* framerate_impl<T>::ivtc_weave(const framerate_frame& a, const framerate_frame& b, int parity) {
  framerate_frame* w = stamp_rebuilt(a);
  weave_fields(reinterpret_cast<T*>(w->data), samples<T>(a), samples<T>(b), layout_, parity);
  return w;
}

template <class T>
framerate_frame* framerate_impl<T>::ivtc_interpolate(const framerate_frame& f, int parity) {
  framerate_frame* w = stamp_rebuilt(f);
  interpolate_field(reinterpret_cast<T*>(w->data), samples<T>(f), layout_, parity);
  return w;
}

template <class T>
void framerate_impl<T>::ivtc_prime() {
  if (lock_.stage == 0) {
    const framerate_frame& first = *in_queue_.front();
    running_timecode_ = seed_timecode(first, ulbase::timecode::mode_24, 1);
    first_time_ = static_cast<float>(first.play_time);
    histories_.comb.push_back(ivtc_comb(first));
    // A clip that starts late is cut from a longer stream: its phase is unknown.
    if (first.play_time > 0.01) params_.adaptive_ivtc = true;
    lock_.stage = 1;
    return;
  }
  if (in_queue_.size() < 4) return;
  for (size_t k = 1; k < 4; ++k) ivtc_measure(*in_queue_[k - 1], *in_queue_[k]);
  lock_.stage = 2;
}

template <class T>
void framerate_impl<T>::run_inverse_telecine() {
  if (at_end_) {
    while (!in_queue_.empty()) emit_front();
    return;
  }
  if (lock_.stage < 2) {
    ivtc_prime();
    return;
  }
  ++lock_.seen;
  const size_t n = in_queue_.size();
  ivtc_measure(*in_queue_[n - 2], *in_queue_[n - 1]);
  if (n < 5) return;
  if (params_.adaptive_ivtc) ivtc_adaptive_step();
  else ivtc_fixed_step();
}

template <class T>
void framerate_impl<T>::ivtc_fixed_step() {
  if (lock_.cycle_pos == params_.ivtc_phase) {
    framerate_frame* w = ivtc_weave(*in_queue_[0], *in_queue_[1], weave_parity(histories_));
    release(take_front());
    histories_.pop_all_fronts();
    lock_.advance();
    emit(w);
    ivtc_tail();
  } else {
    emit_front();
    ivtc_tail(true);
  }
}

template <class T>
void framerate_impl<T>::ivtc_adaptive_step() {
  ivtc_histories& h = histories_;
  const float m = median(h.comb);
  h.sort_copies();
  const cadence_match match = match_cadence(h, m);
  if (match != cadence_match::none) {
    lock_.note_match(match == cadence_match::pattern_one, h);
    framerate_frame* w = ivtc_weave(*in_queue_[0], *in_queue_[1], weave_parity(h));
    const float c = ivtc_comb(*w);
    if (h.comb[0] > 0.75 * c || h.comb[1] > 0.75 * c || lock_.lock_count > 4) {
      ivtc_accept_weave();
      ivtc_emit_on_track(w);
      ivtc_tail();
      return;
    }
    withdraw(w);
    lock_.note_rejected_weave();
  }
  framerate_frame* out;
  bool front_taken = false;
  if (needs_repair(h, m)) {
    out = ivtc_interpolate(*in_queue_.front(), repair_parity(h));
    lock_.note_repair();
  } else if (predicts_weave(lock_, h)) {
    out = ivtc_weave(*in_queue_[0], *in_queue_[1], weave_parity(h));
    ivtc_accept_weave();
  } else {
    out = restamp(take_front());
    front_taken = true;
  }
  ivtc_emit_on_track(out);
  ivtc_tail(front_taken);
}

template <class T>
void framerate_impl<T>::ivtc_accept_weave() {
  // The woven picture stands for the front picture and the next; the common tail
  // consumes the next.
  release(take_front());
  histories_.pop_all_fronts();
  lock_.repeat_pos = lock_.cycle_pos;
  lock_.advance();
}

template <class T>
void framerate_impl<T>::ivtc_emit_on_track(framerate_frame* o) {
  const int32_t d = drift(lock_.seen, out_count_, output_rate_);
  if (lock_.seen > 100 && d < -1) {
    // Behind the track: show o twice, in stamp order.
    emit(o);
    emit(stamp_output(*o));
  } else if (d > 1) {
    withdraw(o);
  } else {
    emit(o);
  }
}

template <class T>
void framerate_impl<T>::ivtc_tail(bool front_taken) {
  if (!front_taken) release(take_front());
  histories_.comb.pop_front();
  // The first decision's field differences compare F(k) with F(k+1): keeping their
  // fronts once puts them in line with the comb levels.
  if (!lock_.first_decision) {
    histories_.top.pop_front();
    histories_.bottom.pop_front();
  }
  lock_.first_decision = false;
  lock_.advance();
}

#define INSTANTIATE_IVTC(T)                                                                             \
  template float framerate_impl<T>::ivtc_comb(const framerate_frame&) const;                            \
  template void framerate_impl<T>::ivtc_measure(const framerate_frame&, const framerate_frame&);        \
  template framerate_frame* framerate_impl<T>::ivtc_weave(const framerate_frame&, const framerate_frame&, int); \
  template framerate_frame* framerate_impl<T>::ivtc_interpolate(const framerate_frame&, int);          \
  template void framerate_impl<T>::ivtc_prime();                                                        \
  template void framerate_impl<T>::run_inverse_telecine();                                              \
  template void framerate_impl<T>::ivtc_fixed_step();                                                   \
  template void framerate_impl<T>::ivtc_adaptive_step();                                                \
  template void framerate_impl<T>::ivtc_accept_weave();                                                 \
  template void framerate_impl<T>::ivtc_emit_on_track(framerate_frame*);                               \
  template void framerate_impl<T>::ivtc_tail(bool);

INSTANTIATE_IVTC(uint8_t)
INSTANTIATE_IVTC(uint16_t)

}  // namespace ns_video_framerate
