#include "splice_graph.h"

#include "filter_module.h"
#include "zm/ZMGraph.h"

namespace introoutro_test {

namespace {

using namespace KX::ZM;

class FrameSource final : public RSource {
public:
  explicit FrameSource(const clip_input& input) : input(input) {}
  int configure(const RComponentConfiguration&) override {
    outWriters[0]->setDescription(input.description);
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

splice_output run_splice(const std::vector<clip_input>& inputs, const config_keys& keys, uint32_t capacity) {
  ZMGraph graph(capacity);
  std::vector<std::string> queues;
  for (const clip_input& input : inputs) {
    graph.addComponent("source " + input.queue, new FrameSource(input), {}, {input.queue});
    queues.push_back(input.queue);
  }
  graph.addComponent("filter", new_filter(), queues, {"out"}, new RComponentConfiguration(keys));
  RPtr<FrameSink> sink(new FrameSink);
  graph.addComponent("sink", sink, {"out"}, {});
  graph.run();
  return {sink->frames, graph.getQueue("out")->getDescription()};
}

}  // namespace introoutro_test
