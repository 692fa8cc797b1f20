#include "filter/video/resize/scaler.h"

#include <algorithm>
#include <cstring>

#include "filter/video/resize/fields.h"
#include "filter/video/resize/smoothing.h"

namespace ns_video_resize {

namespace {

// Float lines start on 64-byte boundaries.
constexpr std::size_t kLineAlign = 16;

bool subsampled(const format_layout& layout, uint32_t plane) {
  return is_chroma(layout, plane) && layout.chroma_shift_x != 0;
}

// In field mode a full-height plane is scaled one field (half its rows) at a time.
bool split_into_fields(const scaler_settings& s, uint32_t plane) {
  return s.field_mode &&
         plane_dimensions(s.layout, plane, s.src_width, s.src_height).height == s.src_height;
}

}  // namespace

bool scaler_supports(const scaler_settings& s) {
  const uint32_t taps = filter_taps(s.filter);
  const uint32_t shift = s.field_mode ? 1 : 0;
  if (taps == 0 || s.dst_width < 2 || (s.dst_height >> shift) < 2) return false;
  if (s.field_mode && s.dst_height % 2 != 0) return false;
  for (uint32_t p = 0; p < plane_count(s.layout); ++p) {
    const plane_size size = plane_dimensions(s.layout, p, s.src_width, s.src_height);
    const uint32_t rows = split_into_fields(s, p) ? size.height / 2 : size.height;
    if (size.width < taps || rows < taps) return false;
  }
  return true;
}

template <class S>
separable_scaler<S>::separable_scaler(const scaler_settings& s)
    : settings_(s),
      horizontal_first_(s.dst_width >= s.src_width && s.dst_height >= s.src_height),
      pass_h_(horizontal_pass<S>(s.filter == filter_nearest)),
      pass_v_(vertical_pass<S>(s.filter == filter_nearest)) {
  const uint32_t taps = filter_taps(s.filter);
  const uint32_t shift = s.field_mode ? 1 : 0;
  h_table_ = build_axis_table(s.filter, s.cubic_a, s.src_width, s.dst_width);
  v_table_ = build_axis_table(s.filter, s.cubic_a, s.src_height >> shift, s.dst_height >> shift);

  const uint32_t mid_width = horizontal_first_ ? s.dst_width : s.src_width;
  const uint32_t mid_height = horizontal_first_ ? s.src_height : s.dst_height;
  for (uint32_t p = 0; p < plane_count(s.layout); ++p) {
    const bool small = subsampled(s.layout, p);
    const plane_size src = plane_dimensions(s.layout, p, s.src_width, s.src_height);
    const plane_size mid = plane_dimensions(s.layout, p, mid_width, mid_height);
    const plane_size dst = plane_dimensions(s.layout, p, s.dst_width, s.dst_height);
    src_planes_.push_back(plane_buffer<S>::view(src.width, src.height));
    mid_planes_.emplace_back(mid.width, mid.height);
    dst_planes_.push_back(plane_buffer<S>::view(dst.width, dst.height));
    const uint32_t fields = split_into_fields(s, p) ? 1 : 0;
    plane_h_index_.push_back(plane_index(h_table_, dst.width, small, src.width, taps));
    plane_v_index_.push_back(
        plane_index(v_table_, dst.height >> fields, small, src.height >> fields, taps));
  }

  const std::size_t transposed_samples =
      std::size_t{std::max(s.src_width, s.dst_width)} * kBandRows;
  if (s.filter != filter_nearest) {
    transposed_ = aligned_buffer<S>(2 * transposed_samples);
    context_.transposed[0] = transposed_.data();
    context_.transposed[1] = transposed_.data() + transposed_samples;
  }
  const std::size_t line_length =
      (std::max({s.src_width, s.src_height, s.dst_width, s.dst_height}) + kLineAlign - 1) /
      kLineAlign * kLineAlign;
  line_storage_ = aligned_buffer<float>(taps * line_length);
  context_.taps = taps;
  for (uint32_t t = 0; t < taps; ++t)
    context_.lines[t] = line_storage_.data() + t * line_length;
  for (uint32_t t = 0; t < taps; ++t) {
    context_.h_weights[t] = h_table_.weights[t].data();
    context_.v_weights[t] = v_table_.weights[t].data();
  }

  out_samples_ = frame_samples(s.layout, s.dst_width, s.dst_height);
  if (alignof(S) > 1) unaligned_output_ = aligned_buffer<S>(out_samples_);
  const std::size_t plane_samples = std::size_t{s.src_width} * s.src_height;
  if (s.prefilter_level != prefilter_none) smooth_scratch_ = aligned_buffer<S>(plane_samples);
  if (s.field_mode) {
    field_src_ = aligned_buffer<S>(plane_samples);
    for (uint32_t f = 0; f < 2; ++f) {
      field_src_planes_[f] = plane_buffer<S>::view(s.src_width, s.src_height / 2);
      field_mid_planes_[f] = plane_buffer<S>(mid_width, mid_height / 2);
      field_dst_planes_[f] = plane_buffer<S>(s.dst_width, s.dst_height / 2);
    }
  }
}

template <class S>
void separable_scaler<S>::use_plane(uint32_t plane) {
  context_.h_index = plane_h_index_[plane].data();
  context_.v_index = plane_v_index_[plane].data();
}

template <class S>
void separable_scaler<S>::scale_plane(const plane_buffer<S>& src, const plane_buffer<S>& mid,
                                      const plane_buffer<S>& dst) {
  if (horizontal_first_) {
    pass_h_(context_, mid, src);
    pass_v_(context_, dst, mid);
  } else {
    pass_v_(context_, mid, src);
    pass_h_(context_, dst, mid);
  }
}

template <class S>
S* separable_scaler<S>::output_target(uint8_t* out) const {
  if (reinterpret_cast<uintptr_t>(out) % alignof(S) == 0) return reinterpret_cast<S*>(out);
  return unaligned_output_.data();
}

template <class S>
void separable_scaler<S>::finish_output(const S* target, uint8_t* out) const {
  if (target != reinterpret_cast<const S*>(out)) std::memcpy(out, target, out_samples_ * sizeof(S));
}

template <class S>
void separable_scaler<S>::scale_frame(S* placed, uint8_t* out) {
  smooth_frame(placed, settings_.layout, settings_.src_width, settings_.src_height,
               settings_.prefilter_level, smooth_scratch_.data());
  S* const target = output_target(out);
  S* plane = placed;
  S* out_plane = target;
  for (uint32_t p = 0; p < src_planes_.size(); ++p) {
    src_planes_[p].point_at(plane);
    dst_planes_[p].point_at(out_plane);
    use_plane(p);
    scale_plane(src_planes_[p], mid_planes_[p], dst_planes_[p]);
    plane += std::size_t{src_planes_[p].width()} * src_planes_[p].height();
    out_plane += std::size_t{dst_planes_[p].width()} * dst_planes_[p].height();
  }
  finish_output(target, out);
}

template <class S>
void separable_scaler<S>::scale_fields(S* placed, uint8_t* out) {
  const uint32_t mask = settings_.prefilter_level == prefilter_strong ? smooth_5x5 : smooth_3x3;
  S* const target = output_target(out);
  S* plane = placed;
  S* out_plane = target;
  for (uint32_t p = 0; p < src_planes_.size(); ++p) {
    const plane_buffer<S>& src = src_planes_[p];
    const plane_buffer<S>& dst = dst_planes_[p];
    src_planes_[p].point_at(plane);
    dst_planes_[p].point_at(out_plane);
    use_plane(p);
    if (!split_into_fields(settings_, p)) {
      // 4:2:0 chroma: half as many rows as the frame, scaled whole by the field tables.
      scale_plane(src, mid_planes_[p], dst);
    } else {
      const uint32_t field_rows = src.height() / 2;
      const std::size_t field_samples = std::size_t{src.width()} * field_rows;
      for (uint32_t f = 0; f < 2; ++f) {
        S* field = field_src_.data() + f * field_samples;
        split_field(src.samples(), std::size_t{src.width()} * sizeof(S), field_rows, f, field);
        if (settings_.prefilter_level != prefilter_none) {
          smooth_plane(field, src.width(), field_rows, mask, smooth_scratch_.data());
        }
        field_src_planes_[f].point_at(field, src.width(), field_rows);
        field_mid_planes_[f].reshape(mid_planes_[p].width(), mid_planes_[p].height() / 2);
        field_dst_planes_[f].reshape(dst.width(), dst.height() / 2);
        scale_plane(field_src_planes_[f], field_mid_planes_[f], field_dst_planes_[f]);
        weave_field(field_dst_planes_[f].samples(), std::size_t{dst.width()} * sizeof(S),
                    dst.height() / 2, f, out_plane);
      }
    }
    plane += std::size_t{src.width()} * src.height();
    out_plane += std::size_t{dst.width()} * dst.height();
  }
  finish_output(target, out);
}

template class separable_scaler<uint8_t>;
template class separable_scaler<uint16_t>;

}  // namespace ns_video_resize
