// The queue is a ring of `capacity` slots under one mutex. Frame n goes to slot
// n % capacity with a count of the readers still to read it; the reader that brings
// the count to 0 takes the queue's reference with it, and the writer may reuse the
// slot from then on. Readers read in order, so the slot freed first is always the
// oldest one, the one a waiting writer needs. Nothing is allocated per frame, and
// condition variables are signalled only when someone waits on them.

#include "zm/RQueue.h"

#include "base/CException.h"

namespace KX::ZM {

KX::RPtr<RQueue> RQueue::create(const std::string& name, uint32_t capacity) {
  if (capacity == 0) {
    KX::CException::raise(__LINE__, __FILE__, "KX::ZM::RQueue::create",
                          "queue '%s': capacity must be at least 1 frame", name.c_str());
  }
  return KX::RPtr<RQueue>(new RQueue(name, capacity));
}

RQueue::RQueue(const std::string& name, uint32_t capacity)
    : name(static_cast<int>(name.size()), name.data(), KX::kCopy), capacity(capacity), ring(capacity) {}

RQueue::~RQueue() = default;

bool RQueue::isCancelled() const {
  std::lock_guard lock(mutex);
  return cancelled;
}

KX::RPtr<const RDescription> RQueue::getDescription() const {
  std::lock_guard lock(mutex);
  return description;
}

void RQueue::cancel(const std::string& reason) {
  {
    std::lock_guard lock(mutex);
    if (cancelled) return;
    cancelled = true;
    cancelReason = reason;
  }
  frameAdded.notify_all();
  slotFreed.notify_all();
}

void RQueue::throwCancelled(const char* where) const {
  KX::CException::raise(__LINE__, __FILE__, where, "queue '%s' was cancelled: %s", name.desc(),
                        cancelReason.c_str());
}

KX::RPtr<RQFrameWriter> RQueue::createWriter() {
  std::lock_guard lock(mutex);
  if (hasWriter) {
    KX::CException::raise(__LINE__, __FILE__, "KX::ZM::RQueue::createWriter", "queue '%s' already has a writer",
                          name.desc());
  }
  KX::RPtr<RQFrameWriter> writer(new RQFrameWriter(KX::RPtr<RQueue>(this)));
  hasWriter = true;
  return writer;
}

KX::RPtr<RQFrameReader> RQueue::createReader() {
  std::lock_guard lock(mutex);
  const uint64_t total = totalNodes.load(std::memory_order_relaxed);
  if (total > 0) {
    KX::CException::raise(__LINE__, __FILE__, "KX::ZM::RQueue::createReader",
                          "queue '%s': a reader must attach before the first frame is put (%llu were)", name.desc(),
                          static_cast<unsigned long long>(total));
  }
  KX::RPtr<RQFrameReader> reader(new RQFrameReader(KX::RPtr<RQueue>(this)));
  ++readers;
  return reader;
}

void RQueue::put(KX::RPtr<RFrame> frame) {
  const char* where = "KX::ZM::RQFrameWriter::put";
  if (!frame) {
    KX::CException::raise(__LINE__, __FILE__, where, "queue '%s': put of a null frame (after %llu frames)",
                          name.desc(), static_cast<unsigned long long>(getTotalNodes()));
  }
  std::unique_lock lock(mutex);
  const uint64_t total = totalNodes.load(std::memory_order_relaxed);
  Slot& slot = ring[total % capacity];
  for (;;) {
    if (cancelled) throwCancelled(where);
    if (ended.load(std::memory_order_relaxed)) {
      KX::CException::raise(__LINE__, __FILE__, where, "queue '%s': frame %u put after end()", name.desc(),
                            frame->getSequence());
    }
    if (readers == 0 || slot.pending == 0) break;
    writerWaiting = true;
    slotFreed.wait(lock);
    writerWaiting = false;
  }
  // With no reader attached (all closed early) the frame is counted and dropped.
  if (readers > 0) {
    slot.frame = std::move(frame);
    slot.pending = readers;
  }
  totalNodes.store(total + 1, std::memory_order_release);
  const bool wake = waitingReaders > 0;
  lock.unlock();
  if (wake) frameAdded.notify_all();
}

KX::RPtr<RFrame> RQueue::take(RQFrameReader& reader) {
  const char* where = "KX::ZM::RQFrameReader::nextFrame";
  std::unique_lock lock(mutex);
  for (;;) {
    if (cancelled) throwCancelled(where);
    if (reader.closed) {
      KX::CException::raise(__LINE__, __FILE__, where, "queue '%s': nextFrame on a closed reader", name.desc());
    }
    const uint64_t position = reader.totalRead.load(std::memory_order_relaxed);
    if (position < totalNodes.load(std::memory_order_relaxed)) {
      Slot& slot = ring[position % capacity];
      KX::RPtr<RFrame> frame;
      if (--slot.pending == 0) {
        frame = std::move(slot.frame);
      } else {
        frame = slot.frame;
      }
      reader.totalRead.store(position + 1, std::memory_order_release);
      const bool wake = slot.pending == 0 && writerWaiting;
      lock.unlock();
      if (wake) slotFreed.notify_one();
      return frame;
    }
    if (ended.load(std::memory_order_relaxed)) return nullptr;
    ++waitingReaders;
    frameAdded.wait(lock);
    --waitingReaders;
  }
}

void RQueue::end() {
  std::unique_lock lock(mutex);
  if (ended.load(std::memory_order_relaxed) || cancelled) return;
  ended.store(true, std::memory_order_release);
  const bool wake = waitingReaders > 0;
  lock.unlock();
  if (wake) frameAdded.notify_all();
}

void RQueue::setDescription(KX::RPtr<const RDescription> d) {
  if (!d) {
    KX::CException::raise(__LINE__, __FILE__, "KX::ZM::RQFrameWriter::setDescription",
                          "queue '%s': null description", name.desc());
  }
  std::lock_guard lock(mutex);
  description = std::move(d);
}

void RQueue::detach(RQFrameReader& reader) {
  std::unique_lock lock(mutex);
  if (reader.closed) return;
  reader.closed = true;
  --readers;
  const uint64_t total = totalNodes.load(std::memory_order_relaxed);
  for (uint64_t p = reader.totalRead.load(std::memory_order_relaxed); p < total; ++p) {
    Slot& slot = ring[p % capacity];
    if (--slot.pending == 0) slot.frame = nullptr;
  }
  const bool wakeWriter = writerWaiting;
  const bool wakeReaders = waitingReaders > 0;  // the closed reader may be waiting elsewhere
  lock.unlock();
  if (wakeWriter) slotFreed.notify_one();
  if (wakeReaders) frameAdded.notify_all();
}

void RQueue::writerGone() {
  bool cut = false;
  {
    std::lock_guard lock(mutex);
    cut = !ended.load(std::memory_order_relaxed) && !cancelled;
  }
  if (cut) cancel("its writer was released before end()");
}

RQueueRW::~RQueueRW() = default;

RQFrameReader::~RQFrameReader() { queue->detach(*this); }

KX::RPtr<RFrame> RQFrameReader::nextFrame() { return queue->take(*this); }

uint64_t RQFrameReader::getCount() const {
  // Position first: the total only grows, so it is never below a position read before.
  const uint64_t position = getTotalRead();
  return queue->getTotalNodes() - position;
}

void RQFrameReader::close() { queue->detach(*this); }

RQFrameWriter::~RQFrameWriter() { queue->writerGone(); }

void RQFrameWriter::setDescription(KX::RPtr<const RDescription> d) { queue->setDescription(std::move(d)); }

void RQFrameWriter::put(KX::RPtr<RFrame> frame) { queue->put(std::move(frame)); }

void RQFrameWriter::end() { queue->end(); }

}  // namespace KX::ZM
