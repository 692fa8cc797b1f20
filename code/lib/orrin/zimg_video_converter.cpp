#include "orrin/zimg_video_converter.h"

#include <zimg.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>
#include <new>

#include "orrin/picture_format.h"

namespace Quorvane::Orrin {

namespace {

// zimg's alignment for addresses and strides in 64-byte mode.
constexpr std::size_t kAlignment = 64;
// Outputs a caller may leave unfetched before PutSample refuses more.
constexpr std::size_t kMaxPendingOutputs = 16;
// Larger pictures are refused rather than risk overflowing the size arithmetic.
constexpr long kMaxDimension = 1 << 15;

struct aligned_delete {
  void operator()(uint8_t* block) const noexcept {
    ::operator delete(block, std::align_val_t{kAlignment});
  }
};
using aligned_block = std::unique_ptr<uint8_t[], aligned_delete>;

aligned_block allocate_aligned(std::size_t bytes) {
  return aligned_block(static_cast<uint8_t*>(::operator new(bytes, std::align_val_t{kAlignment})));
}

struct graph_delete {
  void operator()(zimg_filter_graph* graph) const noexcept { zimg_filter_graph_free(graph); }
};

std::size_t round_up(std::size_t value, std::size_t multiple) {
  return (value + multiple - 1) / multiple * multiple;
}

// Byte offsets of the three planes of a picture laid out as picture_format.h says.
struct plane_offsets {
  std::size_t plane[3];
  std::size_t stride[3];
  std::size_t end;  // one past the last byte of the V plane's last row
};

plane_offsets layout_planes(const PictureLayout& layout, std::size_t width, std::size_t height,
                            std::size_t stride) {
  const std::size_t chroma_stride = stride >> layout.chroma_shift_x;
  const std::size_t chroma_rows = height >> layout.chroma_shift_y;
  const std::size_t chroma_row_bytes = (width >> layout.chroma_shift_x) * layout.bytes_per_sample;
  plane_offsets p{};
  p.plane[0] = 0;
  p.plane[1] = stride * height;
  p.plane[2] = p.plane[1] + chroma_stride * chroma_rows;
  p.stride[0] = stride;
  p.stride[1] = p.stride[2] = chroma_stride;
  p.end = p.plane[2] + chroma_stride * (chroma_rows - 1) + chroma_row_bytes;
  return p;
}

bool is_aligned(const uint8_t* base, const plane_offsets& p) {
  for (int i = 0; i < 3; ++i) {
    if ((reinterpret_cast<uintptr_t>(base + p.plane[i]) | p.stride[i]) % kAlignment != 0) {
      return false;
    }
  }
  return true;
}

bool set_filter(long code, zimg_resample_filter_e* filter, double* a, double* b) {
  switch (code) {
    case kVrcFilterBicubic:
      *filter = ZIMG_RESIZE_BICUBIC;
      *a = 0.0;
      *b = 0.5;
      return true;
    case kVrcFilterBilinear: *filter = ZIMG_RESIZE_BILINEAR; return true;
    case kVrcFilterPoint: *filter = ZIMG_RESIZE_POINT; return true;
    case kVrcFilterSpline36: *filter = ZIMG_RESIZE_SPLINE36; return true;
    case kVrcFilterLanczos3:
      *filter = ZIMG_RESIZE_LANCZOS;
      *a = 3.0;
      return true;
    default: return false;
  }
}

zimg_image_format picture_format(const PictureLayout& layout, long width, long height) {
  zimg_image_format f;
  zimg_image_format_default(&f, ZIMG_API_VERSION);
  f.width = static_cast<unsigned>(width);
  f.height = static_cast<unsigned>(height);
  f.pixel_type = layout.bytes_per_sample == 2 ? ZIMG_PIXEL_WORD : ZIMG_PIXEL_BYTE;
  f.depth = 8 * layout.bytes_per_sample;
  f.subsample_w = layout.chroma_shift_x;
  f.subsample_h = layout.chroma_shift_y;
  f.color_family = ZIMG_COLOR_YUV;
  f.pixel_range = ZIMG_RANGE_LIMITED;
  f.chroma_location = ZIMG_CHROMA_LEFT;  // MPEG-2 siting: co-sited left, centred vertically
  return f;
}

bool valid_size(const PictureLayout& layout, long width, long height) {
  return width > 0 && height > 0 && width <= kMaxDimension && height <= kMaxDimension &&
         width % (1L << layout.chroma_shift_x) == 0 && height % (1L << layout.chroma_shift_y) == 0;
}

class zimg_video_converter final : public CVideoConverter {
public:
  Result Prepare() override;
  Result PutSample(CVideoSample* sample) override;
  Result GetSample(RObject<CVideoSample>& sample) override;

private:
  Result prepare();
  Result put_sample(CVideoSample* sample);
  Result prepare_ring();
  Result scale(const uint8_t* in, const plane_offsets& in_planes, uint8_t* out);
  RObject<CByteArray> output_block();

