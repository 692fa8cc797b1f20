#pragma once
// Bounded frame queues. A named RQueue holds up to `capacity` frames; it has one
// writer and any number of readers, each reading every frame at its own pace.
// put() waits while the slowest reader is `capacity` frames behind; nextFrame()
// waits while its reader has read everything and the queue has not ended. Waiting
// happens only there. cancel() wakes every waiter: from then on put() and
// nextFrame() throw KX::CException, so the threads leave instead of hanging.
// Counters and flags may be read from any thread at any time (progress).

#include "base/CException.h"
#include "base/CString.h"
#include "base/KXExport.h"
#include "base/RPtr.h"
#include "ulbase/object_refcount.h"
#include "zm/RDescription.h"
#include "zm/RFrame.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace KX::ZM {

class RQFrameReader;
class RQFrameWriter;

class KX_EXPORT RQueue : public ulbase::object_refcount {
public:
  // capacity >= 1 frames; the name may be empty.
  static KX::RPtr<RQueue> create(const std::string& name, uint32_t capacity);
  ~RQueue() override;

  const KX::CString& getName() const { return name; }
  uint32_t getCapacity() const { return capacity; }
  // Frames ever put.
  uint64_t getTotalNodes() const { return totalNodes.load(std::memory_order_acquire); }
  // Set by the writer's end(), after its last frame.
  bool eoq() const { return ended.load(std::memory_order_acquire); }
  bool isCancelled() const;
  // What the writer set, or null.
  KX::RPtr<const RDescription> getDescription() const;

  // Ends the queue abnormally (see above); the first reason is kept.
  void cancel(const std::string& reason);

  // The queue's one writer; a second one is refused.
  KX::RPtr<RQFrameWriter> createWriter();
  // A new reader, starting at the first frame: readers attach before the first put.
  KX::RPtr<RQFrameReader> createReader();

private:
  friend class RQFrameReader;
  friend class RQFrameWriter;

  // A ring position: the frame and how many attached readers have yet to read it.
  struct Slot {
    KX::RPtr<RFrame> frame;
    uint32_t pending = 0;
  };

  RQueue(const std::string& name, uint32_t capacity);

  void put(KX::RPtr<RFrame> frame);
  KX::RPtr<RFrame> take(RQFrameReader& reader);
  void end();
  void setDescription(KX::RPtr<const RDescription> d);
  void detach(RQFrameReader& reader);
  void writerGone();
  [[noreturn]] void throwCancelled(const char* where) const;

  const KX::CString name;
  const uint32_t capacity;

  mutable std::mutex mutex;
  std::condition_variable frameAdded;  // readers wait here
  std::condition_variable slotFreed;   // the writer waits here
  std::vector<Slot> ring;              // frame n is in ring[n % capacity]
  std::atomic<uint64_t> totalNodes{0};
  std::atomic<bool> ended{false};
  bool cancelled = false;
  std::string cancelReason;
  bool hasWriter = false;
  uint32_t readers = 0;
  uint32_t waitingReaders = 0;
  bool writerWaiting = false;
  KX::RPtr<const RDescription> description;
};

// What readers and writers share: their queue.
class KX_EXPORT RQueueRW : public ulbase::object_refcount {
public:
  ~RQueueRW() override;
  RQueue* getQueue() const { return queue.get(); }
  bool eoq() const { return queue->eoq(); }

protected:
  explicit RQueueRW(KX::RPtr<RQueue> queue) : queue(std::move(queue)) {}

  const KX::RPtr<RQueue> queue;
};

// One reader's view of a queue. Used by one thread (the reading component's).
class KX_EXPORT RQFrameReader : public RQueueRW {
public:
  // Detaches from the queue: frames this reader has not read no longer hold the
  // writer back.
  ~RQFrameReader() override;

  // The next frame; waits while none is there. Null only once the queue has ended
  // and this reader has read every frame. Throws on a cancelled queue or after close().
  KX::RPtr<RFrame> nextFrame();
  KX::RPtr<const RDescription> getDescription() const { return queue->getDescription(); }
  // Frames this reader has read.
  uint64_t getTotalRead() const { return totalRead.load(std::memory_order_acquire); }
  // Frames put and not yet read by this reader.
  uint64_t getCount() const;
  // Stops reading early, as the destructor does.
  void close();

private:
  friend class RQueue;
  explicit RQFrameReader(KX::RPtr<RQueue> queue) : RQueueRW(std::move(queue)) {}

  std::atomic<uint64_t> totalRead{0};
  bool closed = false;  // guarded by the queue's mutex
};

// The writing end of a queue. Used by one thread (the writing component's).
class KX_EXPORT RQFrameWriter : public RQueueRW {
public:
  // A writer released before end() cancels the queue: its readers would otherwise
  // wait forever, or take a cut stream for a whole one.
  ~RQFrameWriter() override;

  // Describes the stream to the readers; may be replaced.
  void setDescription(KX::RPtr<const RDescription> d);
  // Appends the frame (not null), holding a reference; waits while the queue is full.
  // Throws after end() and on a cancelled queue.
  void put(KX::RPtr<RFrame> frame);
  // Marks the end of the stream after the last frame; repeating it changes nothing.
  void end();

private:
  friend class RQueue;
  explicit RQFrameWriter(KX::RPtr<RQueue> queue) : RQueueRW(std::move(queue)) {}
};

}  // namespace KX::ZM
