#pragma once
// Scaling through the media library's video converter ('vrc '): the set-up, the
// conversion of one picture, and the progressive and field flows around it. The
// resizer still places and smooths each frame; the converter only scales.

#include <cstddef>
#include <cstdint>

#include "filter/video/resize/aligned_buffer.h"
#include "filter/video/resize/resize_format.h"
#include "orrin/video_converter.h"

namespace ns_video_resize {

// One converter, set up for pictures of src_width x src_rows to dst_width x dst_rows
// (rows per field in field mode).
class converter_path {
public:
  // False when no converter is registered, it refuses the properties or Prepare,
  // or it reports another output size or format. The converter is kept either way.
  bool set_up(const format_layout& layout, uint32_t src_width, uint32_t src_rows,
              uint32_t dst_width, uint32_t dst_rows);

  // Converts `picture` (picture_bytes bytes, planes packed) into `dst`, which takes
  // one packed output picture (output_bytes()). 1, or 0 when there is no converter,
  // it fails, it yields a third sample, or a sample is too short for its stride
  // (nothing is read past its end). At most two samples are taken per picture; no
  // sample at all leaves `dst` unwritten and succeeds.
  int32_t convert(void* picture, std::size_t picture_bytes, uint32_t width, uint32_t height,
                  uint8_t* dst);

  std::size_t output_bytes() const noexcept { return out_bytes_; }

private:
  bool copy_picture(const Quorvane::Orrin::CVideoSample& sample, uint8_t* dst) const;

  Quorvane::Orrin::RObject<Quorvane::Orrin::CVideoConverter> converter_;
  format_layout layout_{};
  uint32_t dst_width_ = 0;
  uint32_t dst_rows_ = 0;
  std::size_t out_bytes_ = 0;
};

// The frame flows on a converter: smoothing of the placed frame (or of each field),
// conversion, and, by fields, splitting and weaving.
template <class S>
class converter_scaler {
public:
  // A layout with a converter FourCC; field_mode halves the rows handed over.
  converter_scaler(const format_layout& layout, uint32_t src_width, uint32_t src_height,
                   uint32_t dst_width, uint32_t dst_height, bool field_mode,
                   uint32_t prefilter_level);

  bool set_up();
  // Both return the conversion's result; by fields, the bottom field's, both fields
  // being woven into `out` whatever their conversion left in the field buffer.
  int32_t scale_frame(S* placed, uint8_t* out);
  int32_t scale_fields(S* placed, uint8_t* out);

private:
  format_layout layout_;
  uint32_t src_width_, src_height_, dst_width_, dst_height_;
  bool field_mode_;
  uint32_t prefilter_level_;
  converter_path path_;
  aligned_buffer<S> smooth_scratch_;
  aligned_buffer<S> field_src_;
  aligned_buffer<uint8_t> field_dst_;
};

extern template class converter_scaler<uint8_t>;
extern template class converter_scaler<uint16_t>;

}  // namespace ns_video_resize
