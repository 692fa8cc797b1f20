#pragma once
// Frame placement: which rows and columns of the source are kept (crops), which
// borders are added (pads), and, with a fit mode, how both change so that the placed
// picture takes the destination's display aspect. Pure geometry plus the copy of one
// frame into its placed form.
//
//        crop_left                      placed picture
//   +---:-----------:---+         +-----------------------+
//   |   : kept part :   |  --->   | pad |  kept part  | pad |  (borders: luma `fill`,
//   +---:-----------:---+         +-----------------------+   chroma neutral)

#include <cstdint>

#include "filter/video/resize/resize_format.h"

namespace ns_video_resize {

struct edges {
  uint32_t left = 0;
  uint32_t right = 0;
  uint32_t top = 0;
  uint32_t bottom = 0;
  friend bool operator==(const edges&, const edges&) = default;
};

enum : uint32_t { fit_stretch = 0, fit_crop = 1, fit_pad = 2 };

class frame_placement {
public:
  // Stores the source description; 1 when the layout accepts the size, else -1.
  // Without aspect_enabled the display aspect is 0:0 (none).
  int32_t set_format(uint32_t format, bool aspect_enabled, uint32_t width, uint32_t height,
                     float aspect_num, float aspect_den, uint32_t fill);

  // Hands over the requested crops and pads.
  void set_framing(const edges& crops, const edges& pads);

  // Computes the crops and pads in force and the placed size (even in both
  // directions); 1, or -1 without an accepted layout and framing, for fit_mode > 2,
  // a zero destination, or crops that leave nothing of the source.
  int32_t compute_geometry(uint32_t dst_width, uint32_t dst_height, uint32_t fit_mode,
                           uint32_t* placed_width, uint32_t* placed_height);

  // Copies one source frame (in_bytes bytes at `in`, any alignment) into `out`, a
  // frame of the placed size. 1, or -1 (nothing written) when the geometry is not
  // ready, a pointer is null, or a placement that is not a plain copy is given fewer
  // bytes than one source frame. A plain copy takes at most one frame of in_bytes.
  template <class S>
  int32_t place_frame(const void* in, uint32_t in_bytes, S* out) const;

  const edges& crops() const noexcept { return crops_; }
  const edges& pads() const noexcept { return pads_; }
  bool identity() const noexcept { return identity_; }
  double target_aspect() const noexcept { return target_aspect_; }

private:
  edges crops_;
  edges requested_crops_;
  edges requested_pads_;
  edges pads_;
  format_layout layout_{};
  uint32_t src_width_ = 0;
  uint32_t src_height_ = 0;
  uint32_t placed_width_ = 0;
  uint32_t placed_height_ = 0;
  float aspect_num_ = 0.0f;
  float aspect_den_ = 0.0f;
  uint32_t fill_ = 0;
  double target_aspect_ = 0.0;
  bool format_valid_ = false;
  bool framed_ = false;
  bool computed_ = false;
  bool identity_ = false;
};

extern template int32_t frame_placement::place_frame<uint8_t>(const void*, uint32_t,
                                                              uint8_t*) const;
extern template int32_t frame_placement::place_frame<uint16_t>(const void*, uint32_t,
                                                               uint16_t*) const;

}  // namespace ns_video_resize
