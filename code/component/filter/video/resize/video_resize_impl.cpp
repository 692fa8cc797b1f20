#include "filter/video/resize/video_resize_impl.h"

#include <cstring>

#include "filter/video/resize/smoothing.h"
#include "pixel_kernels/pixel_kernels.h"

namespace ns_video_resize {

namespace {

enum : uint32_t { scan_scale = 0, scan_fields = 2 };

struct display_aspect {
  float num;
  float den;
};

// Aspect modes 2..5 are the common display shapes; any other non-zero mode takes the
// given ratio.
display_aspect aspect_for(uint32_t mode, float num, float den) {
  switch (mode) {
    case 0: return {0.0f, 0.0f};
    case 2: return {4.0f, 3.0f};
    case 3: return {16.0f, 9.0f};
    case 4: return {2.21f, 1.0f};
    case 5: return {5.0f, 4.0f};
    default: return {num, den};
  }
}

// Centres the kept part of one direction in `dst`: borders when it is shorter,
// further crops when it is longer.
void centre(uint32_t size, uint32_t dst, uint32_t& crop_a, uint32_t& crop_b, uint32_t& pad_a,
            uint32_t& pad_b) {
  const uint32_t kept = size - crop_a - crop_b;
  if (dst > kept) {
    pad_a = pad_b = (dst - kept) / 2;
  } else if (dst < kept) {
    crop_a += (kept - dst) / 2;
    crop_b += (kept - dst) / 2;
  }
}

constexpr uint64_t kMaxFrameBytes = UINT32_MAX;

}  // namespace

template <class S>
video_resize_impl<S>::video_resize_impl() {
  ns_pixel_kernels::init_dispatch();
}

template <class S>
int32_t video_resize_impl<S>::configure(uint32_t dst_width, uint32_t dst_height, uint32_t src_width,
                                        uint32_t src_height, uint32_t resize_format,
                                        uint32_t crop_left, uint32_t crop_right, uint32_t crop_top,
                                        uint32_t crop_bottom, uint32_t aspect_mode,
                                        float aspect_num, float aspect_den, uint32_t scan_mode,
                                        uint32_t fit_mode, float cubic_a, uint32_t filter,
                                        uint32_t prefilter, uint32_t /*reserved*/,
                                        uint32_t fill_luma) {
  // A repeated configuration starts from nothing.
  configured_ = false;
  scaler_.reset();
  converter_.reset();
  work_ = aligned_buffer<S>();
  placement_ = frame_placement();
  filter_ = 0;
  cubic_a_ = -0.5f;
  prefilter_level_ = prefilter_none;

  dst_width_ = dst_width;
  dst_height_ = dst_height;
  field_mode_ = scan_mode == scan_fields;
  scan_mode_ = field_mode_ ? scan_scale : scan_mode;
  src_width_ = src_width;
  src_height_ = src_height;
  if (src_width % 2 != 0 || src_height % 2 != 0) return -1;
  const auto layout = describe_format(resize_format);
  if (!layout) return -1;

  const display_aspect aspect = aspect_for(aspect_mode, aspect_num, aspect_den);
  edges crops{crop_left, crop_right, crop_top, crop_bottom};
  edges pads;
  const bool crops_fit =
      uint64_t{crop_left} + crop_right < src_width && uint64_t{crop_top} + crop_bottom < src_height;
  int32_t accepted;
  if (scan_mode_ != scan_scale) {
    accepted =
        placement_.set_format(resize_format, false, src_width, src_height, 0.0f, 0.0f, fill_luma);
    if (crops_fit) {
      centre(src_width, dst_width, crops.left, crops.right, pads.left, pads.right);
      centre(src_height, dst_height, crops.top, crops.bottom, pads.top, pads.bottom);
    }
  } else {
    accepted = placement_.set_format(resize_format, aspect_mode != 0, src_width, src_height,
                                     aspect.num, aspect.den, fill_luma);
  }
  if (accepted == 1 && crops_fit) placement_.set_framing(crops, pads);
  uint32_t placed_width = 0, placed_height = 0;
  if (placement_.compute_geometry(dst_width, dst_height, fit_mode, &placed_width, &placed_height) !=
      1) {
    return -1;
  }
  src_width_ = placed_width;
  src_height_ = placed_height;
  if (scan_mode_ != scan_scale) {
    dst_width_ = placed_width;
    dst_height_ = placed_height;
  }

  clip_frame_bytes_ = frame_samples(*layout, src_width, src_height) * sizeof(S);
  in_samples_ = frame_samples(*layout, src_width_, src_height_);
  out_samples_ = frame_samples(*layout, dst_width_, dst_height_);
  if (clip_frame_bytes_ > kMaxFrameBytes || in_samples_ * sizeof(S) > kMaxFrameBytes ||
      out_samples_ * sizeof(S) > kMaxFrameBytes) {
    return -1;
  }

  if (scan_mode_ == scan_scale) {
    cubic_a_ = cubic_a;
    filter_ = filter;
    const int32_t result = set_up_scaling(*layout, prefilter);
    if (result != 1) return result;
  }
  work_ = aligned_buffer<S>(in_samples_);
  configured_ = true;
  return 1;
}

template <class S>
int32_t video_resize_impl<S>::set_up_scaling(const format_layout& layout, uint32_t prefilter) {
  prefilter_level_ =
      prefilter_level_for(prefilter, src_width_, src_height_, dst_width_, dst_height_);
  // The default filter is the converter's where the layout has one, bilinear otherwise.
  if (filter_ == 0 || filter_ == filter_bspline) {
    filter_ = filter_bspline;
    if (layout.converter_fourcc != 0) {
      converter_ = std::make_unique<converter_scaler<S>>(
          layout, src_width_, src_height_, dst_width_, dst_height_, field_mode_, prefilter_level_);
      return converter_->set_up() ? 1 : -1;
    }
    filter_ = filter_bilinear;
  }
  if (filter_taps(filter_) == 0) return 0;
  const scaler_settings settings{layout,  src_width_, src_height_, dst_width_,      dst_height_,
                                 filter_, cubic_a_,   field_mode_, prefilter_level_};
  if (!scaler_supports(settings)) return -1;
  scaler_ = std::make_unique<separable_scaler<S>>(settings);
  return 1;
}

template <class S>
uint32_t video_resize_impl<S>::frame_bytes() {
  return configured_ ? static_cast<uint32_t>(out_samples_ * sizeof(S)) : 0;
}

template <class S>
int32_t video_resize_impl<S>::process(uint32_t in_bytes, const uint8_t* in_data,
                                      uint32_t* out_bytes, uint8_t* out_data) {
  if (!configured_) return 0;
  const bool scales =
      scan_mode_ == scan_scale && (src_width_ != dst_width_ || src_height_ != dst_height_);
  if (in_data == nullptr) {
    // Progressive scaling reports the frame size before it looks at the picture;
    // the field and placement-only flows look first.
    if (scales && !field_mode_ && out_bytes != nullptr) *out_bytes = frame_bytes();
    return 1;
  }
  if (out_bytes == nullptr || out_data == nullptr || in_bytes < clip_frame_bytes_) return 0;

  *out_bytes = frame_bytes();
  if (placement_.identity() && !scales) {
    std::memcpy(out_data, in_data, *out_bytes);
    return 1;
  }
  // A frame that placement would only copy and nothing smooths is scaled straight
  // from the caller's buffer; the flows then only read it.
  S* placed = work_.data();
  if (placement_.identity() && prefilter_level_ == prefilter_none &&
      reinterpret_cast<uintptr_t>(in_data) % alignof(S) == 0) {
    placed = const_cast<S*>(reinterpret_cast<const S*>(in_data));
  } else {
    placement_.place_frame(in_data, in_bytes, work_.data());
  }
  if (!scales) {
    std::memcpy(out_data, placed, *out_bytes);
    return 1;
  }
  if (converter_) {
    return field_mode_ ? converter_->scale_fields(placed, out_data)
                       : converter_->scale_frame(placed, out_data);
  }
  if (field_mode_) {
    scaler_->scale_fields(placed, out_data);
  } else {
    scaler_->scale_frame(placed, out_data);
  }
  return 1;
}

template class video_resize_impl<uint8_t>;
template class video_resize_impl<uint16_t>;

}  // namespace ns_video_resize
