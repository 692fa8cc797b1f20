#pragma once
// The resizer's own separable scaler: each plane of a placed frame goes through a
// horizontal and a vertical pass (horizontal first when neither direction shrinks),
// progressively or field by field, after the smoothing its prefilter level asks
// for. Tables, planes and lines are built once by the constructor; scaling a frame
// allocates nothing.

#include <cstdint>
#include <vector>

#include "filter/video/resize/aligned_buffer.h"
#include "filter/video/resize/coefficients.h"
#include "filter/video/resize/passes.h"
#include "filter/video/resize/plane_buffer.h"
#include "filter/video/resize/resize_format.h"

namespace ns_video_resize {

struct scaler_settings {
  format_layout layout;
  uint32_t src_width, src_height;  // the placed frame
  uint32_t dst_width, dst_height;
  uint32_t filter;  // filter_bilinear .. filter_nearest
  float cubic_a;
  bool field_mode;
  uint32_t prefilter_level;
};

// Whether the scaler can take these settings: a destination of at least 2 samples
// (2 rows per field, and an even height, in field mode) and every source plane at
// least `taps` samples in each direction it is scaled in.
bool scaler_supports(const scaler_settings& settings);

template <class S>
class separable_scaler {
public:
  explicit separable_scaler(const scaler_settings& settings);

  // Scales the placed frame into `out`, planes packed. With a prefilter level the
  // placed frame is smoothed in place first; otherwise it is only read.
  void scale_frame(S* placed, uint8_t* out);
  // The same, each field of each full-height plane on its own.
  void scale_fields(S* placed, uint8_t* out);

private:
  void use_plane(uint32_t plane);
  // Where the destination planes are written: `out` itself when it is aligned for S.
  S* output_target(uint8_t* out) const;
  void finish_output(const S* target, uint8_t* out) const;
  void scale_plane(const plane_buffer<S>& src, const plane_buffer<S>& mid,
                   const plane_buffer<S>& dst);

  scaler_settings settings_;
  bool horizontal_first_;
  pass_fn<S> pass_h_;
  pass_fn<S> pass_v_;
  axis_table h_table_;
  axis_table v_table_;
  std::vector<std::vector<uint32_t>> plane_h_index_;
  std::vector<std::vector<uint32_t>> plane_v_index_;
  std::vector<plane_buffer<S>> src_planes_;
  std::vector<plane_buffer<S>> mid_planes_;
  std::vector<plane_buffer<S>> dst_planes_;  // views of the output frame
  aligned_buffer<S> unaligned_output_;       // stands in for an output not aligned for S
  std::size_t out_samples_;
  aligned_buffer<float> line_storage_;
  pass_context<S> context_;
  aligned_buffer<S> transposed_;
  aligned_buffer<S> smooth_scratch_;
  // Field mode: both fields of one plane, and the per-field planes.
  aligned_buffer<S> field_src_;
  plane_buffer<S> field_src_planes_[2];
  plane_buffer<S> field_mid_planes_[2];
  plane_buffer<S> field_dst_planes_[2];
};

extern template class separable_scaler<uint8_t>;
extern template class separable_scaler<uint16_t>;

}  // namespace ns_video_resize
