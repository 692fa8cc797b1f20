#pragma once
// Internal to libkx's threading classes: one pthread mutex or condition variable,
// initialised with default attributes on construction and destroyed with the object.

#include "base/CException.h"

#include <pthread.h>

#include <cstring>

namespace KX::detail {

template <class T, class Attributes, int (*Init)(T*, const Attributes*), int (*Destroy)(T*)>
class PosixObject {
public:
  // `where` names the operation in the KX::CException thrown when the system refuses.
  explicit PosixObject(const char* where) {
    const int error = Init(&object, nullptr);
    if (error != 0) CException::raise(__LINE__, __FILE__, where, "cannot initialise: %s", std::strerror(error));
  }
  PosixObject(const PosixObject&) = delete;
  PosixObject& operator=(const PosixObject&) = delete;
  ~PosixObject() { Destroy(&object); }

  T* get() noexcept { return &object; }

private:
  T object;
};

using PosixMutex = PosixObject<pthread_mutex_t, pthread_mutexattr_t, pthread_mutex_init, pthread_mutex_destroy>;
using PosixCondition = PosixObject<pthread_cond_t, pthread_condattr_t, pthread_cond_init, pthread_cond_destroy>;

}  // namespace KX::detail
