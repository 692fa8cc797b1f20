#include "error_message.h"
#include "test_components.h"
#include "zm/ZMGraph.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <thread>

namespace {

using namespace zm_test;
using KX::RPtr;

RPtr<const RComponentConfiguration> config(std::map<std::string, std::string> values) {
  return new RComponentConfiguration(std::move(values));
}

// The stream arrives whole and in order through a chain, whatever the capacities;
// the queues hold no frame once done.
TEST(ZMGraph, RunsAChainToTheEndAtEveryCapacity) {
  for (uint32_t capacity : {1u, 2u, 64u}) {
    SCOPED_TRACE("capacity " + std::to_string(capacity));
    RPtr<CollectingSink> sink(new CollectingSink);
    RPtr<CollectingSink> tap(new CollectingSink);
    {
      ZMGraph graph(capacity);
      graph.addComponent("src", new CountingSource(300), {}, {"main"});
      graph.addComponent("filter", new PassFilter, {"main"}, {"out"});
      graph.addComponent("sink", sink, {"out"}, {});
      graph.addComponent("tap", tap, {"main"}, {});  // a second reader of "main"
      graph.setQueueCapacity("out", 1);
      graph.run();
      EXPECT_EQ(graph.getQueue("out")->getCapacity(), 1u);
      EXPECT_TRUE(graph.getQueue("out")->eoq());
    }
    EXPECT_EQ(sink->sequences, iota(300));
    EXPECT_EQ(tap->sequences, iota(300));
  }
}

// An exception in any component ends the run with that error; the components
// blocked on full or empty queues are woken, so nothing hangs.
TEST(ZMGraph, TheFirstErrorEndsTheRunWithoutHanging) {
  for (const char* failing : {"source", "filter"}) {
    SCOPED_TRACE(failing);
    RPtr<CollectingSink> sink(new CollectingSink);
    ZMGraph graph(1);
    const bool sourceFails = std::string(failing) == "source";
    graph.addComponent("src", new CountingSource(kEndless), {}, {"main"},
                       sourceFails ? config({{"fail_at", "40"}}) : nullptr);
    graph.addComponent("filter", new PassFilter, {"main"}, {"out"},
                       sourceFails ? nullptr : config({{"fail_at", "40"}}));
    graph.addComponent("sink", sink, {"out"}, {});
    try {
      graph.run();
      FAIL() << "no exception";
    } catch (const KX::CException& e) {
      EXPECT_STREQ(e.what(), sourceFails ? "source failed at frame 40" : "filter failed at frame 40");
      EXPECT_EQ(graph.getFailedComponent(), sourceFails ? "src" : "filter");
      EXPECT_STREQ(e.getFile().c_str(), "tests/lib/zm/test_components");
    }
    // Everything before the failure went through; nothing after it.
    EXPECT_LE(sink->sequences.size(), 40u);
    EXPECT_EQ(sink->sequences, iota(static_cast<uint32_t>(sink->sequences.size())));
    EXPECT_TRUE(graph.getQueue("out")->isCancelled());
  }
}

// A configure result or a runloop status other than 0 is an error; such a
// component's output is not ended as if the stream were whole.
TEST(ZMGraph, NonZeroResultsAreErrors) {
  for (const char* key : {"configure_result", "status"}) {
    ZMGraph graph;
    graph.addComponent("src", new CountingSource(3), {}, {"main"});
    graph.addComponent("filter", new PassFilter, {"main"}, {"out"}, config({{key, "5"}}));
    graph.addComponent("sink", new CollectingSink, {"out"}, {});
    EXPECT_EQ(messageOf([&] { graph.run(); }), std::string(key) == "status"
                                                   ? "component 'filter' ended with status 5"
                                                   : "component 'filter': configure returned 5");
    EXPECT_EQ(graph.getFailedComponent(), "filter");
    EXPECT_FALSE(graph.getQueue("out")->eoq());
  }
}

// The filter reads input 1 only (as a filter whose roles leave input 0 unused):
// the writer of input 0 must not wait forever for it.
TEST(ZMGraph, AnInputNeverReadDoesNotBlockItsWriter) {
  RPtr<CollectingSink> sink(new CollectingSink);
  ZMGraph graph(1);
  graph.addComponent("a", new CountingSource(50), {}, {"a"});
  graph.addComponent("b", new CountingSource(50), {}, {"b"});
  graph.addComponent("filter", new PassFilter, {"a", "b"}, {"out"}, config({{"input", "1"}}));
  graph.addComponent("sink", sink, {"out"}, {});
  graph.run();
  EXPECT_EQ(sink->sequences, iota(50));
  EXPECT_EQ(graph.getQueue("a")->getTotalNodes(), 50u);
}

TEST(ZMGraph, ProgressCanBeWatchedAndARunCancelledFromAnotherThread) {
  RPtr<CollectingSink> sink(new CollectingSink);
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
  EXPECT_EQ(sink->sequences, iota(static_cast<uint32_t>(sink->sequences.size())));
}

TEST(ZMGraph, DestroyingARunningGraphStopsIt) {
  RPtr<CollectingSink> sink(new CollectingSink);
  {
    ZMGraph graph(2);
    graph.addComponent("src", new CountingSource(kEndless), {}, {"main"});
    graph.addComponent("sink", sink, {"main"}, {});
    graph.start();
  }
  // Joined: the sink's record may be read.
  EXPECT_EQ(sink->sequences, iota(static_cast<uint32_t>(sink->sequences.size())));
}

TEST(ZMGraph, BadGraphsAreRefusedBeforeAnythingRuns) {
  auto startError = [](const std::function<void(ZMGraph&)>& build) {
    ZMGraph graph;
    build(graph);
    return messageOf([&] { graph.start(); });
  };
  EXPECT_EQ(startError([](ZMGraph& g) { g.addComponent("sink", new CollectingSink, {"in"}, {}); }),
            "queue 'in' (read by 'sink') has no writer");
  EXPECT_EQ(startError([](ZMGraph& g) { g.addComponent("src", new CountingSource(1), {}, {"out"}); }),
            "queue 'out' (written by 'src') has no reader");
  EXPECT_EQ(startError([](ZMGraph& g) {
              g.addComponent("a", new CountingSource(1), {}, {"q"});
              g.addComponent("b", new CountingSource(1), {}, {"q"});
              g.addComponent("sink", new CollectingSink, {"q"}, {});
            }),
            "queue 'q' is written by both 'a' and 'b'");
  EXPECT_EQ(startError([](ZMGraph& g) {
              g.addComponent("f", new PassFilter, {"x"}, {"y"});
              g.addComponent("g", new PassFilter, {"y"}, {"x"});
            }),
            "components 'f', 'g' wait on each other through a cycle of queues");
  EXPECT_EQ(startError([](ZMGraph& g) {
              g.addComponent("src", new CountingSource(1), {}, {"q"});
              g.addComponent("sink", new CollectingSink, {"q"}, {});
              g.setQueueCapacity("typo", 3);
            }),
            "capacity given for queue 'typo', which no component uses");

  ZMGraph graph;
  graph.addComponent("src", new CountingSource(1), {}, {"q"});
  EXPECT_EQ(messageOf([&] { graph.addComponent("f", new PassFilter, {"q"}, {"q"}); }),
            "component 'f': queue 'q' connected twice");
  EXPECT_EQ(messageOf([&] { graph.wait(); }), "the graph has not started");
}

}  // namespace
