#pragma once
// The resizer for one sample type (uint8_t or uint16_t samples): configuration picks
// placement only, the media library's converter, or the own separable scaler, and
// sizes every buffer; process places each frame into the work frame and hands it on.

#include <cstdint>
#include <memory>

#include "filter/video/resize/aligned_buffer.h"
#include "filter/video/resize/converter_path.h"
#include "filter/video/resize/kx_resize.h"
#include "filter/video/resize/placement.h"
#include "filter/video/resize/scaler.h"

namespace ns_video_resize {

template <class S>
class video_resize_impl final : public kx_resize {
public:
  video_resize_impl();

  int32_t configure(uint32_t dst_width, uint32_t dst_height, uint32_t src_width,
                    uint32_t src_height, uint32_t resize_format, uint32_t crop_left,
                    uint32_t crop_right, uint32_t crop_top, uint32_t crop_bottom,
                    uint32_t aspect_mode, float aspect_num, float aspect_den, uint32_t scan_mode,
                    uint32_t fit_mode, float cubic_a, uint32_t filter, uint32_t prefilter,
                    uint32_t reserved, uint32_t fill_luma) override;
  uint32_t frame_bytes() override;
  int32_t process(uint32_t in_bytes, const uint8_t* in_data, uint32_t* out_bytes,
                  uint8_t* out_data) override;

  // What configuration chose (for inspection).
  uint32_t placed_width() const noexcept { return src_width_; }
  uint32_t placed_height() const noexcept { return src_height_; }
  uint32_t filter() const noexcept { return filter_; }
  uint32_t prefilter_level() const noexcept { return prefilter_level_; }
  bool uses_converter() const noexcept { return converter_ != nullptr; }

private:
  int32_t set_up_scaling(const format_layout& layout, uint32_t prefilter);

  bool configured_ = false;
  uint32_t src_width_ = 0, src_height_ = 0;  // after configuration: the placed size
  uint32_t dst_width_ = 0, dst_height_ = 0;
  uint32_t scan_mode_ = 0;
  bool field_mode_ = false;
  uint32_t filter_ = 0;
  float cubic_a_ = -0.5f;
  uint32_t prefilter_level_ = 0;
  uint64_t clip_frame_bytes_ = 0;  // one input frame before placement
  uint64_t in_samples_ = 0;        // one placed frame
  uint64_t out_samples_ = 0;
  frame_placement placement_;
  aligned_buffer<S> work_;
  std::unique_ptr<separable_scaler<S>> scaler_;
  std::unique_ptr<converter_scaler<S>> converter_;
};

extern template class video_resize_impl<uint8_t>;
extern template class video_resize_impl<uint16_t>;

}  // namespace ns_video_resize
