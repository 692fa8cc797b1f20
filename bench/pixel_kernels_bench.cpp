// Every pixel kernel at every distinct level this processor runs, on a 1920-sample
// row (cache-resident) and a 1920x1080 plane, in samples per second. Beside each
// kernel, "<kernel>/memcpy/<size>" copies as many bytes as the kernel reads and
// writes (half of them read, half written), the floor a kernel of that size can
// approach. Buffers start on 64-byte boundaries, as line buffers from
// aligned_alloc_64 do. scripts/bench-pixel-kernels.sh prints the median ratios.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "pixel_kernels/dispatch/cpu_features.h"
#include "pixel_kernels/dispatch/tables.h"

namespace {

using namespace ns_pixel_kernels;

const char* const level_names[kVariantCount] = {"generic", "sse3",  "ssse3", "ssse3_movbe",
                                                "sse41",   "avx",   "avx2"};

struct size_case {
  const char* name;
  int32_t width, height;
};
constexpr size_case sizes[] = {{"row", 1920, 1}, {"plane", 1920, 1080}};

template <class T>
struct aligned_64 {
  using value_type = T;
  aligned_64() = default;
  template <class U>
  aligned_64(const aligned_64<U>&) {}
  T* allocate(size_t n) {
    void* p = std::aligned_alloc(64, (n * sizeof(T) + 63) / 64 * 64);
    if (p == nullptr) throw std::bad_alloc();
    return static_cast<T*>(p);
  }
  void deallocate(T* p, size_t) { std::free(p); }
  bool operator==(const aligned_64&) const { return true; }
};
template <class T>
using aligned_vector = std::vector<T, aligned_64<T>>;

template <class T>
aligned_vector<T> random_samples(size_t n, uint64_t seed) {
  std::mt19937_64 rng(seed);
  aligned_vector<T> v(n);
  for (T& x : v) {
    if constexpr (sizeof(T) == 4) {
      x = static_cast<T>(std::uniform_real_distribution<float>(0.0f, 255.0f)(rng));
    } else {
      x = static_cast<T>(rng());
    }
  }
  return v;
}

// Registers `name/<level>/<size>` for each distinct supported slot of `table`, and
// the memcpy reference for `bytes_moved` (read + written) bytes.
template <class Fn, class Run>
void register_kernel(const std::string& name, const dispatch_table<Fn>& table, uint64_t features,
                     size_case size, int64_t samples, int64_t bytes_moved, Run run) {
  for (int i = 0; i < kVariantCount; ++i) {
    bool repeat = false;
    for (int j = 0; j < i; ++j) repeat = repeat || table[j] == table[i];
    if (repeat || !variant_supported(features, i)) continue;
    Fn* fn = table[i];
    benchmark::RegisterBenchmark((name + "/" + level_names[i] + "/" + size.name).c_str(),
                                 [=](benchmark::State& state) {
                                   for (auto _ : state) {
                                     benchmark::DoNotOptimize(run(fn));
                                     benchmark::ClobberMemory();
                                   }
                                   state.SetItemsProcessed(state.iterations() * samples);
                                   state.SetBytesProcessed(state.iterations() * bytes_moved);
                                 });
  }
  const size_t half = static_cast<size_t>(bytes_moved / 2);
  benchmark::RegisterBenchmark((name + "/memcpy/" + size.name).c_str(), [=](benchmark::State& state) {
    aligned_vector<unsigned char> from(half, 1), to(half);
    for (auto _ : state) {
      std::memcpy(to.data(), from.data(), half);
      benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * samples);
    state.SetBytesProcessed(state.iterations() * bytes_moved);
  });
}

// Buffers live for the whole run; the lambdas hold them by shared pointer.
template <class T>
std::shared_ptr<aligned_vector<T>> shared_samples(size_t n, uint64_t seed) {
  return std::make_shared<aligned_vector<T>>(random_samples<T>(n, seed));
}

void register_row_kernels(uint64_t f, size_case s) {
  const size_t n = static_cast<size_t>(s.width) * s.height;
  const auto len = static_cast<int32_t>(n);
  const int64_t samples = len;
  auto u8 = shared_samples<uint8_t>(n, 1);
  auto u16 = shared_samples<uint16_t>(n, 2);
  auto f1 = shared_samples<float>(n, 3), f2 = shared_samples<float>(n, 4);
  auto fout = shared_samples<float>(n, 5);
  auto u8out = shared_samples<uint8_t>(n, 6);
  register_kernel("convert_u8_to_f32", convert_u8_to_f32_table, f, s, samples, samples * 5,
                  [=](convert_u8_to_f32_fn* fn) { return fn(u8->data(), fout->data(), len); });
  register_kernel("convert_u16_to_f32", convert_u16_to_f32_table, f, s, samples, samples * 6,
                  [=](convert_u16_to_f32_fn* fn) { return fn(u16->data(), fout->data(), len); });
  register_kernel("convert_f32_to_u8", convert_f32_to_u8_table, f, s, samples, samples * 5,
                  [=](convert_f32_to_u8_fn* fn) { return fn(f1->data(), u8out->data(), len, round_nearest, 0); });
  register_kernel("multiply_by_constant_f32", multiply_by_constant_f32_table, f, s, samples, samples * 8,
                  [=](multiply_by_constant_f32_fn* fn) { return fn(f1->data(), 0.375f, fout->data(), len); });
  register_kernel("add_f32", add_f32_table, f, s, samples, samples * 12,
                  [=](add_f32_fn* fn) { return fn(f1->data(), f2->data(), fout->data(), len); });
  register_kernel("multiply_f32", multiply_f32_table, f, s, samples, samples * 12,
                  [=](multiply_f32_fn* fn) { return fn(f1->data(), f2->data(), fout->data(), len); });
}

// Four taps, as the cubic filter has: rows one row apart in a plane three rows taller
// than the size, so that the taps overlap as an output row's do.
void register_weighted_rows(uint64_t f, size_case s) {
  const size_t n = static_cast<size_t>(s.width) * s.height;
  const auto len = static_cast<int32_t>(n);
  auto plane = shared_samples<float>(n + 3 * static_cast<size_t>(s.width), 9);
  auto u8out = shared_samples<uint8_t>(n, 10);
  auto u16out = shared_samples<uint16_t>(n, 11);
  // Held by the lambdas with the plane they point into.
  struct taps {
    std::shared_ptr<aligned_vector<float>> plane;
    const float* rows[4];
    float weights[4] = {-0.0703125f, 0.8671875f, 0.2265625f, -0.0234375f};
  };
  auto t = std::make_shared<taps>(taps{plane, {}});
  for (int32_t k = 0; k < 4; ++k) t->rows[k] = plane->data() + k * s.width;
  const int64_t samples = len;
  register_kernel("weighted_rows_f32_to_u8", weighted_rows_f32_to_u8_table, f, s, samples, samples * 17,
                  [=](weighted_rows_f32_to_u8_fn* fn) { return fn(t->rows, t->weights, 4, u8out->data(), len); });
  register_kernel("weighted_rows_f32_to_u16", weighted_rows_f32_to_u16_table, f, s, samples, samples * 18,
                  [=](weighted_rows_f32_to_u16_fn* fn) { return fn(t->rows, t->weights, 4, u16out->data(), len); });
}

// The region is the size's full width and height; the source plane adds the
// 2-sample ring that both masks may read.
template <class T, class Fn>
void register_gauss(const std::string& name, const dispatch_table<Fn>& table, uint64_t f, size_case s) {
  const int32_t cols = s.width + 4, rows = s.height + 4;
  auto plane = shared_samples<T>(static_cast<size_t>(cols) * rows, 7);
  auto out = shared_samples<T>(static_cast<size_t>(s.width) * s.height, 8);
  const int64_t samples = int64_t{s.width} * s.height;
  const int64_t bytes = samples * 2 * static_cast<int64_t>(sizeof(T));
  for (int32_t mask : {mask_3x3, mask_5x5}) {
    const std::string full = name + (mask == mask_3x3 ? "_3x3" : "_5x5");
    register_kernel(full, table, f, s, samples, bytes, [=](Fn* fn) {
      return fn(plane->data() + 2 * cols + 2, cols * static_cast<int32_t>(sizeof(T)), out->data(),
                s.width * static_cast<int32_t>(sizeof(T)), pixel_size{s.width, s.height}, mask);
    });
  }
}

}  // namespace

int main(int argc, char** argv) {
  const uint64_t features = decode_features(read_cpu_snapshot());
  for (size_case s : sizes) {
    register_row_kernels(features, s);
    register_weighted_rows(features, s);
    register_gauss<uint8_t>("gauss_filter_u8", gauss_filter_u8_table, features, s);
    register_gauss<uint16_t>("gauss_filter_u16", gauss_filter_u16_table, features, s);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
