// The plug-in end to end, no file I/O: a 25 fps 1280x720 intro (1 s), a 30000/1001
// fps 1920x1080 main source (1 s) and a 24 fps 1280x720 outro (1 s) through a graph of
// source, filter and sink threads; items are output frames. Beside it, the parts a
// clip frame passes through, each on its own and for the same clips, so that their
// share of the splice's time can be read off: frame-rate conversion of each clip,
// one picture resized, and the two picture copies (into the converter's record, out
// of the resizer's buffer), and the scaling alone by zimg and by the converter on one
// and on two threads.
//
//   build/<dir>/bin/filter_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true

#include "filter/video/framerate/framerate_filter.h"
#include "filter/video/resize/kx_resize.h"
#include "scaling_jobs.h"
#include "zm/ZMFourCC.h"
#include "zm/ZMGraph.h"

#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace KX::ZM;
using KX::RPtr;

struct clip {
  const char* queue;
  uint32_t width, height;
  double rate;
  uint32_t frames;
};
constexpr clip kIntro{"intro", 1280, 720, 25.0, 25};
constexpr clip kMain{"main", 1920, 1080, 30000.0 / 1001.0, 30};
constexpr clip kOutro{"outro", 1280, 720, 24.0, 24};

uint32_t iyuv_bytes(uint32_t width, uint32_t height) { return width * height * 3 / 2; }

// Every frame another picture, as in real video: only the repeats the frame-rate
// conversion makes are the same picture again.
std::vector<RPtr<RVideoFrame>> make_frames(const clip& c) {
  std::vector<uint8_t> picture(iyuv_bytes(c.width, c.height));
  std::vector<RPtr<RVideoFrame>> frames;
  for (uint32_t k = 0; k < c.frames; ++k) {
    for (size_t i = 0; i < picture.size(); ++i) picture[i] = static_cast<uint8_t>(i * 13 + (i >> 11) + k);
    frames.push_back(RVideoFrame::createWithData(makeFourCC("IYUV"), static_cast<uint32_t>(picture.size()),
                                                 picture.data(), 0, KX::kCopy));
    frames.back()->setPlayTime(KX::CTimeStamp::createWithSeconds(k / c.rate));
    frames.back()->setDuration(KX::CTimeStamp::createWithSeconds(1.0 / c.rate));
  }
  return frames;
}

class Source final : public RSource {
public:
  Source(const clip& c, const std::vector<RPtr<RVideoFrame>>& frames) : c(c), frames(frames) {}
  int configure(const RComponentConfiguration&) override {
    outWriters[0]->setDescription(new RVideoDescription(c.width, c.height, c.rate));
    return 0;
  }
  bool process() override {
    if (next == frames.size()) return false;
    outWriters[0]->put(frames[next++]);
    return true;
  }

private:
  const clip& c;
  const std::vector<RPtr<RVideoFrame>>& frames;
  size_t next = 0;
};

class Sink final : public RSink {
public:
  int configure(const RComponentConfiguration&) override { return 0; }
  bool process() override {
    if (!inReaders[0]->nextFrame()) return false;
    ++count;
    return true;
  }
  uint64_t count = 0;
};

using factory_fn = RComponent* (*)();

factory_fn plugin_factory() {
  void* module = dlopen(INTROOUTRO_FILTER_MODULE, RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) throw std::runtime_error(dlerror());
  return reinterpret_cast<factory_fn>(dlsym(module, "getComponentInstance"));
}

void BM_Splice(benchmark::State& state) {
  static const factory_fn factory = plugin_factory();
  const std::vector<RPtr<RVideoFrame>> intro = make_frames(kIntro), main = make_frames(kMain),
                                       outro = make_frames(kOutro);
  uint64_t written = 0;
  for (auto _ : state) {
    RPtr<Sink> sink(new Sink);
    ZMGraph graph(4);
    graph.addComponent("intro source", new Source(kIntro, intro), {}, {"intro"});
    graph.addComponent("main source", new Source(kMain, main), {}, {"main"});
    graph.addComponent("outro source", new Source(kOutro, outro), {}, {"outro"});
    graph.addComponent("filter", factory(), {"intro", "main", "outro"}, {"out"},
                       new RComponentConfiguration({{"system_informat", "IYUV"}, {"system_outformat", "IYUV"}}));
    graph.addComponent("sink", sink, {"out"}, {});
    graph.run();
    written += sink->count;
  }
  state.SetItemsProcessed(static_cast<int64_t>(written));
  state.counters["frames_per_run"] = static_cast<double>(written) / static_cast<double>(state.iterations());
}
BENCHMARK(BM_Splice)->Unit(benchmark::kMillisecond)->UseRealTime();

