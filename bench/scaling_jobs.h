#pragma once
// Shared by resize_bench and filter_bench: the HD scaling jobs, their test pictures,
// and the scaling done by zimg alone and by the media library's converter, so that
// both programs put the converter's threads beside zimg in the same run.

#include <benchmark/benchmark.h>
#include <zimg.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "orrin/component_inventory.h"
#include "orrin/picture_format.h"
#include "orrin/video_converter.h"

namespace scaling_jobs {

struct job {
  const char* name;
  uint32_t src_width, src_height, dst_width, dst_height;
};
constexpr job kJobs[] = {{"720p_to_1080p", 1280, 720, 1920, 1080},
                         {"1080p_to_720p", 1920, 1080, 1280, 720}};

struct format {
  const char* name;
  uint32_t code;
  unsigned chroma_shift_y;
};
constexpr format kFormats[] = {{"IYUV", 1, 1}, {"Y22P", 3, 0}};

inline std::size_t frame_bytes(uint32_t w, uint32_t h, unsigned shift_y) {
  return std::size_t{w} * h + 2 * std::size_t{w / 2} * (h >> shift_y);
}

// A smooth picture, so that the work is that of real video rather than of noise;
// another phase gives another picture of the same kind.
inline std::vector<uint8_t> test_frame(uint32_t w, uint32_t h, unsigned shift_y, int phase = 0) {
  std::vector<uint8_t> frame(frame_bytes(w, h, shift_y));
  std::size_t i = 0;
  for (int p = 0; p < 3; ++p) {
    const uint32_t pw = p == 0 ? w : w / 2;
    const uint32_t ph = p == 0 ? h : h >> shift_y;
    for (uint32_t y = 0; y < ph; ++y) {
      for (uint32_t x = 0; x < pw; ++x) {
        frame[i++] = static_cast<uint8_t>(128 + 90 * std::sin(x / 29.0 + p + phase) * std::cos(y / 17.0));
      }
    }
  }
  return frame;
}

struct aligned_delete {
  void operator()(uint8_t* p) const { ::operator delete(p, std::align_val_t{64}); }
};
using aligned_bytes = std::unique_ptr<uint8_t, aligned_delete>;
inline aligned_bytes allocate(std::size_t n) {
  return aligned_bytes(static_cast<uint8_t*>(::operator new(n, std::align_val_t{64})));
}

inline zimg_image_format picture(uint32_t w, uint32_t h, unsigned shift_y) {
  zimg_image_format fmt;
  zimg_image_format_default(&fmt, ZIMG_API_VERSION);
  fmt.width = w;
  fmt.height = h;
  fmt.pixel_type = ZIMG_PIXEL_BYTE;
  fmt.subsample_w = 1;
  fmt.subsample_h = shift_y;
  fmt.color_family = ZIMG_COLOR_YUV;
  fmt.pixel_range = ZIMG_RANGE_LIMITED;
  fmt.chroma_location = ZIMG_CHROMA_LEFT;
  return fmt;
}

// The same scaling as the converter, straight on zimg with packed 64-byte-aligned
// planes (all strides here are multiples of 64).
inline void direct_zimg(benchmark::State& state, job j, format f, zimg_cpu_type_e cpu) {
  zimg_graph_builder_params params;
  zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
  params.resample_filter = params.resample_filter_uv = ZIMG_RESIZE_BICUBIC;
  params.filter_param_a = params.filter_param_a_uv = 0.0;
  params.filter_param_b = params.filter_param_b_uv = 0.5;
  params.cpu_type = cpu;
  const zimg_image_format src = picture(j.src_width, j.src_height, f.chroma_shift_y);
  const zimg_image_format dst = picture(j.dst_width, j.dst_height, f.chroma_shift_y);
  std::unique_ptr<zimg_filter_graph, void (*)(zimg_filter_graph*)> graph(
      zimg_filter_graph_build(&src, &dst, &params), zimg_filter_graph_free);
  std::size_t tmp_size = 0;
  if (!graph || zimg_filter_graph_get_tmp_size(graph.get(), &tmp_size) != ZIMG_ERROR_SUCCESS) {
    state.SkipWithError("zimg graph");
    return;
  }
  const std::vector<uint8_t> frame = test_frame(j.src_width, j.src_height, f.chroma_shift_y);
  aligned_bytes in = allocate(frame.size());
  std::copy(frame.begin(), frame.end(), in.get());
  aligned_bytes out = allocate(frame_bytes(j.dst_width, j.dst_height, f.chroma_shift_y));
  aligned_bytes tmp = allocate(tmp_size);

  zimg_image_buffer_const in_buffer{};
  zimg_image_buffer out_buffer{};
  in_buffer.version = out_buffer.version = ZIMG_API_VERSION;
  std::size_t in_offset = 0, out_offset = 0;
  for (int p = 0; p < 3; ++p) {
    const uint32_t in_w = p == 0 ? j.src_width : j.src_width / 2;
    const uint32_t in_h = p == 0 ? j.src_height : j.src_height >> f.chroma_shift_y;
    const uint32_t out_w = p == 0 ? j.dst_width : j.dst_width / 2;
    const uint32_t out_h = p == 0 ? j.dst_height : j.dst_height >> f.chroma_shift_y;
    in_buffer.plane[p] = {in.get() + in_offset, static_cast<ptrdiff_t>(in_w), ZIMG_BUFFER_MAX};
    out_buffer.plane[p] = {out.get() + out_offset, static_cast<ptrdiff_t>(out_w), ZIMG_BUFFER_MAX};
    in_offset += std::size_t{in_w} * in_h;
    out_offset += std::size_t{out_w} * out_h;
  }
  for (auto _ : state) {
    if (zimg_filter_graph_process(graph.get(), &in_buffer, &out_buffer, tmp.get(), nullptr, nullptr,
                                  nullptr, nullptr) != ZIMG_ERROR_SUCCESS) {
      state.SkipWithError("zimg process");
      break;
    }
    benchmark::DoNotOptimize(out.get());
    benchmark::ClobberMemory();
  }
  state.counters["fps"] =
      benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

// The media library's converter with `threads` threads, the input a plain vector as a
// caller's frame would be. Two pictures alternate: a repeated picture is not scaled.
inline void converter(benchmark::State& state, job j, format f, long threads) {
  namespace orrin = Quorvane::Orrin;
  orrin::AddKestrelleComponentDependencies();
  orrin::RObject<orrin::CVideoConverter> converter(
      orrin::CComponentInventory<orrin::CComponentFactory<orrin::CVideoConverter>>::CreateInstance(
          orrin::kVideoConverterType));
  orrin::RObject<orrin::CVideoProperties> in(new orrin::CVideoProperties(nullptr));
  in->SetFormat(f.chroma_shift_y == 1 ? orrin::kFourccI420 : orrin::kFourccI422, orrin::kVideoStreamContext);
  in->SetWidth(j.src_width, orrin::kVideoStreamContext);
  in->SetHeight(j.src_height, orrin::kVideoStreamContext);
  converter->SetProperty(orrin::kPropertyTargetWidth, static_cast<long>(j.dst_width));
  converter->SetProperty(orrin::kPropertyTargetHeight, static_cast<long>(j.dst_height));
  converter->SetProperty(orrin::kPropertyThreads, threads);
  converter->SetInputProperties(in.Get());
  if (converter->Prepare().Failed()) {
    state.SkipWithError("Prepare failed");
    return;
  }
  std::vector<uint8_t> frames[2] = {test_frame(j.src_width, j.src_height, f.chroma_shift_y, 0),
                                    test_frame(j.src_width, j.src_height, f.chroma_shift_y, 1)};
  orrin::RObject<orrin::CVideoSample> samples[2];
  for (int k = 0; k < 2; ++k) {
    samples[k].Reset(new orrin::CVideoSample(0, 1000, 0));
    samples[k]->SetDataReference(new orrin::CPixelBufferDataReference(
        new orrin::CByteArray(frames[k].data(), frames[k].size()), j.src_width, j.src_height, j.src_width));
  }
  int k = 0;
  for (auto _ : state) {
    orrin::RObject<orrin::CVideoSample> out;
    if (converter->PutSample(samples[k].Get()).Failed() || converter->GetSample(out).Failed()) {
      state.SkipWithError("conversion failed");
      break;
    }
    benchmark::DoNotOptimize(out.Get());
    k ^= 1;
  }
  state.counters["fps"] =
      benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

// Direct zimg and the converter on one and on two threads, for one job.
inline void register_beside_zimg(const std::string& prefix, job j, format f) {
  const std::string suffix = std::string("/") + j.name + "/" + f.name;
  benchmark::RegisterBenchmark((prefix + "Zimg/auto64" + suffix).c_str(), direct_zimg, j, f, ZIMG_CPU_AUTO_64B)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  for (long threads : {1L, 2L}) {
    benchmark::RegisterBenchmark((prefix + "Converter/threads:" + std::to_string(threads) + suffix).c_str(),
                                 converter, j, f, threads)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
  }
}

}  // namespace scaling_jobs
