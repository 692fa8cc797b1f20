#include "kx_test_support.h"
#include "zm/RQueue.h"
#include "zm/ZMFourCC.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace {

using kx_test::messageOf;
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

struct Queue {
  Queue(const char* name, uint32_t capacity, int readerCount)
      : queue(RQueue::create(name, capacity)), writer(queue->createWriter()) {
    for (int i = 0; i < readerCount; ++i) readers.push_back(queue->createReader());
  }
  RPtr<RQueue> queue;
  RPtr<RQFrameWriter> writer;
  std::vector<RPtr<RQFrameReader>> readers;
};

// Every reader sees every frame once and in order, whatever the capacity; the
// writer is never more than the capacity ahead of the slowest reader (reader 2
// dawdles); no frame is kept once all have read it.
TEST(RQueue, EveryReaderReadsEveryFrameInOrderAtAnyCapacity) {
  constexpr uint32_t kFrames = 500;
  for (uint32_t capacity : {1u, 3u, 64u}) {
    SCOPED_TRACE("capacity " + std::to_string(capacity));
    std::atomic<int> live{0};
    Queue q("main", capacity, 3);
    std::vector<std::vector<uint32_t>> seen(q.readers.size());
    std::vector<std::thread> threads;
    for (size_t r = 0; r < q.readers.size(); ++r) {
      threads.emplace_back([&, r] {
        while (RPtr<RFrame> f = q.readers[r]->nextFrame()) {
          seen[r].push_back(f->getSequence());
          if (r == 2 && f->getSequence() % 50 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        EXPECT_FALSE(q.readers[r]->nextFrame());  // stays null
      });
    }
    for (uint32_t i = 0; i < kFrames; ++i) {
      q.writer->put(frame(i, &live));
      for (const auto& reader : q.readers) EXPECT_LE(q.queue->getTotalNodes() - reader->getTotalRead(), capacity);
    }
    q.writer->end();
    for (auto& t : threads) t.join();
    std::vector<uint32_t> expected(kFrames);
    for (uint32_t i = 0; i < kFrames; ++i) expected[i] = i;
    for (size_t r = 0; r < q.readers.size(); ++r) EXPECT_EQ(seen[r], expected) << "reader " << r;
    EXPECT_EQ(live.load(), 0);
  }
}

// The filter's end-of-data test: ended, and every frame put has been read.
TEST(RQueue, EndWithFramesUnreadDeliversThemAll) {
  Queue q("", 4, 1);
  RQFrameReader& reader = *q.readers[0];
  for (uint32_t i = 0; i < 3; ++i) q.writer->put(frame(i));
  q.writer->end();
  q.writer->end();  // repeating it changes nothing
  for (uint32_t i = 0; i < 3; ++i) {
    EXPECT_TRUE(reader.eoq());
    EXPECT_EQ(reader.getCount(), 3u - i);
    EXPECT_EQ(reader.nextFrame()->getSequence(), i);
  }
  EXPECT_EQ(reader.getTotalRead(), q.queue->getTotalNodes());
  EXPECT_FALSE(reader.nextFrame());

  Queue empty("intro", 1, 1);
  empty.writer->end();
  EXPECT_FALSE(empty.readers[0]->nextFrame());
}

TEST(RQueue, CancelWakesBlockedReadersAndWritersWithTheReason) {
  Queue in("in", 1, 1);
  Queue out("out", 1, 1);
  out.writer->put(frame(0));  // full from now on
  std::string readerError;
  std::string writerError;
  std::thread reader([&] { readerError = messageOf([&] { in.readers[0]->nextFrame(); }); });
  std::thread writer([&] { writerError = messageOf([&] { out.writer->put(frame(1)); }); });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  in.queue->cancel("component 'x' failed");
  in.queue->cancel("a later reason is not kept");
  out.queue->cancel("component 'x' failed");
  reader.join();
  writer.join();
  EXPECT_EQ(readerError, "queue 'in' was cancelled: component 'x' failed");
  EXPECT_EQ(writerError, "queue 'out' was cancelled: component 'x' failed");
  // Cancelled stays cancelled, also for frames still in the queue.
  EXPECT_THROW(out.readers[0]->nextFrame(), KX::CException);
  EXPECT_THROW(in.writer->put(frame(0)), KX::CException);
}

TEST(RQueue, MisuseGivesAClearError) {
  Queue q("main", 2, 1);
  EXPECT_EQ(messageOf([&] { q.queue->createWriter(); }), "queue 'main' already has a writer");
  EXPECT_EQ(messageOf([&] { q.writer->put(nullptr); }), "queue 'main': put of a null frame (after 0 frames)");
  EXPECT_EQ(messageOf([&] { q.writer->setDescription(nullptr); }), "queue 'main': null description");
  q.writer->put(frame(0));
  EXPECT_EQ(messageOf([&] { q.queue->createReader(); }),
            "queue 'main': a reader must attach before the first frame is put (1 were)");
  q.writer->end();
  EXPECT_EQ(messageOf([&] { q.writer->put(frame(9)); }), "queue 'main': frame 9 put after end()");
  q.readers[0]->close();
  EXPECT_EQ(messageOf([&] { q.readers[0]->nextFrame(); }), "queue 'main': nextFrame on a closed reader");
  EXPECT_EQ(messageOf([&] { RQueue::create("x", 0); }), "queue 'x': capacity must be at least 1 frame");

  // A writer that goes away without end() leaves no reader waiting.
  Queue cut("cut", 2, 1);
  std::string error;
  std::thread waiting([&] { error = messageOf([&] { cut.readers[0]->nextFrame(); }); });
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
  cut.writer = nullptr;
  waiting.join();
  EXPECT_EQ(error, "queue 'cut' was cancelled: its writer was released before end()");
}

// A reader that stops early must not hold the writer back, and the frames only it
// had left to read are released.
TEST(RQueue, ClosedReadersReleaseTheWriterAndTheirFrames) {
  std::atomic<int> live{0};
  Queue q("q", 1, 2);
  q.writer->put(frame(0, &live));
  EXPECT_EQ(q.readers[0]->nextFrame()->getSequence(), 0u);
  EXPECT_EQ(live.load(), 1);  // reader 1 has yet to read it
  std::thread producer([&] {
    for (uint32_t i = 1; i < 10; ++i) q.writer->put(frame(i, &live));
    q.writer->end();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
  q.readers[1]->close();
  for (uint32_t i = 1; i < 10; ++i) EXPECT_EQ(q.readers[0]->nextFrame()->getSequence(), i);
  producer.join();
  EXPECT_EQ(live.load(), 0);
}

}  // namespace
