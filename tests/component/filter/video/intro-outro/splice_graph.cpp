#include "splice_graph.h"

#include "zm/ZMGraph.h"

#include <dlfcn.h>

#include <cstdlib>
#include <mutex>
#include <stdexcept>

namespace introoutro_test {

namespace {

using namespace KX::ZM;

// RQFrameWriter::end calls per queue, counted by the definition below. This program
// exports it (ENABLE_EXPORTS), so it interposes libzm's for libzm and the plug-in too.
std::mutex end_mutex;
std::map<const RQueue*, uint32_t> end_calls;

RComponent* new_filter() {
  using factory_fn = RComponent* (*)();
  static const factory_fn factory = [] {
    void* module = dlopen(INTROOUTRO_FILTER_MODULE, RTLD_NOW | RTLD_LOCAL);
    void* symbol = module ? dlsym(module, "getComponentInstance") : nullptr;
    if (symbol == nullptr) throw std::runtime_error(std::string("cannot load the filter: ") + dlerror());
    return reinterpret_cast<factory_fn>(symbol);
  }();
  return factory();
}

class FrameSource final : public RSource {
public:
  explicit FrameSource(const clip_input& input) : input(input) {}
  int configure(const RComponentConfiguration&) override {
    if (input.description) outWriters[0]->setDescription(input.description);
    return 0;
  }
  bool process() override {
    if (next == input.frames.size()) return false;
    outWriters[0]->put(input.frames[next++]);
    return true;
  }

private:
  const clip_input& input;
  size_t next = 0;
};

class FrameSink final : public RSink {
public:
  int configure(const RComponentConfiguration&) override { return 0; }
  bool process() override {
    RPtr<RFrame> frame = inReaders[0]->nextFrame();
    if (!frame) return false;
    frames.push_back(frame);
    return true;
  }
  std::vector<RPtr<RFrame>> frames;
};

}  // namespace

splice_output run_splice(const std::vector<clip_input>& inputs, const config_keys& keys, uint32_t capacity,
                         bool with_output) {
  {
    // A queue of this run may reuse the address of one of an earlier run.
    std::lock_guard lock(end_mutex);
    end_calls.clear();
  }
  ZMGraph graph(capacity);
  std::vector<std::string> queues;
  for (const clip_input& input : inputs) {
    graph.addComponent("source " + input.queue, new FrameSource(input), {}, {input.queue});
    queues.push_back(input.queue);
  }
  const std::vector<std::string> outputs = with_output ? std::vector<std::string>{"out"} : std::vector<std::string>{};
  graph.addComponent("filter", new_filter(), queues, outputs, new RComponentConfiguration(keys));
  RPtr<FrameSink> sink(new FrameSink);
  if (with_output) graph.addComponent("sink", sink, {"out"}, {});
  splice_output out;
  try {
    graph.run();
  } catch (const KX::CException& e) {
    out.error = e;
  }
  out.frames = sink->frames;
  if (const RPtr<RQueue> queue = graph.getQueue("out")) {
    out.description = queue->getDescription();
    std::lock_guard lock(end_mutex);
    out.ends = end_calls[queue.get()];
  }
  return out;
}

}  // namespace introoutro_test

void KX::ZM::RQFrameWriter::end() {
  using end_fn = void (*)(RQFrameWriter*);
  static const auto real = reinterpret_cast<end_fn>(dlsym(RTLD_NEXT, "_ZN2KX2ZM13RQFrameWriter3endEv"));
  if (real == nullptr) std::abort();
  {
    std::lock_guard lock(introoutro_test::end_mutex);
    ++introoutro_test::end_calls[getQueue()];
  }
  real(this);
}