  std::unique_ptr<zimg_filter_graph, graph_delete> graph_;
  aligned_block tmp_;
  // Inputs zimg cannot read in place go through a few aligned lines per plane.
  aligned_block ring_;
  uint8_t* ring_plane_[3] = {};
  std::size_t ring_stride_[3] = {};
  unsigned ring_mask_[3] = {};
  PictureLayout layout_{};
  long in_width_ = 0, in_height_ = 0, out_width_ = 0, out_height_ = 0;
  plane_offsets out_planes_{};
  std::size_t out_bytes_ = 0;
  RObject<CByteArray> spare_;
  std::deque<RObject<CVideoSample>> pending_;
};

// Allocation failures become a result, as every other failure of the library.
Result zimg_video_converter::Prepare() {
  try {
    return prepare();
  } catch (const std::bad_alloc&) {
    graph_.reset();
    SetOutputProperties(nullptr);
    return Result(kResultOutOfMemory);
  }
}

Result zimg_video_converter::PutSample(CVideoSample* sample) {
  try {
    return put_sample(sample);
  } catch (const std::bad_alloc&) {
    return Result(kResultOutOfMemory);
  }
}

Result zimg_video_converter::prepare() {
  SetOutputProperties(nullptr);
  graph_.reset();
  pending_.clear();
  spare_.Reset();

  const CVideoProperties* input = GetInputProperties();
  if (input == nullptr) return Result(kResultNotPrepared);
  const auto layout = DescribePictureFormat(input->GetFormat());
  if (!layout) return Result(kResultUnsupportedFormat);
  long width = 0, height = 0;
  GetTargetSize(&width, &height);
  if (!valid_size(*layout, input->GetWidth(), input->GetHeight()) ||
      !valid_size(*layout, width, height)) {
    return Result(kResultInvalidArgument);
  }
  long filter_code = kVrcFilterBicubic;
  GetSetting(kPropertyFilter, &filter_code);

  zimg_graph_builder_params params;
  zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
  if (!set_filter(filter_code, &params.resample_filter, &params.filter_param_a,
                  &params.filter_param_b)) {
    return Result(kResultInvalidArgument);
  }
  params.resample_filter_uv = params.resample_filter;
  params.filter_param_a_uv = params.filter_param_a;
  params.filter_param_b_uv = params.filter_param_b;
  params.cpu_type = ZIMG_CPU_AUTO_64B;

  const zimg_image_format src = picture_format(*layout, input->GetWidth(), input->GetHeight());
  const zimg_image_format dst = picture_format(*layout, width, height);
  graph_.reset(zimg_filter_graph_build(&src, &dst, &params));
  if (!graph_) return Result(kResultUnsupportedFormat);
  std::size_t tmp_bytes = 0;
  if (zimg_filter_graph_get_tmp_size(graph_.get(), &tmp_bytes) != ZIMG_ERROR_SUCCESS) {
    graph_.reset();
    return Result(kResultProcessingFailed);
  }
  tmp_ = allocate_aligned(tmp_bytes > 0 ? tmp_bytes : 1);

  layout_ = *layout;
  in_width_ = input->GetWidth();
  in_height_ = input->GetHeight();
  out_width_ = width;
  out_height_ = height;
  if (const Result ring = prepare_ring(); ring.Failed()) {
    graph_.reset();
    return ring;
  }
  // Luma stride a multiple of 64 << shift keeps every chroma stride a multiple of 64.
  const std::size_t out_stride =
      round_up(static_cast<std::size_t>(width) * layout_.bytes_per_sample,
               kAlignment << layout_.chroma_shift_x);
  out_planes_ = layout_planes(layout_, width, height, out_stride);
  out_bytes_ = out_planes_.end;

  RObject<CVideoProperties> output(new CVideoProperties(input));
  output->SetWidth(width, kVideoStreamContext);
  output->SetHeight(height, kVideoStreamContext);
  output->SetProperty(kPropertyTargetWidth, width);
  output->SetProperty(kPropertyTargetHeight, height);
  SetOutputProperties(output);
  return Result(kResultOk);
}

Result zimg_video_converter::put_sample(CVideoSample* sample) {
  if (!graph_ || !GetOutputProperties()) return Result(kResultNotPrepared);
  if (sample == nullptr || sample->GetDataReference() == nullptr) {
    return Result(kResultInvalidArgument);
  }
  if (pending_.size() >= kMaxPendingOutputs) return Result(kResultProcessingFailed);

  const CDataReference& reference = *sample->GetDataReference();
  const CLockedDataReference lock = reference.GetLockedDataReference(kLockRead);
  const std::size_t row_bytes = static_cast<std::size_t>(in_width_) * layout_.bytes_per_sample;
  const long stride = reference.GetStride();
  const std::size_t in_stride = stride == 0 ? row_bytes : static_cast<std::size_t>(stride);
  if (stride < 0 || in_stride < row_bytes ||
      in_stride % (std::size_t{1} << layout_.chroma_shift_x) != 0) {
    return Result(kResultInvalidArgument);
  }
  const plane_offsets in_planes = layout_planes(layout_, in_width_, in_height_, in_stride);
  if (lock.GetData() == nullptr || lock.GetLength() < in_planes.end) {
    return Result(kResultInvalidArgument);
  }

  RObject<CByteArray> block = output_block();
  const Result scaled = scale(lock.GetData(), in_planes, block->GetData());
  if (scaled.Failed()) return scaled;

  RObject<CVideoSample> out(
      new CVideoSample(sample->GetTime(), sample->GetTimeScale(), sample->GetDuration()));
  out->SetDataReference(new CPixelBufferDataReference(block.Get(), out_width_, out_height_,
                                                      static_cast<long>(out_planes_.stride[0])));
  pending_.push_back(std::move(out));
  return Result(kResultOk);
}

Result zimg_video_converter::GetSample(RObject<CVideoSample>& sample) {
  if (pending_.empty()) {
    sample.Reset();
    return Result(kResultNoSample);
  }
  sample = std::move(pending_.front());
  pending_.pop_front();
  return Result(kResultOk);
}

RObject<CByteArray> zimg_video_converter::output_block() {
  // Only spare_ holding the block means every sample that showed it is gone.
  if (!spare_ || spare_->GetReferenceCount() != 1) {
    spare_.Reset(new CByteArray(out_bytes_));
  }
  return spare_;
}

// What the unpack callback needs to copy the lines zimg asks for into the ring.
struct unpack_job {
  const uint8_t* in;
  const plane_offsets* in_planes;
  uint8_t* const* ring;
  const std::size_t* ring_stride;
  const unsigned* ring_mask;
  PictureLayout layout;
  unsigned width;
};

// Lines i .. i + 2^shift_y - 1 of luma and line i >> shift_y of each chroma plane,
// columns left .. right - 1 (luma units).
int unpack_lines(void* user, unsigned i, unsigned left, unsigned right) {
  const auto& job = *static_cast<const unpack_job*>(user);
  const unsigned bytes = job.layout.bytes_per_sample;
  for (unsigned p = 0; p < 3; ++p) {
    const unsigned sx = p == 0 ? 0 : job.layout.chroma_shift_x;
    const unsigned sy = p == 0 ? 0 : job.layout.chroma_shift_y;
    const unsigned first = i >> sy;
    const unsigned count = p == 0 ? 1u << job.layout.chroma_shift_y : 1u;
    const unsigned from = left >> sx;
    const unsigned to = std::min((right + (1u << sx) - 1) >> sx, job.width >> sx);
    for (unsigned row = first; row < first + count; ++row) {
      std::memcpy(job.ring[p] + (row & job.ring_mask[p]) * job.ring_stride[p] + from * bytes,
                  job.in + job.in_planes->plane[p] + row * job.in_planes->stride[p] + from * bytes,
                  (to - from) * bytes);
    }
  }
  return 0;
}

Result zimg_video_converter::prepare_ring() {
  unsigned lines = 0;
  if (zimg_filter_graph_get_input_buffering(graph_.get(), &lines) != ZIMG_ERROR_SUCCESS) {
    return Result(kResultProcessingFailed);
  }
  unsigned mask = zimg_select_buffer_mask(lines);
  if (mask == ZIMG_BUFFER_MAX || mask >= static_cast<unsigned>(in_height_)) mask = ZIMG_BUFFER_MAX;
  std::size_t offset[3] = {};
  std::size_t total = 0;
  for (unsigned p = 0; p < 3; ++p) {
    const unsigned sx = p == 0 ? 0 : layout_.chroma_shift_x;
    const unsigned sy = p == 0 ? 0 : layout_.chroma_shift_y;
    ring_mask_[p] = mask == ZIMG_BUFFER_MAX ? mask : mask >> sy;
    const std::size_t rows = mask == ZIMG_BUFFER_MAX ? static_cast<std::size_t>(in_height_) >> sy
                                                     : std::size_t{ring_mask_[p]} + 1;
    ring_stride_[p] = round_up(
        (static_cast<std::size_t>(in_width_) >> sx) * layout_.bytes_per_sample, kAlignment);
    offset[p] = total;
    total += rows * ring_stride_[p];
  }
  ring_ = allocate_aligned(total);
  for (unsigned p = 0; p < 3; ++p) ring_plane_[p] = ring_.get() + offset[p];
  return Result(kResultOk);
}

Result zimg_video_converter::scale(const uint8_t* in, const plane_offsets& in_planes,
                                   uint8_t* out) {
  const bool in_place = is_aligned(in, in_planes);
  zimg_image_buffer_const src;
  zimg_image_buffer dst;
  src.version = dst.version = ZIMG_API_VERSION;
  for (int p = 0; p < 4; ++p) {
    const bool used = p < 3;
    src.plane[p].data = !used ? nullptr : in_place ? in + in_planes.plane[p] : ring_plane_[p];
    src.plane[p].stride =
        !used ? 0 : static_cast<ptrdiff_t>(in_place ? in_planes.stride[p] : ring_stride_[p]);
    src.plane[p].mask = used && !in_place ? ring_mask_[p] : ZIMG_BUFFER_MAX;
    dst.plane[p].data = used ? out + out_planes_.plane[p] : nullptr;
    dst.plane[p].stride = used ? static_cast<ptrdiff_t>(out_planes_.stride[p]) : 0;
    dst.plane[p].mask = ZIMG_BUFFER_MAX;
  }
  unpack_job job{in, &in_planes, ring_plane_, ring_stride_, ring_mask_, layout_,
                 static_cast<unsigned>(in_width_)};
  if (zimg_filter_graph_process(graph_.get(), &src, &dst, tmp_.get(),
                                in_place ? nullptr : unpack_lines, &job, nullptr,
                                nullptr) != ZIMG_ERROR_SUCCESS) {
    return Result(kResultProcessingFailed);
  }
  return Result(kResultOk);
}

}  // namespace

CVideoConverter* CreateZimgVideoConverter() { return new zimg_video_converter(); }

}  // namespace Quorvane::Orrin
