#pragma once
// KX::CSemaphore: a counting semaphore on a POSIX mutex and condition. A copy names
// the same mutex and condition, which live until the last copy is gone, but counts on
// its own, from the count its source had when it was copied. post and wait may be
// called from any thread.

#include "base/KXExport.h"
#include "base/posix_object.h"

#include <cstdint>
#include <memory>

namespace KX {

class KX_EXPORT CSemaphore {
public:
  explicit CSemaphore(int n = 0);
  CSemaphore(const CSemaphore& other);
  CSemaphore& operator=(const CSemaphore& other);
  virtual ~CSemaphore();

  // Adds one to the count, which lets one waiter go on; returns the new count. A
  // count that would pass INT32_MAX throws KX::CException and is left as it is.
  int post();
  // Waits until the count is at least 1 and takes one; returns the new count.
  int wait();
  // Sets the count to n and wakes every waiter to look at it again; returns 0.
  int reset(int n);
  // Not supported: takes nothing and returns -1.
  int tryWait() { return -1; }
  // Not supported: returns 0 whatever the count.
  int getValue() const { return 0; }

private:
  struct Primitives {
    Primitives() : mutex("KX::CSemaphore::CSemaphore"), condition("KX::CSemaphore::CSemaphore") {}
    detail::PosixMutex mutex;
    detail::PosixCondition condition;
  };

  // The count read under the lock, so that a copy taken while other threads post
  // sees one consistent value.
  int32_t lockedCount() const;

  int32_t count;
  std::shared_ptr<Primitives> primitives;
};

}  // namespace KX
