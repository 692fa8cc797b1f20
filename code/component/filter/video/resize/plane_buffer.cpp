#include "filter/video/resize/plane_buffer.h"

#include <cassert>
#include <cstring>

namespace ns_video_resize {

template <class S>
plane_buffer<S>::plane_buffer(uint32_t width, uint32_t height)
    : width_(width), height_(height), owned_((std::size_t{height} + 4) * width) {
  samples_ = owned_.data();
  std::memset(static_cast<void*>(samples_), 128, owned_.size() * sizeof(S));
  rows_.reserve(height);
  build_rows();
}

template <class S>
plane_buffer<S> plane_buffer<S>::view(uint32_t width, uint32_t height) {
  plane_buffer plane;
  plane.width_ = width;
  plane.height_ = height;
  plane.rows_.reserve(height);
  return plane;
}

template <class S>
void plane_buffer<S>::point_at(S* samples, uint32_t width, uint32_t height) {
  owned_ = aligned_buffer<S>();
  samples_ = samples;
  width_ = width;
  height_ = height;
  build_rows();
}

template <class S>
void plane_buffer<S>::reshape(uint32_t width, uint32_t height) {
  assert(std::size_t{width} * height <= owned_.size());
  width_ = width;
  height_ = height;
  build_rows();
}

template <class S>
void plane_buffer<S>::build_rows() {
  rows_.resize(height_);
  for (uint32_t y = 0; y < height_; ++y) rows_[y] = samples_ + std::size_t{y} * width_;
}

template class plane_buffer<uint8_t>;
template class plane_buffer<uint16_t>;

}  // namespace ns_video_resize
