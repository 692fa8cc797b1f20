#include "filter/video/framerate/framerate_impl.h"

#include "filter/video/framerate/cadence.h"
#include "filter/video/framerate/field_mix.h"

namespace ns_video_framerate {

template <class T>
int framerate_impl<T>::configure(framerate_params& p) {
  // Once pictures have gone through, a new clock or method would tear the stream.
  if (push_count_ != 0) return 1;
  const auto plan = plan_rates(p);
  if (!plan) return 1;
  adopt(*plan);
  switch (plan->method) {
    case method_kind::time_grid: method_ = &framerate_impl::run_time_grid; break;
    case method_kind::decimation: method_ = &framerate_impl::run_decimation; break;
    case method_kind::pal_to_film: method_ = &framerate_impl::run_pal_to_film; break;
    case method_kind::film_to_pal: method_ = &framerate_impl::run_film_to_pal; break;
    case method_kind::telecine: method_ = &framerate_impl::run_telecine; break;
    case method_kind::inverse_telecine:
      method_ = &framerate_impl::run_inverse_telecine;
      motion_mask_.assign(layout_.luma_samples(), 0);
      mask_rows_.assign(5 * size_t{layout_.width}, 0);
      break;
  }
  const bool keep_timecode = p.keep_timecode;
  const uint32_t time_mode = p.time_mode;
  p = plan->params;
  p.keep_timecode = keep_timecode;
  p.time_mode = time_mode;
  return 0;
}

template <class T>
int framerate_impl<T>::push_frame(framerate_frame* f) {
  if (!accept(f)) return 0;
  (this->*method_)();
  if (f) finish_step();
  return 0;
}

template <class T>
framerate_frame* framerate_impl<T>::mix_output(const framerate_frame& a, const framerate_frame& b) {
  framerate_frame* f = stamp_built(a, static_cast<uint32_t>(layout_.bytes()));
  field_mix(reinterpret_cast<T*>(f->data), reinterpret_cast<const T*>(a.data), reinterpret_cast<const T*>(b.data),
            layout_);
  return f;
}

template <class T>
void framerate_impl<T>::run_film_to_pal() {
  seed_cadence(ulbase::timecode::mode_25);
  if (at_end_) {
    if (!in_queue_.empty()) emit_front();
    return;
  }
  if (in_queue_.size() < 2) return;
  if (film_to_pal_mix_due(out_count_)) {
    framerate_frame* a = take_front();
    record_ptr b(take_front());
    emit(restamp(a));
    emit(mix_output(*a, *b));  // a's picture is still whole: the caller pops after this call
    emit(restamp(b.release()));
    return;
  }
  emit_front();
}

template <class T>
void framerate_impl<T>::emit_telecine_group(bool plain) {
  framerate_frame* a = take_front();
  framerate_frame* b = take_front();
  record_ptr c(take_front()), d(take_front());
  emit(restamp(a));
  emit(restamp(b));
  if (plain) {
    emit(restamp(c.release()));
  } else {
    emit(mix_output(*b, *c));
    emit(mix_output(*c, *d));
  }
  emit(restamp(d.release()));
  telecine_count_ += telecine_group_step;
}

template <class T>
void framerate_impl<T>::run_telecine() {
  const bool drift = telecine_drift_due(telecine_count_, src_ntsc_, dst_ntsc_);
  if (at_end_) {
    // A short last group keeps its pictures and the one mix that they complete.
    const size_t n = in_queue_.size();
    if (n == 4) {
      emit_telecine_group(drift);
    } else if (n >= 1 && n <= 3) {
      framerate_frame* last = emit_front();
      if (n >= 2) last = emit_front();
      if (n == 3) {
        emit(mix_output(*last, *in_queue_.front()));
        release(take_front());
      }
    }
    return;
  }
  seed_cadence(ulbase::timecode::mode_29_97_df);
  if (in_queue_.size() >= 4 && drift) {
    emit_telecine_group(true);
    return;
  }
  // One picture of look-ahead stays queued: the group needs to know the stream goes on.
  if (in_queue_.size() < 5) return;
  emit_telecine_group(false);
}

template class framerate_impl<uint8_t>;
template class framerate_impl<uint16_t>;

}  // namespace ns_video_framerate
