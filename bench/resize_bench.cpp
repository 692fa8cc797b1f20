// Frames per second of the resizer on HD jobs, beside a direct zimg call of the same
// scaling in the same run:
//   Resize/converter/...   the converter path (media library on zimg, bicubic b=0 c=0.5)
//   Resize/own_<filter>/... the own separable scaler (cubic is Catmull-Rom, a = -0.5)
//   Zimg/<cpu>/...         zimg alone, graph and buffers prepared outside the loop;
//                          auto64 is the converter's CPU setting, auto stays on AVX2
// Jobs: 1280x720 <-> 1920x1080, "IYUV" (code 1) and "Y22P" (code 3). The input is a
// plain vector, as a caller's frame would be; zimg gets 64-byte-aligned planes.
// Compare medians (interleaved runs, since the machine is shared):
//   build/release/bin/resize_bench --benchmark_repetitions=9
//     --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true

#include <benchmark/benchmark.h>
#include <zimg.h>

#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "filter/video/resize/kx_resize.h"

namespace {

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

std::size_t frame_bytes(uint32_t w, uint32_t h, unsigned shift_y) {
  return std::size_t{w} * h + 2 * std::size_t{w / 2} * (h >> shift_y);
}

// A smooth picture, so that the work is that of real video rather than of noise.
std::vector<uint8_t> test_frame(uint32_t w, uint32_t h, unsigned shift_y) {
  std::vector<uint8_t> frame(frame_bytes(w, h, shift_y));
  std::size_t i = 0;
  for (int p = 0; p < 3; ++p) {
    const uint32_t pw = p == 0 ? w : w / 2;
    const uint32_t ph = p == 0 ? h : h >> shift_y;
    for (uint32_t y = 0; y < ph; ++y) {
      for (uint32_t x = 0; x < pw; ++x) {
        frame[i++] = static_cast<uint8_t>(128 + 90 * std::sin(x / 29.0 + p) * std::cos(y / 17.0));
      }
    }
  }
  return frame;
}

struct resizer_deleter {
  void operator()(ns_video_resize::kx_resize* r) const { ns_video_resize::destroy_video_resize(r); }
};

// filter 0 takes the converter path for these formats.
void resize(benchmark::State& state, job j, format f, uint32_t filter) {
  std::unique_ptr<ns_video_resize::kx_resize, resizer_deleter> r(
      ns_video_resize::create_video_resize(static_cast<int32_t>(f.code)));
  if (r->configure(j.dst_width, j.dst_height, j.src_width, j.src_height, f.code, 0, 0, 0, 0, 0, 0,
                   0, 0, 0, -0.5f, filter, 0, 0, 0) != 1) {
    state.SkipWithError("configure failed");
    return;
  }
  const std::vector<uint8_t> in = test_frame(j.src_width, j.src_height, f.chroma_shift_y);
  std::vector<uint8_t> out(r->frame_bytes());
  uint32_t out_bytes = 0;
  for (auto _ : state) {
    if (r->process(static_cast<uint32_t>(in.size()), in.data(), &out_bytes, out.data()) != 1) {
      state.SkipWithError("process failed");
      break;
    }
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.counters["fps"] =
      benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

struct aligned_delete {
  void operator()(uint8_t* p) const { ::operator delete(p, std::align_val_t{64}); }
};
using aligned_bytes = std::unique_ptr<uint8_t, aligned_delete>;
aligned_bytes allocate(std::size_t n) {
  return aligned_bytes(static_cast<uint8_t*>(::operator new(n, std::align_val_t{64})));
}

zimg_image_format picture(uint32_t w, uint32_t h, unsigned shift_y) {
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
void direct_zimg(benchmark::State& state, job j, format f, zimg_cpu_type_e cpu) {
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

const bool registered = [] {
  for (const job& j : kJobs) {
    for (const format& f : kFormats) {
      const std::string suffix = std::string("/") + j.name + "/" + f.name;
      const auto ms = benchmark::kMillisecond;
      benchmark::RegisterBenchmark(("Zimg/auto64" + suffix).c_str(), direct_zimg, j, f,
                                   ZIMG_CPU_AUTO_64B)
          ->Unit(ms);
      benchmark::RegisterBenchmark(("Zimg/auto" + suffix).c_str(), direct_zimg, j, f, ZIMG_CPU_AUTO)
          ->Unit(ms);
      benchmark::RegisterBenchmark(("Resize/converter" + suffix).c_str(), resize, j, f, 0u)
          ->Unit(ms);
      benchmark::RegisterBenchmark(("Resize/own_bilinear" + suffix).c_str(), resize, j, f, 1u)
          ->Unit(ms);
      benchmark::RegisterBenchmark(("Resize/own_cubic" + suffix).c_str(), resize, j, f, 2u)
          ->Unit(ms);
      benchmark::RegisterBenchmark(("Resize/own_nearest" + suffix).c_str(), resize, j, f, 4u)
          ->Unit(ms);
    }
  }
  return true;
}();

}  // namespace

BENCHMARK_MAIN();
