#include "base/CSemaphore.h"

#include "base/CException.h"

#include <climits>

namespace KX {

namespace {

// Holds a pthread mutex for one scope, also when the scope is left by a throw.
class ScopedLock {
public:
  explicit ScopedLock(pthread_mutex_t* m) : mutex(m) { pthread_mutex_lock(mutex); }
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;
  ~ScopedLock() { pthread_mutex_unlock(mutex); }

private:
  pthread_mutex_t* mutex;
};

}  // namespace

CSemaphore::CSemaphore(int n) : count(n), primitives(std::make_shared<Primitives>()) {}

CSemaphore::CSemaphore(const CSemaphore& other) : count(other.lockedCount()), primitives(other.primitives) {}

CSemaphore& CSemaphore::operator=(const CSemaphore& other) {
  if (this != &other) {
    count = other.lockedCount();
    primitives = other.primitives;
  }
  return *this;
}

CSemaphore::~CSemaphore() = default;

int32_t CSemaphore::lockedCount() const {
  ScopedLock lock(primitives->mutex.get());
  return count;
}

int CSemaphore::post() {
  ScopedLock lock(primitives->mutex.get());
  if (count == INT32_MAX) {
    CException::raise(__LINE__, __FILE__, "KX::CSemaphore::post", "the count is already %d", INT32_MAX);
  }
  count += 1;
  // Copies wait on this condition too, each for its own count: a single signal could
  // wake one of theirs and leave this semaphore's waiter asleep. Everyone woken looks
  // at their own count again, so still only one waiter of this count goes on.
  pthread_cond_broadcast(primitives->condition.get());
  return count;
}

int CSemaphore::wait() {
  ScopedLock lock(primitives->mutex.get());
  while (count < 1) pthread_cond_wait(primitives->condition.get(), primitives->mutex.get());
  count -= 1;
  return count;
}

// Re-creating the primitives is what a reset amounts to while nobody uses the
// semaphore; doing it under the lock instead keeps a reset during a wait defined.
int CSemaphore::reset(int n) {
  ScopedLock lock(primitives->mutex.get());
  count = n;
  pthread_cond_broadcast(primitives->condition.get());
  return 0;
}

}  // namespace KX
