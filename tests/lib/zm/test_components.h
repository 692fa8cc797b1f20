#pragma once
// Components for the graph tests: a source of numbered frames, a filter that passes
// one input through, and a sink that records what it reads.

#include "base/RBuffer.h"
#include "zm/ZMComponent.h"

#include <cstdint>
#include <limits>
#include <vector>

namespace zm_test {

using namespace KX::ZM;

constexpr uint32_t kEndless = std::numeric_limits<uint32_t>::max();

// Frame n has sequence n. Configuration "fail_at" throws before that frame.
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
    KX::RPtr<RVideoFrame> frame = RVideoFrame::createWithData(makeFourCC("IYUV"), 0, nullptr, 0, KX::kCopy);
    frame->setSequence(next);
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

// Records the sequence number and the "alpha" byte (-1 for none) of each frame read
// from input 0. Read them after the join.
class CollectingSink : public RSink {
public:
  int configure(const RComponentConfiguration&) override { return 0; }
  bool process() override {
    KX::RPtr<RFrame> frame = inReaders[0]->nextFrame();
    if (!frame) return false;
    sequences.push_back(frame->getSequence());
    auto* alpha = dynamic_cast<const KX::RBuffer*>(frame->getParameter("alpha").get());
    alphas.push_back(alpha != nullptr ? (*alpha)[0] : -1);
    return true;
  }
  std::vector<uint32_t> sequences;
  std::vector<int> alphas;
};

inline std::vector<uint32_t> iota(uint32_t n) {
  std::vector<uint32_t> v(n);
  for (uint32_t i = 0; i < n; ++i) v[i] = i;
  return v;
}

}  // namespace zm_test
