// A host that knows nothing but dlopen, getComponentInstance and libzm: producer
// threads feed an intro, a main source and an outro, a consumer thread reads the
// spliced stream. Small queues make every thread wait on the others often.

#include "zm/ZMGraph.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace KX::ZM;
using KX::RPtr;

// Frame i of source `id`: two bytes (id, i % 256), 0.02 s long, at its own times.
class Producer final : public RSource {
public:
  Producer(uint8_t id, uint32_t count) : id(id), count(count) {}
  int configure(const RComponentConfiguration&) override {
    outWriters[0]->setDescription(new RVideoDescription(2, 1, 50.0));
    return 0;
  }
  bool process() override {
    if (next == count) return false;
    const uint8_t bytes[2] = {id, static_cast<uint8_t>(next)};
    RPtr<RVideoFrame> f = RVideoFrame::createWithData(makeFourCC("IYUV"), 2, bytes, 0, KX::kCopy);
    f->setPlayTime(KX::CTimeStamp::createWithSeconds(100.0 * id + next * 0.5));
    f->setDuration(KX::CTimeStamp::createWithSeconds(0.02));
    f->setSequence(next * 3);
    outWriters[0]->put(f);
    ++next;
    return true;
  }

private:
  const uint8_t id;
  const uint32_t count;
  uint32_t next = 0;
};

struct received {
  uint8_t id, index;
  uint32_t sequence;
  double play, decode;
};

class Consumer final : public RSink {
public:
  int configure(const RComponentConfiguration&) override { return 0; }
  bool process() override {
    RPtr<RFrame> f = inReaders[0]->nextFrame();
    if (!f) return false;
    seen.push_back({f->getData()[0], f->getData()[1], f->getSequence(), f->getPlayTime().getSecondsAsDouble(),
                    f->getDecodeTime().getSecondsAsDouble()});
    return true;
  }
  std::vector<received> seen;
};

TEST(IntroOutroHost, EveryFrameArrivesInOrderStampedAcrossThreads) {
  void* module = dlopen(INTROOUTRO_FILTER_MODULE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << dlerror();
  auto* factory = reinterpret_cast<RComponent* (*)()>(dlsym(module, "getComponentInstance"));
  ASSERT_NE(factory, nullptr) << dlerror();

  const uint32_t counts[3] = {40, 400, 30};  // intro, main, outro
  RPtr<Consumer> consumer(new Consumer);
  {
    ZMGraph graph(2);
    graph.addComponent("outro source", new Producer(3, counts[2]), {}, {"the_outro"});
    graph.addComponent("main source", new Producer(2, counts[1]), {}, {"feature"});
    graph.addComponent("intro source", new Producer(1, counts[0]), {}, {"intro"});
    graph.addComponent("splice", factory(), {"the_outro", "feature", "intro"}, {"out"},
                       new RComponentConfiguration({{"system_informat", "Y22P"}, {"system_outformat", "Y22P"}}));
    graph.addComponent("consumer", consumer, {"out"}, {});
    graph.setQueueCapacity("out", 1);
    graph.run();
  }

  ASSERT_EQ(consumer->seen.size(), counts[0] + counts[1] + counts[2]);
  size_t k = 0;
  double time = 100.0;  // the intro's first play time
  for (uint8_t id = 1; id <= 3; ++id) {
    for (uint32_t i = 0; i < counts[id - 1]; ++i, ++k) {
      const received& r = consumer->seen[k];
      ASSERT_EQ(r.id, id) << "frame " << k;
      ASSERT_EQ(r.index, static_cast<uint8_t>(i)) << "frame " << k;
      EXPECT_EQ(r.sequence, k);
      EXPECT_EQ(r.play, time) << "frame " << k;
      EXPECT_EQ(r.decode, time) << "frame " << k;
      time += 0.02;
    }
  }
  dlclose(module);  // the graph and its filter are gone
}

}  // namespace
