#include "filter/video/resize/placement.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ns_video_resize {

namespace {

// Moves one unit from the first of a pair of odd edges to the second, keeping the
// sum, so that both start on a chroma sample.
void even_pair(uint32_t& first, uint32_t& second) {
  if ((first & 1) != 0 && (second & 1) != 0) {
    ++first;
    --second;
  }
}

// The share of `excess` (already truncated toward zero) that goes to each side.
uint32_t half_of(double excess) {
  return static_cast<uint32_t>(std::clamp(excess, 0.0, 4294967295.0)) / 2;
}

template <class S>
void fill_samples(S* out, std::size_t count, S value) {
  std::fill(out, out + count, value);
}

}  // namespace

int32_t frame_placement::set_format(uint32_t format, bool aspect_enabled, uint32_t width,
                                    uint32_t height, float aspect_num, float aspect_den,
                                    uint32_t fill) {
  src_width_ = width;
  src_height_ = height;
  aspect_num_ = aspect_enabled ? aspect_num : 0.0f;
  aspect_den_ = aspect_enabled ? aspect_den : 0.0f;
  fill_ = fill;
  computed_ = false;
  identity_ = false;

  const auto layout = describe_format(format);
  bool accepted = layout.has_value();
  switch (format) {
    case 1:
    case 2: accepted = width % 2 == 0 && height % 2 == 0; break;
    case 5:
    case 9: accepted = width % 2 == 0; break;
    default: break;
  }
  format_valid_ = accepted;
  if (accepted) layout_ = *layout;
  return accepted ? 1 : -1;
}

void frame_placement::set_framing(const edges& crops, const edges& pads) {
  requested_crops_ = crops;
  requested_pads_ = pads;
  framed_ = true;
  computed_ = false;
  identity_ = false;
}

int32_t frame_placement::compute_geometry(uint32_t dst_width, uint32_t dst_height,
                                          uint32_t fit_mode, uint32_t* placed_width,
                                          uint32_t* placed_height) {
  computed_ = false;
  identity_ = false;
  if (!format_valid_ || !framed_ || fit_mode > fit_pad || dst_width == 0 || dst_height == 0) {
    return -1;
  }

  if (aspect_num_ != 0.0f && aspect_den_ != 0.0f) {
    // The source's display aspect relative to its storage aspect, in single
    // precision, then applied to the destination's storage aspect.
    const float q = static_cast<float>(src_width_) / static_cast<float>(src_height_);
    const float r = (aspect_num_ / aspect_den_) / q;
    target_aspect_ = (static_cast<double>(dst_width) / static_cast<double>(dst_height)) / r;
  } else {
    target_aspect_ = static_cast<double>(dst_width) / static_cast<double>(dst_height);
  }

  crops_ = requested_crops_;
  pads_ = requested_pads_;
  const auto placed = [](uint32_t size, uint32_t crop_a, uint32_t crop_b, uint32_t pad_a,
                         uint32_t pad_b) {
    return int64_t{size} - crop_a - crop_b + pad_a + pad_b;
  };

  if (fit_mode != fit_stretch) {
    const double a =
        static_cast<double>(placed(src_width_, crops_.left, crops_.right, pads_.left, pads_.right));
    const double b = static_cast<double>(
        placed(src_height_, crops_.top, crops_.bottom, pads_.top, pads_.bottom));
    const double s = a / b;
    if (fit_mode == fit_crop) {
      if (s > target_aspect_) {
        const uint32_t e = half_of(std::trunc(a - target_aspect_ * b + 0.5));
        crops_.left += e;
        crops_.right += e;
      } else if (target_aspect_ > s) {
        const uint32_t e = half_of(std::trunc(b - a / target_aspect_ + 0.5));
        crops_.top += e;
        crops_.bottom += e;
      }
    } else {
      if (target_aspect_ > s) {
        const uint32_t e = half_of(std::trunc(target_aspect_ * b - a));
        pads_.left += e;
        pads_.right += e;
      } else if (s > target_aspect_) {
        const uint32_t e = half_of(std::trunc(a / target_aspect_ - b));
        pads_.top += e;
        pads_.bottom += e;
      }
    }
  }

  if (uint64_t{crops_.left} + crops_.right >= src_width_ ||
      uint64_t{crops_.top} + crops_.bottom >= src_height_) {
    return -1;
  }
  int64_t width = placed(src_width_, crops_.left, crops_.right, pads_.left, pads_.right);
  int64_t height = placed(src_height_, crops_.top, crops_.bottom, pads_.top, pads_.bottom);

  // Even sizes: padding grows a border, the other modes drop the first column or row.
  if (width % 2 != 0) {
    if (fit_mode == fit_pad) {
      ++width;
      ++pads_.left;
    } else {
      --width;
      ++crops_.left;
    }
  }
  if (height % 2 != 0) {
    if (fit_mode == fit_pad) {
      ++height;
      ++pads_.top;
    } else {
      --height;
      ++crops_.top;
    }
  }
  even_pair(crops_.top, crops_.bottom);
  even_pair(crops_.left, crops_.right);
  even_pair(pads_.top, pads_.bottom);
  even_pair(pads_.left, pads_.right);

  if (width <= 0 || height <= 0 || width > UINT32_MAX || height > UINT32_MAX) return -1;
  placed_width_ = static_cast<uint32_t>(width);
  placed_height_ = static_cast<uint32_t>(height);
  identity_ = crops_.left == 0 && crops_.right == 0 && crops_.top == 0 && crops_.bottom == 0 &&
              pads_.left == 0 && pads_.right == 0 && pads_.top == 0 && pads_.bottom == 0;
  computed_ = true;
  *placed_width = placed_width_;
  *placed_height = placed_height_;
  return 1;
}

