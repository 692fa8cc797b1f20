#pragma once
// KX::CCondition: a POSIX condition variable with default attributes (waits measured
// on the system clock). Copies name the same condition, which lives until the last
// copy is gone. Members may be called from any thread and return the pthread result.

#include "base/CMutex.h"
#include "base/CTimeStamp.h"
#include "base/KXExport.h"
#include "base/posix_object.h"

#include <pthread.h>

#include <memory>

namespace KX {

namespace detail {

// The deadline as pthread_cond_timedwait takes it: CTimeStamp's timespec conversion,
// then normalised so that tv_nsec lies in [0, 1e9) (the conversion may give 1e9, or a
// negative count before 1970, which the wait would refuse with EINVAL).
KX_EXPORT timespec deadlineTimespec(CTimeStamp deadline);

}  // namespace detail

class KX_EXPORT CCondition {
public:
  CCondition();
  CCondition(const CCondition&) = default;
  CCondition& operator=(const CCondition&) = default;
  virtual ~CCondition();

  // m must be locked by the caller; it is locked again on return.
  int wait(CMutex& m) { return pthread_cond_wait(condition->get(), m.getHandle()); }
  // Waits until signalled or until the absolute time `deadline` (seconds since
  // 1970-01-01 UTC) has passed: then ETIMEDOUT.
  int timedWait(CTimeStamp deadline, CMutex& m) {
    const timespec until = detail::deadlineTimespec(deadline);
    return pthread_cond_timedwait(condition->get(), m.getHandle(), &until);
  }
  int signal() { return pthread_cond_signal(condition->get()); }
  int broadcast() { return pthread_cond_broadcast(condition->get()); }

private:
  std::shared_ptr<detail::PosixCondition> condition;
};

}  // namespace KX
