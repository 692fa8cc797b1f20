#pragma once
// The converter for one sample type (uint8_t for formats 0-2, uint16_t for 3-4):
// configure/push_frame over framerate_core, plus the methods that build pictures.

#include <cstdint>
#include <vector>

#include "filter/video/framerate/framerate_core.h"
#include "filter/video/framerate/ivtc/cadence_lock.h"

namespace ns_video_framerate {

template <class T>
class framerate_impl final : public framerate_core {
public:
  int configure(framerate_params& p) override;
  int push_frame(framerate_frame* f) override;

private:
  using method_fn = void (framerate_impl::*)();

  void run_film_to_pal();
  void run_telecine();
  void run_inverse_telecine();

  // Output record holding field_mix(a, b), stamped as the next output.
  framerate_frame* mix_output(const framerate_frame& a, const framerate_frame& b);
  // Emits A, B, B/C, C/D, D from the four front pictures and releases them; with
  // `plain` set, just the four copies (the drift rule).
  void emit_telecine_group(bool plain);

  // Inverse telecine (ivtc/ivtc_method.cpp).
  void ivtc_prime();
  // Motion mask of prev -> next, then next's comb level and the two field differences.
  void ivtc_measure(const framerate_frame& prev, const framerate_frame& next);
  float ivtc_comb(const framerate_frame& f) const;
  framerate_frame* ivtc_weave(const framerate_frame& a, const framerate_frame& b, int parity);
  framerate_frame* ivtc_interpolate(const framerate_frame& f, int parity);
  void ivtc_fixed_step();
  void ivtc_adaptive_step();
  void ivtc_accept_weave();
  void ivtc_emit_on_track(framerate_frame* o);
  // Consumes the front picture (unless the output took it over) and moves the
  // histories and the cycle on.
  void ivtc_tail(bool front_taken = false);

  method_fn method_ = &framerate_impl::run_time_grid;
  std::vector<uint8_t> motion_mask_;  // width x height, 255 where the newest pictures differ
  std::vector<uint8_t> mask_rows_;    // scratch rows for building the mask
  ivtc_histories histories_;
  cadence_lock lock_;
};

extern template class framerate_impl<uint8_t>;
extern template class framerate_impl<uint16_t>;

}  // namespace ns_video_framerate
