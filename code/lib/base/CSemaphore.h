#pragma once
// KX::CSemaphore: a counting semaphore on a POSIX mutex and condition. Copies name the
// same count and primitives, which live until the last copy is gone. post and wait
// may be called from any thread.

#include "base/KXExport.h"
#include "base/posix_object.h"

#include <cstdint>
#include <memory>

namespace KX {

class KX_EXPORT CSemaphore {
public:
  explicit CSemaphore(int n = 0);
  CSemaphore(const CSemaphore&) = default;
  CSemaphore& operator=(const CSemaphore&) = default;
  virtual ~CSemaphore();

  // Adds one to the count and wakes one waiter; returns the new count. A count that
  // would pass INT32_MAX throws KX::CException and is left as it is.
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
  struct State {
    explicit State(int n)
        : count(n), mutex("KX::CSemaphore::CSemaphore"), condition("KX::CSemaphore::CSemaphore") {}
    int32_t count;
    detail::PosixMutex mutex;
    detail::PosixCondition condition;
  };

  std::shared_ptr<State> state;
};

}  // namespace KX
