#include "filter/video/resize/converter_path.h"

#include <cstring>

#include "filter/video/resize/fields.h"
#include "filter/video/resize/smoothing.h"
#include "orrin/component_inventory.h"

namespace ns_video_resize {

namespace orrin = Quorvane::Orrin;

bool converter_path::set_up(const format_layout& layout, uint32_t src_width, uint32_t src_rows,
                            uint32_t dst_width, uint32_t dst_rows) {
  layout_ = layout;
  dst_width_ = dst_width;
  dst_rows_ = dst_rows;
  out_bytes_ = frame_samples(layout, dst_width, dst_rows) * layout.sample_bytes;

  orrin::AddKestrelleComponentDependencies();
  converter_.Reset(
      orrin::CComponentInventory<orrin::CComponentFactory<orrin::CVideoConverter>>::CreateInstance(
          orrin::kVideoConverterType));
  if (!converter_) return false;

  orrin::RObject<orrin::CVideoProperties> properties(new orrin::CVideoProperties(nullptr));
  properties->SetFormat(layout.converter_fourcc, orrin::kVideoStreamContext);
  properties->SetWidth(src_width, orrin::kVideoStreamContext);
  properties->SetHeight(src_rows, orrin::kVideoStreamContext);
  for (orrin::IProperties* target : {static_cast<orrin::IProperties*>(properties.Get()),
                                     static_cast<orrin::IProperties*>(converter_.Get())}) {
    target->SetProperty(orrin::kPropertyTargetWidth, static_cast<long>(dst_width));
    target->SetProperty(orrin::kPropertyTargetHeight, static_cast<long>(dst_rows));
  }
  if (converter_->SetInputProperties(properties.Get()) != 0) return false;
  if (converter_->Prepare() != 0) return false;
  const auto output = converter_->GetOutputProperties();
  return output && output->GetWidth() == static_cast<long>(dst_width) &&
         output->GetHeight() == static_cast<long>(dst_rows) &&
         output->GetFormat() == layout.converter_fourcc;
}

int32_t converter_path::convert(void* picture, std::size_t picture_bytes, uint32_t width,
                                uint32_t height, uint8_t* dst) {
  if (!converter_) return 0;
  orrin::RObject<orrin::CVideoSample> sample(new orrin::CVideoSample(0, 1000, 0));
  sample->SetDataReference(new orrin::CPixelBufferDataReference(
      new orrin::CByteArray(picture, picture_bytes), width, height,
      static_cast<long>(width * layout_.sample_bytes)));

  orrin::Result result = converter_->PutSample(sample.Get());
  if (result.Failed()) return 0;
  // A converter may keep pictures back; at most two come out for one picture in.
  for (int fetched = 0; result.GetResultCode() == orrin::kResultOk;) {
    orrin::RObject<orrin::CVideoSample> out;
    result = converter_->GetSample(out);
    if (!out) {
      result = orrin::Result(orrin::kResultOk);
      break;
    }
    if (result != 0) break;
    if (++fetched == 3 || !copy_picture(*out, dst)) return 0;
  }
  return result.Failed() ? 0 : 1;
}

bool converter_path::copy_picture(const orrin::CVideoSample& sample, uint8_t* dst) const {
  const orrin::CDataReference* reference = sample.GetDataReference();
  if (reference == nullptr) return true;
  const long stride = reference->GetStride();
  const orrin::CLockedDataReference lock = reference->GetLockedDataReference(orrin::kLockReadWrite);
  if (lock.GetLength() == 0 || lock.GetData() == nullptr) return true;

  const std::size_t row_bytes = std::size_t{dst_width_} * layout_.sample_bytes;
  if (stride >= 0 && static_cast<std::size_t>(stride) == row_bytes) {
    if (lock.GetLength() < out_bytes_) return false;
    std::memcpy(dst, lock.GetData(), out_bytes_);
    return true;
  }

  // Padded rows: every chroma row sits at its own half-stride (4:2:x) or stride
  // (4:4:4) position after the luma rows; the output is packed.
  const std::size_t divisor = std::size_t{1} << layout_.chroma_shift_x;
  if (stride < 0 || static_cast<std::size_t>(stride) < row_bytes ||
      static_cast<std::size_t>(stride) % divisor != 0) {
    return false;
  }
  const std::size_t luma_stride = static_cast<std::size_t>(stride);
  const std::size_t chroma_stride = luma_stride / divisor;
  const plane_size chroma = plane_dimensions(layout_, layout_.full_planes, dst_width_, dst_rows_);
  const std::size_t chroma_row_bytes = std::size_t{chroma.width} * layout_.sample_bytes;
  const std::size_t chroma_start = luma_stride * dst_rows_;
  const std::size_t end =
      chroma_start + chroma_stride * (2 * std::size_t{chroma.height} - 1) + chroma_row_bytes;
  if (chroma.height == 0 || lock.GetLength() < end) return false;

  const uint8_t* from = lock.GetData();
  for (uint32_t y = 0; y < dst_rows_; ++y, from += luma_stride, dst += row_bytes) {
    std::memcpy(dst, from, row_bytes);
  }
  for (uint32_t y = 0; y < 2 * chroma.height; ++y, from += chroma_stride, dst += chroma_row_bytes) {
    std::memcpy(dst, from, chroma_row_bytes);
  }
  return true;
}

template <class S>
converter_scaler<S>::converter_scaler(const format_layout& layout, uint32_t src_width,
                                      uint32_t src_height, uint32_t dst_width, uint32_t dst_height,
                                      bool field_mode, uint32_t prefilter_level)
    : layout_(layout),
      src_width_(src_width),
      src_height_(src_height),
      dst_width_(dst_width),
      dst_height_(dst_height),
      field_mode_(field_mode),
      prefilter_level_(prefilter_level) {}

template <class S>
bool converter_scaler<S>::set_up() {
  const uint32_t shift = field_mode_ ? 1 : 0;
  if (!path_.set_up(layout_, src_width_, src_height_ >> shift, dst_width_, dst_height_ >> shift)) {
    return false;
  }
  const std::size_t plane_samples = std::size_t{src_width_} * src_height_;
  if (prefilter_level_ != prefilter_none) smooth_scratch_ = aligned_buffer<S>(plane_samples);
  if (field_mode_) {
    field_src_ = aligned_buffer<S>(frame_samples(layout_, src_width_, src_height_));
    field_dst_ = aligned_buffer<uint8_t>(path_.output_bytes());
  }
  return true;
}

template <class S>
int32_t converter_scaler<S>::scale_frame(S* placed, uint8_t* out) {
  smooth_frame(placed, layout_, src_width_, src_height_, prefilter_level_, smooth_scratch_.data());
  const std::size_t samples = frame_samples(layout_, src_width_, src_height_);
  return path_.convert(placed, samples * sizeof(S), src_width_, src_height_, out);
}

template <class S>
int32_t converter_scaler<S>::scale_fields(S* placed, uint8_t* out) {
  int32_t result = 0;
  for (uint32_t f = 0; f < 2; ++f) {
    const S* plane = placed;
    S* field = field_src_.data();
    for (uint32_t p = 0; p < plane_count(layout_); ++p) {
      const plane_size size = plane_dimensions(layout_, p, src_width_, src_height_);
      const uint32_t rows = size.height / 2;
      split_field(plane, std::size_t{size.width} * sizeof(S), rows, f, field);
      if (prefilter_level_ != prefilter_none) {
        const bool strong_luma = p == 0 && prefilter_level_ == prefilter_strong;
        smooth_plane(field, size.width, rows, strong_luma ? smooth_5x5 : smooth_3x3,
                     smooth_scratch_.data());
      }
      plane += std::size_t{size.width} * size.height;
      field += std::size_t{size.width} * rows;
    }
    const std::size_t field_bytes = static_cast<std::size_t>(field - field_src_.data()) * sizeof(S);
    // Each field is woven in whatever its conversion gave; the bottom field's result
    // is the frame's.
    result = path_.convert(field_src_.data(), field_bytes, src_width_, src_height_ / 2,
                           field_dst_.data());
    const uint8_t* converted = field_dst_.data();
    uint8_t* frame_plane = out;
    for (uint32_t p = 0; p < plane_count(layout_); ++p) {
      const plane_size size = plane_dimensions(layout_, p, dst_width_, dst_height_);
      const std::size_t row_bytes = std::size_t{size.width} * sizeof(S);
      weave_field(converted, row_bytes, size.height / 2, f, frame_plane);
      converted += row_bytes * (size.height / 2);
      frame_plane += row_bytes * size.height;
    }
  }
  return result;
}

template class converter_scaler<uint8_t>;
template class converter_scaler<uint16_t>;

}  // namespace ns_video_resize
