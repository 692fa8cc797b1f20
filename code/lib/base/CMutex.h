#pragma once
// KX::CMutex: a POSIX mutex with default attributes. Copies name the same mutex,
// which lives until the last copy is gone. Members may be called from any thread and
// return the pthread result (0 on success).

#include "base/KXExport.h"
#include "base/posix_object.h"

#include <pthread.h>

#include <memory>

namespace KX {

class KX_EXPORT CMutex {
public:
  CMutex();
  CMutex(const CMutex&) = default;
  CMutex& operator=(const CMutex&) = default;
  virtual ~CMutex();

  int lock() { return pthread_mutex_lock(getHandle()); }
  int unlock() { return pthread_mutex_unlock(getHandle()); }
  // EBUSY when another holder has it.
  int tryLock() { return pthread_mutex_trylock(getHandle()); }

  // The shared pthread mutex, for pthread calls such as a condition wait.
  pthread_mutex_t* getHandle() const noexcept { return mutex->get(); }

private:
  std::shared_ptr<detail::PosixMutex> mutex;
};

}  // namespace KX
