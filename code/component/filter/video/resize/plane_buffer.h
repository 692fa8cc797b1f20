#pragma once
// One image plane: width x height samples, rows width samples apart, either owned or
// a view of outside memory (the work frame, the output frame, field scratch).

#include <cstdint>
#include <vector>

#include "filter/video/resize/aligned_buffer.h"

namespace ns_video_resize {

template <class S>
class plane_buffer {
public:
  plane_buffer() = default;
  // Owns (height + 4) * width samples with every byte 128.
  plane_buffer(uint32_t width, uint32_t height);
  // A view without samples until point_at.
  static plane_buffer view(uint32_t width, uint32_t height);

  // Frees owned samples and shows `samples` (not owned) at the given size.
  void point_at(S* samples, uint32_t width, uint32_t height);
  void point_at(S* samples) { point_at(samples, width_, height_); }
  // New size for an owning plane, within the samples it already holds.
  void reshape(uint32_t width, uint32_t height);

  uint32_t width() const noexcept { return width_; }
  uint32_t height() const noexcept { return height_; }
  S* samples() const noexcept { return samples_; }
  S* row(uint32_t y) const noexcept { return rows_[y]; }

private:
  void build_rows();

  uint32_t width_ = 0;
  uint32_t height_ = 0;
  aligned_buffer<S> owned_;
  S* samples_ = nullptr;
  std::vector<S*> rows_;
};

extern template class plane_buffer<uint8_t>;
extern template class plane_buffer<uint16_t>;

}  // namespace ns_video_resize
