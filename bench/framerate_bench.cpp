// Push+pop throughput of each frame-rate conversion method at 1920x1080, beside a
// plain memcpy of the same picture bytes. Run (from the repository root):
//
//   cmake --preset release -B build/release && cmake --build build/release --target framerate_bench && build/release/bin/framerate_bench --benchmark_repetitions=7 --benchmark_report_aggregates_only=true
//
// frames_per_s counts input pictures; bytes_per_second counts picture bytes the
// converter wrote into new output records (a picture's last appearance leaves in its
// own record, unwritten, and decimation writes nothing at all).
// Overhead = baseline bytes_per_second / converter bytes_per_second. Baselines:
// memcpy_ring1 copies between two cached pictures (the strictest); malloc_memcpy
// copies into a fresh malloc block as every output record must be; memcpy_ring6
// rotates through as many pictures as telecine keeps alive (five queued).
//
// glibc serves pictures above its mmap threshold with fresh mappings and trims freed
// heap tops, so every output picture would pay page faults that have nothing to do
// with the converter; main() raises both thresholds, as a long-running host would.

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "filter/video/framerate/framerate_filter.h"
#include "filter/video/framerate/picture_layout.h"
#include "framerate_records.h"

namespace {

using namespace ns_video_framerate;
using namespace framerate_bench;

constexpr uint32_t width = 1920, height = 1080;

// `fill` false leaves whatever picture the allocator hands back (usually one the
// converter just released), so that topping up the inputs does not evict the cache.
framerate_frame* new_input(size_t bytes, bool fill = true) {
  framerate_frame* f = new_record(bytes);
  for (size_t i = 0; fill && i < bytes; ++i) f->data[i] = static_cast<uint8_t>(i * 7 + (i >> 11));
  return f;
}

// Output records are recycled as later inputs, so the harness allocates only while a
// method consumes more than it produces, and that set-up is kept out of the timing.
void convert(benchmark::State& state, double src, double dst, uint32_t format) {
  const picture_layout layout = layout_of(format, width, height);
  framerate_filter* conv = create_framerate_filter(format);
  framerate_params p = params(src, dst, format, width, height);
  p.time_mode = 1000;
  if (conv->configure(p) != 0) state.SkipWithError("configure refused the block");
  std::vector<framerate_frame*> spare;
  // Each input carries its number in its first bytes; an output whose block is the
  // one that number was pushed in was passed on, not written (addresses alone
  // mislead: the allocator hands released blocks out again).
  std::array<const uint8_t*, 16> recent{};
  uint64_t pushed = 0, written = 0;
  for (auto _ : state) {
    framerate_frame* f;
    if (spare.empty()) {
      state.PauseTiming();
      f = new_input(layout.bytes(), pushed == 0);
      state.ResumeTiming();
    } else {
      f = spare.back();
      spare.pop_back();
    }
    f->duration = 1.0 / src;
    f->play_time = f->decode_time = static_cast<double>(pushed) / src;
    f->sequence = pushed;
    std::memcpy(f->data, &pushed, sizeof pushed);
    recent[pushed++ % recent.size()] = f->data;
    conv->push_frame(f);
    while (framerate_frame* out = conv->pop_frame()) {
      uint64_t tag;
      std::memcpy(&tag, out->data, sizeof tag);
      const bool passed = tag < pushed && pushed - tag <= recent.size() && recent[tag % recent.size()] == out->data;
      if (!passed) written += out->size;
      if (spare.size() < 2) spare.push_back(out);
      else free_record(out);
    }
  }
  for (framerate_frame* f : spare) free_record(f);
  destroy_framerate_filter(conv);
  state.SetBytesProcessed(static_cast<int64_t>(written));
  state.counters["frames_per_s"] = benchmark::Counter(static_cast<double>(pushed), benchmark::Counter::kIsRate);
}

// Copies one picture per iteration through rings of `depth` source and `depth`
// destination pictures. Depth 1 stays in cache; a depth like the number of pictures a
// cadence method keeps queued shows what the same copies cost once they miss it.
void copy_picture(benchmark::State& state, uint32_t format, size_t depth) {
  const size_t bytes = layout_of(format, width, height).bytes();
  std::vector<framerate_frame*> src;
  std::vector<std::vector<uint8_t>> dst;
  for (size_t i = 0; i < depth; ++i) {
    src.push_back(new_input(bytes));
    dst.emplace_back(bytes, static_cast<uint8_t>(i));
  }
  uint64_t n = 0;
  for (auto _ : state) {
    std::memcpy(dst[n % depth].data(), src[(n + depth / 2) % depth]->data, bytes);
    benchmark::DoNotOptimize(dst[n % depth].data());
    benchmark::ClobberMemory();
    ++n;
  }
  for (framerate_frame* f : src) free_record(f);
  state.SetBytesProcessed(static_cast<int64_t>(n * bytes));
  state.counters["frames_per_s"] = benchmark::Counter(static_cast<double>(n), benchmark::Counter::kIsRate);
}

// The copy every output record needs at the least: a fresh malloc block filled from
// an input, the caller keeping the last two before releasing them.
void copy_to_new_block(benchmark::State& state, uint32_t format) {
  const size_t bytes = layout_of(format, width, height).bytes();
  framerate_frame* src[2] = {new_input(bytes), new_input(bytes)};
  uint8_t* kept[2] = {nullptr, nullptr};
  uint64_t n = 0;
  for (auto _ : state) {
    auto* block = static_cast<uint8_t*>(std::malloc(bytes));
    std::memcpy(block, src[n & 1]->data, bytes);
    benchmark::DoNotOptimize(block);
    std::free(kept[n & 1]);
    kept[n & 1] = block;
    ++n;
  }
  std::free(kept[0]);
  std::free(kept[1]);
  free_record(src[0]);
  free_record(src[1]);
  state.SetBytesProcessed(static_cast<int64_t>(n * bytes));
  state.counters["frames_per_s"] = benchmark::Counter(static_cast<double>(n), benchmark::Counter::kIsRate);
}

void register_all() {
  struct method {
    const char* name;
    double src, dst;
  };
  const method methods[] = {
      {"time_grid_25_to_30", 25, 30},   {"time_grid_30_to_25", 30, 25},
      {"decimate_30_to_15", 30, 15},    {"film_to_pal_24_to_25", 24, 25},
      {"pal_to_film_25_to_24", 25, 24}, {"telecine_23976_to_2997", 23.976, 29.97},
  };
  for (uint32_t format : {0u, 1u}) {
    const std::string suffix = "/format" + std::to_string(format);
    benchmark::RegisterBenchmark(("memcpy_ring1" + suffix).c_str(), copy_picture, format, size_t{1});
    benchmark::RegisterBenchmark(("memcpy_ring6" + suffix).c_str(), copy_picture, format, size_t{6});
    benchmark::RegisterBenchmark(("malloc_memcpy" + suffix).c_str(), copy_to_new_block, format);
    for (const method& m : methods)
      benchmark::RegisterBenchmark((m.name + suffix).c_str(), convert, m.src, m.dst, format);
  }
}

}  // namespace

int main(int argc, char** argv) {
  mallopt(M_MMAP_THRESHOLD, 256 << 20);
  mallopt(M_TRIM_THRESHOLD, 512 << 20);
  register_all();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
