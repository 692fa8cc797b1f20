// Frames per second of the resizer on HD jobs, beside a direct zimg call of the same
// scaling in the same run:
//   Resize/converter/...   the converter path (media library on zimg, bicubic b=0 c=0.5)
//   Converter/threads:N/... the media library's converter alone, on 1 or 2 threads
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

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "filter/video/resize/kx_resize.h"
#include "scaling_jobs.h"

namespace {

using namespace scaling_jobs;

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
  // Two pictures alternate: the converter does not scale a repeated picture again.
  const std::vector<uint8_t> in[2] = {test_frame(j.src_width, j.src_height, f.chroma_shift_y, 0),
                                      test_frame(j.src_width, j.src_height, f.chroma_shift_y, 1)};
  std::vector<uint8_t> out(r->frame_bytes());
  uint32_t out_bytes = 0;
  int k = 0;
  for (auto _ : state) {
    const std::vector<uint8_t>& picture = in[k ^= 1];
    if (r->process(static_cast<uint32_t>(picture.size()), picture.data(), &out_bytes, out.data()) != 1) {
      state.SkipWithError("process failed");
      break;
    }
    benchmark::DoNotOptimize(out.data());
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
      register_beside_zimg("", j, f);
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
