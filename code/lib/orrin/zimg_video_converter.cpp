// Each input picture is first copied into the converter's own aligned planes
// (last_picture): zimg then reads it in place, and the next picture, compared with
// that copy, is not scaled again when it is the same (a frame-rate converter repeats
// pictures). With a second processor the planes are scaled at once: the luma plane
// on a helper thread, the chroma planes on the caller's.

#include "orrin/zimg_video_converter.h"

#include <zimg.h>

#include <deque>
#include <memory>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include "orrin/last_picture.h"
#include "orrin/picture_format.h"
#include "orrin/side_worker.h"

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
using graph_ptr = std::unique_ptr<zimg_filter_graph, graph_delete>;

std::size_t round_up(std::size_t value, std::size_t multiple) {
  return (value + multiple - 1) / multiple * multiple;
}

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

// Where zimg puts a chroma sample of the source, in source chroma samples, for the
// siting above (raw: -0.5 co-sited left, 0 centred), kept in the very operations zimg
// uses for a YUV picture, so that a plane scaled alone gets the same filter taps.
double chroma_shift(double raw, unsigned shift, long src, long dst) {
  if (shift == 0) return 0.0;
  const double sub_scale = 1.0 / (1 << shift);
  double value = 0.0;
  value -= sub_scale * raw;
  value += sub_scale * raw * static_cast<double>(src) / static_cast<double>(dst);
  return value;
}

bool valid_size(const PictureLayout& layout, long width, long height) {
  return width > 0 && height > 0 && width <= kMaxDimension && height <= kMaxDimension &&
         width % (1L << layout.chroma_shift_x) == 0 && height % (1L << layout.chroma_shift_y) == 0;
}

long default_threads() { return std::thread::hardware_concurrency() > 1 ? 2 : 1; }

Result process(const zimg_filter_graph* graph, const zimg_image_buffer_const& src,
               const zimg_image_buffer& dst, void* tmp) {
  return zimg_filter_graph_process(graph, &src, &dst, tmp, nullptr, nullptr, nullptr, nullptr) ==
                 ZIMG_ERROR_SUCCESS
             ? Result(kResultOk)
             : Result(kResultProcessingFailed);
}

graph_ptr build_graph(const zimg_image_format& src, const zimg_image_format& dst,
                      const zimg_graph_builder_params& params, aligned_block* tmp) {
  graph_ptr graph(zimg_filter_graph_build(&src, &dst, &params));
  std::size_t tmp_bytes = 0;
  if (!graph || zimg_filter_graph_get_tmp_size(graph.get(), &tmp_bytes) != ZIMG_ERROR_SUCCESS) {
    return nullptr;
  }
  *tmp = allocate_aligned(tmp_bytes > 0 ? tmp_bytes : 1);
  return graph;
}

// The picture's graph taken apart: one for the luma plane, one for either chroma plane.
struct plane_graphs {
  graph_ptr luma;
  graph_ptr chroma;
  aligned_block luma_tmp;
  aligned_block chroma_tmp;
};

std::unique_ptr<plane_graphs> build_plane_graphs(const zimg_image_format& src,
                                                 const zimg_image_format& dst,
                                                 const zimg_graph_builder_params& params) {
  auto graphs = std::make_unique<plane_graphs>();
  zimg_image_format luma_src = src, luma_dst = dst;
  for (zimg_image_format* f : {&luma_src, &luma_dst}) {
    f->color_family = ZIMG_COLOR_GREY;
    f->subsample_w = f->subsample_h = 0;
  }
  graphs->luma = build_graph(luma_src, luma_dst, params, &graphs->luma_tmp);

  zimg_image_format chroma_src = luma_src, chroma_dst = luma_dst;
  chroma_src.width = src.width >> src.subsample_w;
  chroma_src.height = src.height >> src.subsample_h;
  chroma_dst.width = dst.width >> dst.subsample_w;
  chroma_dst.height = dst.height >> dst.subsample_h;
  chroma_src.active_region.left = chroma_shift(-0.5, src.subsample_w, src.width, dst.width);
  chroma_src.active_region.top = chroma_shift(0.0, src.subsample_h, src.height, dst.height);
  chroma_src.active_region.width = static_cast<double>(src.width) / (1 << src.subsample_w);
  chroma_src.active_region.height = static_cast<double>(src.height) / (1 << src.subsample_h);
  zimg_graph_builder_params chroma_params = params;
  chroma_params.resample_filter = params.resample_filter_uv;
  chroma_params.filter_param_a = params.filter_param_a_uv;
  chroma_params.filter_param_b = params.filter_param_b_uv;
  graphs->chroma = build_graph(chroma_src, chroma_dst, chroma_params, &graphs->chroma_tmp);
  if (!graphs->luma || !graphs->chroma) return nullptr;
  return graphs;
}

