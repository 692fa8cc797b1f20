#pragma once
// Components for the graph tests: a source of numbered frames, a filter that passes
// one input through, and a sink that records what it reads.

#include "zm/ZMComponent.h"

#include <cstdint>
#include <limits>
#include <vector>

namespace zm_test {

using namespace KX::ZM;

constexpr uint32_t kEndless = std::numeric_limits<uint32_t>::max();

// Frame n: sequence n, play time n / 25 s, one data byte n % 256. Configuration
// "fail_at" throws before that frame.
class CountingSource : public RSource {
public:
  explicit CountingSource(uint32_t frames) : frames(frames) {}
  int configure(const RComponentConfiguration& config) override {
    failAt = config.getInteger("fail_at", -1);
    for (const auto& writer : outWriters) writer->setDescription(new RVideoDescription(4, 2, 25.0));
    return 0;
  }
  bool process() override {
    if (next == frames) return false;
    if (next == failAt) {
      throw KX::CException("KX::CException", 7, "tests/lib/zm/test_components", "CountingSource::process",
                           KX::CString::createWithFormat("source failed at frame %u", next));
    }
    const uint8_t byte = static_cast<uint8_t>(next);
    KX::RPtr<RVideoFrame> frame = RVideoFrame::createWithData(makeFourCC("IYUV"), 1, &byte, 0, KX::kCopy);
    frame->setSequence(next);
    frame->setPlayTime(KX::CTimeStamp::createWithSeconds(next / 25.0));
    for (const auto& writer : outWriters) writer->put(frame);
    ++next;
    return true;
  }

private:
  const uint32_t frames;
  uint32_t next = 0;
  int64_t failAt = -1;
};

// Copies input "input" (default 0) to output 0 until that input ends; throws before
// frame "fail_at"; runloop returns "status" (default 0).
class PassFilter : public RFilter {
public:
  int configure(const RComponentConfiguration& config) override {
    input = static_cast<int32_t>(config.getInteger("input", 0));
    failAt = config.getInteger("fail_at", -1);
    status = static_cast<int>(config.getInteger("status", 0));
    outWriters[0]->setDescription(inReaders[input]->getDescription());
    return static_cast<int>(config.getInteger("configure_result", 0));
  }
  bool process() override {
    KX::RPtr<RFrame> frame = inReaders[input]->nextFrame();
    if (!frame) return false;
    if (frame->getSequence() == failAt) {
      KX::CException::raise(__LINE__, "tests/lib/zm/test_components", "PassFilter::process", "filter failed at frame %u",
                            frame->getSequence());
    }
    outWriters[0]->put(frame);
    return true;
  }
  void flush() override {}
  int runloop(ulbase::object_refcount* argument) override {
    ZMMultipleQueueComponent::runloop(argument);
    return status;
  }

private:
  int32_t input = 0;
  int64_t failAt = -1;
  int status = 0;
};

// Records the sequence numbers read from input 0. Read `sequences` after the join.
class CollectingSink : public RSink {
public:
  int configure(const RComponentConfiguration&) override { return 0; }
  bool process() override {
    KX::RPtr<RFrame> frame = inReaders[0]->nextFrame();
    if (!frame) return false;
    sequences.push_back(frame->getSequence());
    return true;
  }
  std::vector<uint32_t> sequences;
};

inline std::vector<uint32_t> iota(uint32_t n) {
  std::vector<uint32_t> v(n);
  for (uint32_t i = 0; i < n; ++i) v[i] = i;
  return v;
}

}  // namespace zm_test