ns_video_framerate::framerate_frame* record_of(const std::vector<uint8_t>& picture, double play, double duration) {
  auto* r = static_cast<ns_video_framerate::framerate_frame*>(std::calloc(1, sizeof(ns_video_framerate::framerate_frame)));
  r->size = static_cast<uint32_t>(picture.size());
  r->data = static_cast<uint8_t*>(std::malloc(r->size));
  std::memcpy(r->data, picture.data(), r->size);
  r->duration = duration;
  r->play_time = r->decode_time = play;
  return r;
}

// One clip second through its converter, picture copies in and frees out included
// (the record copy is also measured on its own below).
void BM_ConvertClip(benchmark::State& state, const clip& c) {
  const std::vector<uint8_t> picture(iyuv_bytes(c.width, c.height), 77);
  uint64_t produced = 0;
  for (auto _ : state) {
    ns_video_framerate::framerate_params p{};
    p.cadence_aware = true;
    p.src_rate = c.rate;
    p.dst_rate = kMain.rate;
    p.decimation = 1;
    p.width = c.width;
    p.height = c.height;
    p.adaptive_ivtc = true;
    p.keep_timecode = true;
    p.time_mode = 1000;
    ns_video_framerate::framerate_filter* converter = ns_video_framerate::create_framerate_filter(0);
    converter->configure(p);
    for (uint32_t k = 0; k < c.frames; ++k) {
      converter->push_frame(record_of(picture, k / c.rate, 1.0 / c.rate));
      while (ns_video_framerate::framerate_frame* out = converter->pop_frame()) {
        ++produced;
        std::free(out->data);
        std::free(out->alpha);
        std::free(out);
      }
    }
    ns_video_framerate::destroy_framerate_filter(converter);
  }
  state.SetItemsProcessed(static_cast<int64_t>(produced));
}
BENCHMARK_CAPTURE(BM_ConvertClip, intro_25_to_2997, kIntro)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_ConvertClip, outro_24_to_2997, kOutro)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ResizePicture(benchmark::State& state) {
  ns_video_resize::kx_resize* resize = ns_video_resize::create_video_resize(1);
  resize->configure(kMain.width, kMain.height, kIntro.width, kIntro.height, 1, 0, 0, 0, 0, 0, 0.0f, 0.0f, 0, 0, 0.0f,
                    0, 0, 0, 0);
  // Two pictures alternate: a repeated picture is not scaled again.
  const std::vector<uint8_t> in[2] = {std::vector<uint8_t>(iyuv_bytes(kIntro.width, kIntro.height), 99),
                                      std::vector<uint8_t>(iyuv_bytes(kIntro.width, kIntro.height), 98)};
  std::vector<uint8_t> out(resize->frame_bytes());
  int k = 0;
  for (auto _ : state) {
    uint32_t bytes = 0;
    const std::vector<uint8_t>& picture = in[k ^= 1];
    resize->process(static_cast<uint32_t>(picture.size()), picture.data(), &bytes, out.data());
    benchmark::DoNotOptimize(bytes);
    benchmark::ClobberMemory();
  }
  ns_video_resize::destroy_video_resize(resize);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ResizePicture)->Unit(benchmark::kMillisecond)->UseRealTime();

// The same picture scaling (a smooth test picture) by zimg alone and by the converter
// on one and on two threads.
const bool registered = [] {
  scaling_jobs::register_beside_zimg("Scale/", {"720p_to_1080p", 1280, 720, 1920, 1080}, {"IYUV", 1, 1});
  return true;
}();

// The filter's two copies per converted clip frame: the clip picture into a malloc
// record, the resized picture out of the shared buffer into its frame.
void BM_CopyPictures(benchmark::State& state) {
  const std::vector<uint8_t> clip_picture(iyuv_bytes(kIntro.width, kIntro.height), 5);
  const std::vector<uint8_t> resized(iyuv_bytes(kMain.width, kMain.height), 6);
  RPtr<RVideoFrame> frame = RVideoFrame::createWithData(makeFourCC("IYUV"), 16, nullptr, 0, KX::kCopy);
  for (auto _ : state) {
    void* record = std::malloc(clip_picture.size());
    std::memcpy(record, clip_picture.data(), clip_picture.size());
    benchmark::DoNotOptimize(record);
    std::free(record);
    frame->setData(static_cast<uint32_t>(resized.size()), resized.data(), KX::kCopy);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_CopyPictures)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
