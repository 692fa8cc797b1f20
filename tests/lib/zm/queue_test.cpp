#include "zm/RQueue.h"
#include "zm/ZMFourCC.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace KX::ZM;
using KX::RPtr;

// Counts live frames through a parameter that each frame holds.
struct LiveCounter : ulbase::object_refcount {
  explicit LiveCounter(std::atomic<int>* live) : live(live) { live->fetch_add(1); }
  ~LiveCounter() override { live->fetch_sub(1); }
  std::atomic<int>* live;
};

RPtr<RVideoFrame> frame(uint32_t sequence, std::atomic<int>* live = nullptr) {
  RPtr<RVideoFrame> f = RVideoFrame::createWithData(makeFourCC("IYUV"), 0, nullptr, 0, KX::kCopy);
  f->setSequence(sequence);
  if (live != nullptr) f->addParameter("live", new LiveCounter(live));
  return f;
}

std::string messageOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const KX::CException& e) {
    return e.what();
  }
  return "(no exception)";
}

// Waits (bounded) until the condition holds; used only to reach a state, never to time.
bool eventually(const std::function<bool()>& condition) {
  for (int i = 0; i < 5000 && !condition(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return condition();
}

// Every reader sees every frame once, in order, whatever the capacity; the queue
// keeps no frame after the last reader has read it.
TEST(RQueue, EveryReaderReadsEveryFrameInOrderAtAnyCapacity) {
  constexpr uint32_t kFrames = 500;
  for (uint32_t capacity : {1u, 3u, 64u}) {
    SCOPED_TRACE("capacity " + std::to_string(capacity));
    std::atomic<int> live{0};
    RPtr<RQueue> queue = RQueue::create("main", capacity);
    RPtr<RQFrameWriter> writer = queue->createWriter();
    std::vector<RPtr<RQFrameReader>> readers;
    for (int r = 0; r < 3; ++r) readers.push_back(queue->createReader());
    std::vector<std::vector<uint32_t>> seen(readers.size());
    std::vector<std::thread> threads;
    for (size_t r = 0; r < readers.size(); ++r) {
      threads.emplace_back([&, r] {
        while (RPtr<RFrame> f = readers[r]->nextFrame()) seen[r].push_back(f->getSequence());
        // Ended and fully read: stays null.
        EXPECT_FALSE(readers[r]->nextFrame());
      });
    }
    for (uint32_t i = 0; i < kFrames; ++i) {
      writer->put(frame(i, &live));
      EXPECT_LE(queue->getTotalNodes() - readers[2]->getTotalRead(), capacity);
    }
    writer->end();
    for (auto& t : threads) t.join();
    for (size_t r = 0; r < readers.size(); ++r) {
      ASSERT_EQ(seen[r].size(), kFrames);
      for (uint32_t i = 0; i < kFrames; ++i) ASSERT_EQ(seen[r][i], i) << "reader " << r;
      EXPECT_EQ(readers[r]->getTotalRead(), kFrames);
      EXPECT_EQ(readers[r]->getCount(), 0u);
    }
    EXPECT_EQ(queue->getTotalNodes(), kFrames);
    EXPECT_EQ(live.load(), 0);
  }
}

TEST(RQueue, WriterWaitsForTheSlowestReaderOnly) {
  RPtr<RQueue> queue = RQueue::create("q", 2);
  RPtr<RQFrameWriter> writer = queue->createWriter();
  RPtr<RQFrameReader> fast = queue->createReader();
  RPtr<RQFrameReader> slow = queue->createReader();
  std::thread producer([&] {
    for (uint32_t i = 0; i < 6; ++i) writer->put(frame(i));
    writer->end();
  });
  std::thread consumer([&] {
    while (fast->nextFrame()) {
    }
  });
  // The slow reader has read nothing: the writer stops at the capacity.
  ASSERT_TRUE(eventually([&] { return fast->getTotalRead() == 2; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(queue->getTotalNodes(), 2u);
  EXPECT_EQ(slow->getCount(), 2u);
  // Each frame the slow reader takes lets exactly one more in.
  EXPECT_EQ(slow->nextFrame()->getSequence(), 0u);
  ASSERT_TRUE(eventually([&] { return queue->getTotalNodes() == 3; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(queue->getTotalNodes(), 3u);
  for (uint32_t i = 1; i < 6; ++i) EXPECT_EQ(slow->nextFrame()->getSequence(), i);
  EXPECT_FALSE(slow->nextFrame());
  producer.join();
  consumer.join();
}

// The end-of-data test the filter uses: ended, and every frame put has been read.
TEST(RQueue, EndWithFramesUnreadDeliversThemAll) {
  RPtr<RQueue> queue = RQueue::create("outro", 4);
  RPtr<RQFrameWriter> writer = queue->createWriter();
  RPtr<RQFrameReader> reader = queue->createReader();
  for (uint32_t i = 0; i < 3; ++i) writer->put(frame(i));
  EXPECT_FALSE(reader->eoq());
  writer->end();
  writer->end();  // repeating it changes nothing
  for (uint32_t i = 0; i < 3; ++i) {
    EXPECT_TRUE(reader->eoq());
    EXPECT_EQ(reader->getCount(), 3u - i);
    EXPECT_NE(static_cast<uint32_t>(queue->getTotalNodes()), static_cast<uint32_t>(reader->getTotalRead()));
    EXPECT_EQ(reader->nextFrame()->getSequence(), i);
  }
  EXPECT_EQ(reader->getCount(), 0u);
  EXPECT_FALSE(reader->nextFrame());

  // Ended before any frame: the first read is null.
  RPtr<RQueue> empty = RQueue::create("intro", 1);
  RPtr<RQFrameWriter> emptyWriter = empty->createWriter();
  RPtr<RQFrameReader> emptyReader = empty->createReader();
  emptyWriter->end();
  EXPECT_FALSE(emptyReader->nextFrame());
}

TEST(RQueue, CancelWakesBlockedReadersAndWritersWithTheReason) {
  RPtr<RQueue> input = RQueue::create("in", 1);
  RPtr<RQFrameWriter> inputWriter = input->createWriter();
  RPtr<RQFrameReader> blockedReader = input->createReader();
  RPtr<RQueue> output = RQueue::create("out", 1);
  RPtr<RQFrameWriter> blockedWriter = output->createWriter();
  RPtr<RQFrameReader> idleReader = output->createReader();
  blockedWriter->put(frame(0));  // full from now on

  std::string readerError;
  std::string writerError;
  std::thread reader([&] { readerError = messageOf([&] { blockedReader->nextFrame(); }); });
  std::thread writer([&] { writerError = messageOf([&] { blockedWriter->put(frame(1)); }); });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  input->cancel("component 'x' failed");
  input->cancel("a later reason is not kept");
  output->cancel("component 'x' failed");
  reader.join();
  writer.join();
  EXPECT_EQ(readerError, "queue 'in' was cancelled: component 'x' failed");
  EXPECT_EQ(writerError, "queue 'out' was cancelled: component 'x' failed");
  EXPECT_TRUE(input->isCancelled());
  // Cancelled stays cancelled, also for frames still in the queue.
  EXPECT_THROW(idleReader->nextFrame(), KX::CException);
  EXPECT_THROW(inputWriter->put(frame(0)), KX::CException);
}

TEST(RQueue, MisuseGivesAClearError) {
  RPtr<RQueue> queue = RQueue::create("main", 2);
  RPtr<RQFrameWriter> writer = queue->createWriter();
  RPtr<RQFrameReader> reader = queue->createReader();
  EXPECT_EQ(messageOf([&] { queue->createWriter(); }), "queue 'main' already has a writer");
  EXPECT_EQ(messageOf([&] { writer->put(nullptr); }), "queue 'main': put of a null frame (after 0 frames)");
  EXPECT_EQ(messageOf([&] { writer->setDescription(nullptr); }), "queue 'main': null description");
  writer->put(frame(0));
  EXPECT_EQ(messageOf([&] { queue->createReader(); }),
            "queue 'main': a reader must attach before the first frame is put (1 were)");
  writer->end();
  EXPECT_EQ(messageOf([&] { writer->put(frame(9)); }), "queue 'main': frame 9 put after end()");
  reader->close();
  EXPECT_EQ(messageOf([&] { reader->nextFrame(); }), "queue 'main': nextFrame on a closed reader");
  EXPECT_EQ(messageOf([&] { RQueue::create("x", 0); }), "queue 'x': capacity must be at least 1 frame");

  // A writer that goes away without end() leaves no reader waiting.
  RPtr<RQueue> cut = RQueue::create("cut", 2);
  RPtr<RQFrameWriter> cutWriter = cut->createWriter();
  RPtr<RQFrameReader> cutReader = cut->createReader();
  cutWriter->put(frame(0));
  std::string error;
  std::thread waiting([&] {
    cutReader->nextFrame();
    error = messageOf([&] { cutReader->nextFrame(); });
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
  cutWriter = nullptr;
  waiting.join();
  EXPECT_EQ(error, "queue 'cut' was cancelled: its writer was released before end()");
}

// A reader that stops early (closed or released) must not hold the writer back, and
// the frames only it had left to read are released.
TEST(RQueue, ClosedReadersReleaseTheWriterAndTheirFrames) {
  std::atomic<int> live{0};
  RPtr<RQueue> queue = RQueue::create("q", 1);
  RPtr<RQFrameWriter> writer = queue->createWriter();
  RPtr<RQFrameReader> keeps = queue->createReader();
  RPtr<RQFrameReader> stops = queue->createReader();
  writer->put(frame(0, &live));
  EXPECT_EQ(keeps->nextFrame()->getSequence(), 0u);
  EXPECT_EQ(live.load(), 1);  // the stopping reader has yet to read it
  std::thread producer([&] {
    for (uint32_t i = 1; i < 10; ++i) writer->put(frame(i, &live));
    writer->end();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
  stops->close();
  for (uint32_t i = 1; i < 10; ++i) EXPECT_EQ(keeps->nextFrame()->getSequence(), i);
  producer.join();
  EXPECT_FALSE(keeps->nextFrame());
  EXPECT_EQ(live.load(), 0);

  // With every reader gone the writer never blocks; the frames are counted, not kept.
  RPtr<RQueue> orphan = RQueue::create("orphan", 1);
  RPtr<RQFrameWriter> orphanWriter = orphan->createWriter();
  {
    RPtr<RQFrameReader> released = orphan->createReader();
  }
  for (uint32_t i = 0; i < 5; ++i) orphanWriter->put(frame(i, &live));
  EXPECT_EQ(orphan->getTotalNodes(), 5u);
  EXPECT_EQ(live.load(), 0);
  orphanWriter->end();
}

TEST(RQueue, DescriptionAndNameReachTheReaders) {
  RPtr<RQueue> queue = RQueue::create("", 1);
  RPtr<RQFrameWriter> writer = queue->createWriter();
  RPtr<RQFrameReader> reader = queue->createReader();
  EXPECT_FALSE(reader->getDescription());
  RPtr<RVideoDescription> d(new RVideoDescription(1920, 1080, 29.97));
  writer->setDescription(d);
  RPtr<const RDescription> seen = reader->getDescription();
  EXPECT_EQ(seen.get(), d.get());
  EXPECT_EQ(seen->type(), makeFourCC("vide"));
  EXPECT_EQ(reader->getQueue(), queue.get());
  EXPECT_EQ(reader->getQueue()->getName().size(), 0);
  EXPECT_STREQ(reader->getQueue()->getName().desc(), "");
  writer->end();
}

}  // namespace
