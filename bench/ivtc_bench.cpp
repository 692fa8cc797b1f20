// Inverse telecine throughput (push+pop, 8-bit 4:2:0) on a 2:3 pulldown of moving
// film made by the converter's own telecine method.
//
//   bench/ivtc_vs_ffmpeg.sh <build dir>       runs this beside ffmpeg's fieldmatch+decimate
//   <build>/bin/ivtc_bench                     this benchmark alone
//   <build>/bin/ivtc_bench --dump-input=FILE --frames=N
//       writes N telecined 1920x1080 pictures as raw yuv420p instead (the same input
//       for ffmpeg) and exits.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "filter/video/framerate/framerate_filter.h"
#include "filter/video/framerate/picture_layout.h"
#include "framerate_records.h"

namespace {

using namespace ns_video_framerate;
using namespace framerate_bench;

constexpr double film_rate = 24000.0 / 1001, video_rate = 30000.0 / 1001;

// A smooth texture, sampled at (x + 3t, y + 2t) for film picture t so that both
// fields move between pictures.
class film_source {
public:
  film_source() : texture_(size * size) {
    for (uint32_t y = 0; y < size; ++y)
      for (uint32_t x = 0; x < size; ++x) {
        const double s = 0.5 + 0.3 * std::sin(0.21 * x) + 0.18 * std::cos(0.17 * y + 0.05 * x);
        texture_[y * size + x] = static_cast<uint8_t>(s * 255 + 0.5);
      }
  }

  framerate_frame* picture(const picture_layout& l, uint32_t t) const {
    framerate_frame* f = new_record(l.bytes());
    fill(f->data, l.width, l.height, 3 * t, 2 * t);
    for (int plane = 0; plane < 2; ++plane)
      fill(f->data + l.luma_samples() + plane * l.chroma_samples(), l.chroma_width, l.chroma_height,
           3 * t / 2 + 500 * (plane + 1), t);
    f->duration = 1 / film_rate;
    f->play_time = f->decode_time = t / film_rate;
    f->sequence = t;
    return f;
  }

private:
  static constexpr uint32_t size = 2048;  // power of two: coordinates wrap with a mask

  void fill(uint8_t* plane, uint32_t w, uint32_t h, uint32_t dx, uint32_t dy) const {
    for (uint32_t y = 0; y < h; ++y)
      for (uint32_t x = 0; x < w; ++x)
        plane[size_t{y} * w + x] = texture_[((y + dy) & (size - 1)) * size + ((x + dx) & (size - 1))];
  }

  std::vector<uint8_t> texture_;
};

// Telecines `film_count` film pictures; returns the video pictures in order.
std::vector<framerate_frame*> telecine(uint32_t width, uint32_t height, uint32_t film_count) {
  const picture_layout l = layout_of(0, width, height);
  const film_source film;
  framerate_filter* conv = create_framerate_filter(0);
  framerate_params p = params(film_rate, video_rate, 0, width, height);
  conv->configure(p);
  std::vector<framerate_frame*> video;
  for (uint32_t t = 0; t <= film_count; ++t) {
    conv->push_frame(t < film_count ? film.picture(l, t) : nullptr);
    while (framerate_frame* f = conv->pop_frame()) video.push_back(f);
  }
  destroy_framerate_filter(conv);
  return video;
}

// Cycles through a telecined clip; copying each picture into a fresh record (what a
// host does before push_frame) is kept out of the timing.
void inverse_telecine(benchmark::State& state, uint32_t width, uint32_t height) {
  const std::vector<framerate_frame*> video = telecine(width, height, 32);
  framerate_filter* conv = create_framerate_filter(0);
  framerate_params p = params(video_rate, film_rate, 0, width, height);
  p.field_order = 2;
  p.adaptive_ivtc = true;
  if (conv->configure(p) != 0) state.SkipWithError("configure refused the block");
  uint64_t pushed = 0, produced = 0;
  for (auto _ : state) {
    state.PauseTiming();
    const framerate_frame& src = *video[pushed % video.size()];
    framerate_frame* f = new_record(src.size);
    std::memcpy(f->data, src.data, src.size);
    f->duration = 1 / video_rate;
    f->play_time = f->decode_time = pushed / video_rate;
    f->sequence = pushed++;
    state.ResumeTiming();
    conv->push_frame(f);
    while (framerate_frame* out = conv->pop_frame()) {
      free_record(out);
      ++produced;
    }
  }
  destroy_framerate_filter(conv);
  for (framerate_frame* f : video) free_record(f);
  state.counters["frames_per_s"] = benchmark::Counter(static_cast<double>(pushed), benchmark::Counter::kIsRate);
  state.counters["out_per_in"] = pushed ? static_cast<double>(produced) / pushed : 0.0;
}

// --dump-input: the 1080p telecined pictures as raw yuv420p.
int dump_input(const char* path, uint32_t frames) {
  FILE* out = std::strcmp(path, "-") == 0 ? stdout : std::fopen(path, "wb");
  if (!out) {
    std::fprintf(stderr, "ivtc_bench: cannot write '%s'\n", path);
    return 1;
  }
  const std::vector<framerate_frame*> video = telecine(1920, 1080, (frames + 4) / 5 * 4);
  bool ok = true;
  for (uint32_t i = 0; i < frames && i < video.size(); ++i)
    ok = ok && std::fwrite(video[i]->data, video[i]->size, 1, out) == 1;
  for (framerate_frame* f : video) free_record(f);
  ok = (out == stdout ? std::fflush(out) : std::fclose(out)) == 0 && ok;
  if (!ok) std::fprintf(stderr, "ivtc_bench: writing '%s' failed\n", path);
  return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string dump = "--dump-input=", count = "--frames=";
  const char* dump_path = nullptr;
  long frames = 300;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    if (a.rfind(dump, 0) == 0) dump_path = argv[i] + dump.size();
    if (a.rfind(count, 0) == 0) frames = std::strtol(argv[i] + count.size(), nullptr, 10);
  }
  if (dump_path) {
    if (frames <= 0 || frames > 100000) {
      std::fprintf(stderr, "ivtc_bench: --frames wants 1 to 100000 pictures\n");
      return 1;
    }
    return dump_input(dump_path, static_cast<uint32_t>(frames));
  }
  benchmark::RegisterBenchmark("ivtc/1920x1080", inverse_telecine, 1920u, 1080u);
  benchmark::RegisterBenchmark("ivtc/720x480", inverse_telecine, 720u, 480u);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
