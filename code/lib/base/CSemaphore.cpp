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

CSemaphore::CSemaphore(int n) : state(std::make_shared<State>(n)) {}

CSemaphore::~CSemaphore() = default;

int CSemaphore::post() {
  ScopedLock lock(state->mutex.get());
  if (state->count == INT32_MAX) {
    CException::raise(__LINE__, __FILE__, "KX::CSemaphore::post", "the count is already %d", INT32_MAX);
  }
  state->count += 1;
  pthread_cond_signal(state->condition.get());
  return state->count;
}

int CSemaphore::wait() {
  ScopedLock lock(state->mutex.get());
  while (state->count < 1) pthread_cond_wait(state->condition.get(), state->mutex.get());
  state->count -= 1;
  return state->count;
}

// Re-creating the primitives is what a reset amounts to while nobody uses the
// semaphore; doing it under the lock instead keeps a reset during a wait defined.
int CSemaphore::reset(int n) {
  ScopedLock lock(state->mutex.get());
  state->count = n;
  pthread_cond_broadcast(state->condition.get());
  return 0;
}

}  // namespace KX
