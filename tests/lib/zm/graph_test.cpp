#include "kx_test_support.h"
#include "test_components.h"
#include "zm/ZMGraph.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace {

using namespace zm_test;
using kx_test::messageOf;
using KX::RPtr;

RPtr<const RComponentConfiguration> config(std::map<std::string, std::string> values) {
  return new RComponentConfiguration(std::move(values));
}

// The stream arrives whole and in order through a chain, whatever the capacities;
// the queues hold no frame once done. The filter reads its input 1 only (as a filter
// whose roles leave input 0 unused): the writer of input 0 must not wait for it.
TEST(ZMGraph, RunsAChainToTheEndAtEveryCapacity) {
  for (uint32_t capacity : {1u, 2u, 64u}) {
    SCOPED_TRACE("capacity " + std::to_string(capacity));
    RPtr<CollectingSink> sink(new CollectingSink);
    RPtr<CollectingSink> tap(new CollectingSink);
    {
      ZMGraph graph(capacity);
      graph.addComponent("src", new CountingSource(300), {}, {"main"});
      graph.addComponent("idle", new CountingSource(50), {}, {"unread"});
      graph.addComponent("filter", new PassFilter, {"unread", "main"}, {"out"}, config({{"input", "1"}}));
      graph.addComponent("sink", sink, {"out"}, {});
      graph.addComponent("tap", tap, {"main"}, {});  // a second reader of "main"
      graph.setQueueCapacity("out", 1);
      graph.run();
      EXPECT_EQ(graph.getQueue("out")->getCapacity(), 1u);
      EXPECT_TRUE(graph.getQueue("out")->eoq());
      EXPECT_EQ(graph.getQueue("unread")->getTotalNodes(), 50u);
    }
    EXPECT_EQ(sink->sequences, iota(300));
    EXPECT_EQ(tap->sequences, iota(300));
  }
}

// An exception in any component, a configure result or a runloop status other than
// 0 ends the run with that error; the components blocked on full or empty queues are
// woken, so nothing hangs, and the failed component's output is not ended as if the
// stream were whole.
TEST(ZMGraph, TheFirstErrorEndsTheRunWithoutHanging) {
  const struct {
    const char *component, *key, *value, *message;
    uint32_t frames, mostPassed;
  } cases[] = {{"src", "fail_at", "20", "source failed at frame 20", kEndless, 20},
               {"filter", "fail_at", "20", "filter failed at frame 20", kEndless, 20},
               {"filter", "status", "5", "component 'filter' ended with status 5", 40, 40},
               {"filter", "configure_result", "5", "component 'filter': configure returned 5", kEndless, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    RPtr<CollectingSink> sink(new CollectingSink);
    const auto settings = config({{c.key, c.value}});
    const bool inSource = std::string(c.component) == "src";
    ZMGraph graph(1);
    graph.addComponent("src", new CountingSource(c.frames), {}, {"main"}, inSource ? settings : nullptr);
    graph.addComponent("filter", new PassFilter, {"main"}, {"out"}, inSource ? nullptr : settings);
    graph.addComponent("sink", sink, {"out"}, {});
    const auto error = kx_test::thrown([&] { graph.run(); });
    ASSERT_TRUE(error);
    EXPECT_STREQ(error->what(), c.message);
    EXPECT_EQ(graph.getFailedComponent(), c.component);
    if (std::string(c.key) == "fail_at") {
      EXPECT_STREQ(error->getFile().c_str(), "tests/lib/zm/test_components") << "the escaped exception itself";
    }
    // What went through before the failure arrived in order.
    EXPECT_LE(sink->sequences.size(), c.mostPassed);
    EXPECT_EQ(sink->sequences, iota(static_cast<uint32_t>(sink->sequences.size())));
    EXPECT_TRUE(graph.getQueue("out")->isCancelled() && !graph.getQueue("out")->eoq());
  }
}

// A run can be watched and cancelled from another thread; a graph destroyed while
// running is cancelled and joined before it goes.
TEST(ZMGraph, ARunCanBeCancelledFromAnotherThreadOrByDestroyingTheGraph) {
  RPtr<CollectingSink> sink(new CollectingSink);
  {
    ZMGraph graph(4);
    graph.addComponent("src", new CountingSource(kEndless), {}, {"main"});
    graph.addComponent("sink", sink, {"main"}, {});
    graph.start();
    std::thread watcher([&] {
      const RPtr<RQueue> queue = graph.getQueue("main");
      while (queue->getTotalNodes() < 1000) std::this_thread::yield();
      graph.cancel("user interrupt");
    });
    while (!graph.waitFor(std::chrono::milliseconds(5))) {
    }
    watcher.join();
    EXPECT_EQ(messageOf([&] { graph.wait(); }), "cancelled: user interrupt");
    EXPECT_GE(sink->sequences.size(), 900u);
  }
  EXPECT_EQ(sink->sequences, iota(static_cast<uint32_t>(sink->sequences.size())));
  RPtr<CollectingSink> cut(new CollectingSink);
  {
    ZMGraph graph(2);
    graph.addComponent("src", new CountingSource(kEndless), {}, {"main"});
    graph.addComponent("sink", cut, {"main"}, {});
    graph.start();
  }
  // Joined: the sink's record may be read.
  EXPECT_EQ(cut->sequences, iota(static_cast<uint32_t>(cut->sequences.size())));
}

TEST(ZMGraph, BadGraphsAreRefusedBeforeAnythingRuns) {
  // Each node: name, inputs, outputs (a source without inputs, a sink without outputs).
  using Nodes = std::vector<std::tuple<const char*, std::vector<std::string>, std::vector<std::string>>>;
  const struct {
    Nodes nodes;
    const char* sizedQueue;  // given a capacity
    const char* message;
  } cases[] = {
      {{{"sink", {"in"}, {}}}, "in", "queue 'in' (read by 'sink') has no writer"},
      {{{"src", {}, {"out"}}}, "out", "queue 'out' (written by 'src') has no reader"},
      {{{"a", {}, {"q"}}, {"b", {}, {"q"}}, {"sink", {"q"}, {}}}, "q", "queue 'q' is written by both 'a' and 'b'"},
      {{{"f", {"x"}, {"y"}}, {"g", {"y"}, {"x"}}}, "x",
       "components 'f', 'g' wait on each other through a cycle of queues"},
      {{{"src", {}, {"q"}}, {"sink", {"q"}, {}}}, "typo", "capacity given for queue 'typo', which no component uses"},
  };
  for (const auto& c : cases) {
    ZMGraph graph;
    for (const auto& [name, in, out] : c.nodes) {
      RComponent* component = in.empty() ? static_cast<RComponent*>(new CountingSource(1))
                              : out.empty() ? static_cast<RComponent*>(new CollectingSink)
                                            : new PassFilter;
      graph.addComponent(name, component, in, out);
    }
    graph.setQueueCapacity(c.sizedQueue, 3);
    EXPECT_EQ(messageOf([&] { graph.start(); }), c.message);
  }
  ZMGraph graph;
  graph.addComponent("src", new CountingSource(1), {}, {"q"});
  EXPECT_EQ(messageOf([&] { graph.addComponent("f", new PassFilter, {"q"}, {"q"}); }),
            "component 'f': queue 'q' connected twice");
  EXPECT_EQ(messageOf([&] { graph.wait(); }), "the graph has not started");
}

}  // namespace
