#pragma once
// Frames and configuration shorthands for the resizer tests. Frames are byte vectors
// in the resizer's layout (planes packed, 16-bit samples in native order).

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "filter/video/resize/kx_resize.h"
#include "filter/video/resize/placement.h"
#include "filter/video/resize/resize_format.h"

namespace ns_video_resize::testing_support {

struct resize_args {
  uint32_t dst_width, dst_height, src_width, src_height, format;
  edges crops{};
  uint32_t aspect_mode = 0;
  float aspect_num = 0.0f, aspect_den = 0.0f;
  uint32_t scan_mode = 0, fit_mode = 0;
  float cubic_a = -0.5f;
  uint32_t filter = 0, prefilter = 0, fill = 0;
};

// resize_args{...} | [](resize_args& a) { a.filter = 2; }: a copy with some changes.
template <class Change>
resize_args operator|(resize_args a, Change change) {
  change(a);
  return a;
}

// resize_args{...} | with_filter(filter_cubic)
inline auto with_filter(uint32_t filter) {
  return [filter](resize_args& a) { a.filter = filter; };
}

inline int32_t configure(kx_resize& r, const resize_args& a) {
  return r.configure(a.dst_width, a.dst_height, a.src_width, a.src_height, a.format, a.crops.left,
                     a.crops.right, a.crops.top, a.crops.bottom, a.aspect_mode, a.aspect_num,
                     a.aspect_den, a.scan_mode, a.fit_mode, a.cubic_a, a.filter, a.prefilter, 0,
                     a.fill);
}

struct resizer_deleter {
  void operator()(kx_resize* r) const { destroy_video_resize(r); }
};
using resizer_ptr = std::unique_ptr<kx_resize, resizer_deleter>;

inline resizer_ptr make_resizer(uint32_t format) {
  return resizer_ptr(create_video_resize(static_cast<int32_t>(format)));
}

using sample_fn = std::function<uint32_t(uint32_t plane, uint32_t x, uint32_t y)>;

// A frame of `format` at width x height with sample(plane, x, y) = value(...).
class frame {
public:
  frame(uint32_t format, uint32_t width, uint32_t height)
      : layout_(*describe_format(format)),
        width_(width),
        height_(height),
        bytes_(frame_samples(layout_, width, height) * layout_.sample_bytes) {}
  frame(uint32_t format, uint32_t width, uint32_t height, const sample_fn& value)
      : frame(format, width, height) {
    for (uint32_t p = 0; p < plane_count(layout_); ++p) {
      const plane_size s = plane_dimensions(layout_, p, width_, height_);
      for (uint32_t y = 0; y < s.height; ++y)
        for (uint32_t x = 0; x < s.width; ++x) set(p, x, y, value(p, x, y));
    }
  }

  uint32_t at(uint32_t plane, uint32_t x, uint32_t y) const {
    uint32_t v = 0;
    std::memcpy(&v, bytes_.data() + offset(plane, x, y), layout_.sample_bytes);
    return v;
  }
  void set(uint32_t plane, uint32_t x, uint32_t y, uint32_t v) {
    std::memcpy(bytes_.data() + offset(plane, x, y), &v, layout_.sample_bytes);
  }
  plane_size size(uint32_t plane) const { return plane_dimensions(layout_, plane, width_, height_); }
  uint32_t planes() const { return plane_count(layout_); }
  uint32_t bytes() const { return static_cast<uint32_t>(bytes_.size()); }
  uint8_t* data() { return bytes_.data(); }
  const uint8_t* data() const { return bytes_.data(); }
  std::vector<uint8_t>& storage() { return bytes_; }

private:
  std::size_t offset(uint32_t plane, uint32_t x, uint32_t y) const {
    std::size_t samples = 0;
    for (uint32_t p = 0; p < plane; ++p) samples += std::size_t{size(p).width} * size(p).height;
    return (samples + std::size_t{y} * size(plane).width + x) * layout_.sample_bytes;
  }

  format_layout layout_;
  uint32_t width_, height_;
  std::vector<uint8_t> bytes_;
};

// Converts `in` with a configured resizer into a frame of the destination size.
inline frame run(kx_resize& r, uint32_t format, uint32_t dst_width, uint32_t dst_height,
                 const frame& in, int32_t* result = nullptr) {
  frame out(format, dst_width, dst_height);
  uint32_t out_bytes = 0;
  const int32_t status = r.process(in.bytes(), in.data(), &out_bytes, out.data());
  if (result != nullptr) *result = status;
  return out;
}

// Peak signal-to-noise ratio of one plane of `a` against `b`, in dB.
inline double psnr(const frame& a, const frame& b, uint32_t plane, double peak) {
  double sum = 0.0;
  const plane_size s = a.size(plane);
  for (uint32_t y = 0; y < s.height; ++y)
    for (uint32_t x = 0; x < s.width; ++x) {
      const double d = static_cast<double>(a.at(plane, x, y)) - b.at(plane, x, y);
      sum += d * d;
    }
  const double mse = sum / (static_cast<double>(s.width) * s.height);
  return mse == 0.0 ? 200.0 : 10.0 * std::log10(peak * peak / mse);
}

}  // namespace ns_video_resize::testing_support