class zimg_video_converter final : public CVideoConverter {
public:
  Result Prepare() override;
  Result PutSample(CVideoSample* sample) override;
  Result GetSample(RObject<CVideoSample>& sample) override;

private:
  Result prepare();
  Result put_sample(CVideoSample* sample);
  // Copies `in` into last_ and scales the copy into `out`.
  Result scale(const uint8_t* in, const plane_offsets& in_planes, uint8_t* out);
  Result scale_planes(const uint8_t* in, const plane_offsets& in_planes,
                      const zimg_image_buffer_const& src, const zimg_image_buffer& dst);
  RObject<CByteArray> output_block();

  graph_ptr graph_;
  aligned_block tmp_;
  std::unique_ptr<plane_graphs> planes_;
  std::unique_ptr<side_worker> worker_;
  PictureLayout layout_{};
  long in_width_ = 0, in_height_ = 0, out_width_ = 0, out_height_ = 0;
  plane_offsets out_planes_{};
  std::size_t out_bytes_ = 0;
  last_picture last_;
  // The output of the picture last_ holds, while last_ holds one.
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
  planes_.reset();
  last_.forget();
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
  long threads = default_threads();
  GetSetting(kPropertyThreads, &threads);
  if (threads < 1) return Result(kResultInvalidArgument);

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
  graph_ = build_graph(src, dst, params, &tmp_);
  if (!graph_) return Result(kResultUnsupportedFormat);
  if (threads > 1) {
    planes_ = build_plane_graphs(src, dst, params);
    if (!planes_) {
      graph_.reset();
      return Result(kResultUnsupportedFormat);
    }
    try {
      if (!worker_) worker_ = std::make_unique<side_worker>();
    } catch (const std::system_error&) {
      planes_.reset();  // no thread to be had: the whole picture on the caller's
    }
  } else {
    worker_.reset();
  }

  layout_ = *layout;
  in_width_ = input->GetWidth();
  in_height_ = input->GetHeight();
  out_width_ = width;
  out_height_ = height;
  last_.reset(layout_, static_cast<std::size_t>(in_width_), static_cast<std::size_t>(in_height_));
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

  // A repeated picture shares the block of its first showing: outputs are read only.
  RObject<CByteArray> block;
  if (spare_ && last_.same_as(lock.GetData(), in_planes)) {
    block = spare_;
  } else {
    block = output_block();
    if (const Result scaled = scale(lock.GetData(), in_planes, block->GetData()); scaled.Failed()) {
      last_.forget();
      return scaled;
    }
    last_.held();
  }

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

Result zimg_video_converter::scale(const uint8_t* in, const plane_offsets& in_planes,
                                   uint8_t* out) {
  zimg_image_buffer_const src;
  zimg_image_buffer dst;
  src.version = dst.version = ZIMG_API_VERSION;
  for (int p = 0; p < 4; ++p) {
    const bool used = p < 3;
    src.plane[p].data = used ? last_.plane(p) : nullptr;
    src.plane[p].stride = used ? static_cast<ptrdiff_t>(last_.stride(p)) : 0;
    src.plane[p].mask = ZIMG_BUFFER_MAX;
    dst.plane[p].data = used ? out + out_planes_.plane[p] : nullptr;
    dst.plane[p].stride = used ? static_cast<ptrdiff_t>(out_planes_.stride[p]) : 0;
    dst.plane[p].mask = ZIMG_BUFFER_MAX;
  }
  if (planes_) return scale_planes(in, in_planes, src, dst);
  for (int p = 0; p < 3; ++p) last_.copy_plane(p, in, in_planes);
  return process(graph_.get(), src, dst, tmp_.get());
}

Result zimg_video_converter::scale_planes(const uint8_t* in, const plane_offsets& in_planes,
                                          const zimg_image_buffer_const& src,
                                          const zimg_image_buffer& dst) {
  const auto plane = [&src, &dst](int p) {
    std::pair<zimg_image_buffer_const, zimg_image_buffer> one{src, dst};
    one.first.plane[0] = src.plane[p];
    one.second.plane[0] = dst.plane[p];
    return one;
  };
  // Luma is two thirds of a 4:2:0 picture and half of a 4:2:2 one: the helper takes it,
  // its copy into last_ included.
  Result luma(kResultOk);
  const auto luma_buffers = plane(0);
  worker_->start([&] {
    last_.copy_plane(0, in, in_planes);
    luma = process(planes_->luma.get(), luma_buffers.first, luma_buffers.second,
                   planes_->luma_tmp.get());
  });
  Result chroma(kResultOk);
  for (int p = 1; p < 3 && !chroma.Failed(); ++p) {
    last_.copy_plane(p, in, in_planes);
    const auto buffers = plane(p);
    chroma = process(planes_->chroma.get(), buffers.first, buffers.second,
                     planes_->chroma_tmp.get());
  }
  worker_->wait();
  return luma.Failed() ? luma : chroma;
}

}  // namespace

CVideoConverter* CreateZimgVideoConverter() { return new zimg_video_converter(); }

}  // namespace Quorvane::Orrin
