#pragma once
// The resizer: conforms each picture of a clip to another frame size by cropping,
// padding, aspect fitting and scaling (its own separable scaler, or the media
// library's converter). One thread at a time per object; no locks, no shared state.
//
// Calling order: create_video_resize, configure, frame_bytes, process per frame,
// destroy_video_resize. configure may be called again: it releases everything the
// previous call made and starts afresh. After a failed configure, frame_bytes is 0
// and process returns 0 without writing anything.

#include <cstdint>

namespace ns_video_resize {

class kx_resize {
public:
  // 1 ready; 0 unknown filter (scaling mode); -1 any other failure: odd source size,
  // unknown format code, geometry the placement rejects (crops not smaller than the
  // picture, fit mode above 2, zero destination), a destination of fewer than 2
  // samples (or field rows) or a source plane narrower than the filter's taps in
  // scaling mode, a frame larger than 4 GiB, or a converter that refuses the set-up.
  // scan_mode 2 scales by fields, 0 progressively, anything else only places.
  virtual int32_t configure(uint32_t dst_width, uint32_t dst_height, uint32_t src_width,
                            uint32_t src_height, uint32_t resize_format, uint32_t crop_left,
                            uint32_t crop_right, uint32_t crop_top, uint32_t crop_bottom,
                            uint32_t aspect_mode, float aspect_num, float aspect_den,
                            uint32_t scan_mode, uint32_t fit_mode, float cubic_a, uint32_t filter,
                            uint32_t prefilter, uint32_t reserved, uint32_t fill_luma) = 0;

  // Bytes of one output frame: the size the caller allocates for out_data.
  virtual uint32_t frame_bytes() = 0;

  // Converts one frame of the clip's layout and size into out_data and stores its
  // byte count in *out_bytes. Returns 1 on success; 1 for a null in_data, writing
  // nothing but *out_bytes, and that only when scaling progressively; 0 without
  // writing anything when not configured, for a null out_bytes or out_data, or when
  // in_bytes is smaller than one clip frame; 0 when the media library's conversion
  // fails (out_data then holds what was written before). Bytes of in_data beyond one
  // clip frame are ignored.
  virtual int32_t process(uint32_t in_bytes, const uint8_t* in_data, uint32_t* out_bytes,
                          uint8_t* out_data) = 0;

  virtual ~kx_resize() = default;
};

// A 16-bit resizer for format codes 7..10, an 8-bit one for every other value.
kx_resize* create_video_resize(int32_t resize_format);
// Null is ignored.
void destroy_video_resize(kx_resize* resizer);

}  // namespace ns_video_resize
