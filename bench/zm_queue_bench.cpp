// Frame queue throughput: put() on the benchmark thread, nextFrame() on reader
// threads until the end, for 1 and 3 readers at several capacities; and the
// uncontended cost of one put and one nextFrame on a single thread.

#include "zm/RQueue.h"
#include "zm/ZMFourCC.h"

#include <benchmark/benchmark.h>

#include <thread>
#include <vector>

namespace {

using namespace KX::ZM;

KX::RPtr<RFrame> sampleFrame() {
  return RVideoFrame::createWithData(makeFourCC("IYUV"), 16, nullptr, 0, KX::kCopy);
}

void BM_PutWithReaderThreads(benchmark::State& state) {
  const auto readerCount = static_cast<int>(state.range(0));
  const auto capacity = static_cast<uint32_t>(state.range(1));
  KX::RPtr<RQueue> queue = RQueue::create("bench", capacity);
  KX::RPtr<RQFrameWriter> writer = queue->createWriter();
  std::vector<std::thread> readers;
  for (int r = 0; r < readerCount; ++r) {
    readers.emplace_back([reader = queue->createReader()] {
      while (reader->nextFrame()) {
      }
    });
  }
  const KX::RPtr<RFrame> frame = sampleFrame();
  for (auto _ : state) writer->put(frame);
  writer->end();
  for (auto& t : readers) t.join();
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PutWithReaderThreads)
    ->ArgNames({"readers", "capacity"})
    ->ArgsProduct({{1, 3}, {1, 8, 64}})
    ->UseRealTime();

void BM_PutThenNextFrameOneThread(benchmark::State& state) {
  KX::RPtr<RQueue> queue = RQueue::create("bench", 1);
  KX::RPtr<RQFrameWriter> writer = queue->createWriter();
  KX::RPtr<RQFrameReader> reader = queue->createReader();
  const KX::RPtr<RFrame> frame = sampleFrame();
  for (auto _ : state) {
    writer->put(frame);
    benchmark::DoNotOptimize(reader->nextFrame());
  }
  writer->end();
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_PutThenNextFrameOneThread);

}  // namespace

BENCHMARK_MAIN();