template <class S>
int32_t frame_placement::place_frame(const void* in, uint32_t in_bytes, S* out) const {
  if (!format_valid_ || in == nullptr || out == nullptr) return -1;
  const auto* source = static_cast<const uint8_t*>(in);
  if (identity_) {
    const uint64_t frame_bytes = frame_samples(layout_, src_width_, src_height_) * sizeof(S);
    std::memcpy(out, source, static_cast<std::size_t>(std::min<uint64_t>(in_bytes, frame_bytes)));
    return 1;
  }
  if (!framed_ || !computed_) return -1;
  if (in_bytes < frame_samples(layout_, src_width_, src_height_) * sizeof(S)) return -1;

  const S neutral_chroma = static_cast<S>(1u << (8 * sizeof(S) - 1));  // 128 or 32768
  const uint32_t kept_width = src_width_ - crops_.left - crops_.right;
  const uint32_t kept_height = src_height_ - crops_.top - crops_.bottom;
  S* out_plane = out;
  for (uint32_t p = 0; p < plane_count(layout_); ++p) {
    const plane_size from = plane_dimensions(layout_, p, src_width_, src_height_);
    const plane_size to = plane_dimensions(layout_, p, placed_width_, placed_height_);
    const uint32_t hs = is_chroma(layout_, p) ? layout_.chroma_shift_x : 0;
    const uint32_t vs = is_chroma(layout_, p) ? layout_.chroma_shift_y : 0;
    const std::size_t out_samples = std::size_t{to.width} * to.height;
    if (is_chroma(layout_, p)) {
      fill_samples(out_plane, out_samples, neutral_chroma);
    } else {
      // The luma fill value is taken byte by byte, as the format's fill byte.
      std::memset(out_plane, static_cast<int>(fill_ & 0xFF), out_samples * sizeof(S));
    }
    const std::size_t row_bytes = std::size_t{kept_width >> hs} * sizeof(S);
    for (uint32_t y = 0; y < (kept_height >> vs); ++y) {
      const std::size_t from_sample =
          std::size_t{(crops_.top >> vs) + y} * from.width + (crops_.left >> hs);
      S* to_row = out_plane + std::size_t{(pads_.top >> vs) + y} * to.width + (pads_.left >> hs);
      std::memcpy(to_row, source + from_sample * sizeof(S), row_bytes);
    }
    source += std::size_t{from.width} * from.height * sizeof(S);
    out_plane += out_samples;
  }
  return 1;
}

template int32_t frame_placement::place_frame<uint8_t>(const void*, uint32_t, uint8_t*) const;
template int32_t frame_placement::place_frame<uint16_t>(const void*, uint32_t, uint16_t*) const;

}  // namespace ns_video_resize
