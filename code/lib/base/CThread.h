#pragma once
// KX::CThread<T>: runs threadrunloop on a POSIX thread of its own. An exception that
// escapes threadrunloop goes to handleException, which by default prints it and
// aborts; classes that can recover (components) override it.

#include "base/CException.h"
#include "base/KXExport.h"
#include "ulbase/object_refcount.h"

#include <cxxabi.h>
#include <pthread.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>

namespace KX {

// Receives the exceptions that escape a thread's loop.
class KX_EXPORT CExceptionHandlerP {
public:
  virtual ~CExceptionHandlerP();
  virtual void handleException(const CException& e) = 0;
};

template <class T>
class KX_EXPORT CThread : public CExceptionHandlerP {
public:
  CThread() = default;
  // A copy names the same thread (handle and state) and copies the attributes; join
  // the thread through one of them only.
  CThread(const CThread&) = default;
  CThread& operator=(const CThread&) = default;
  ~CThread() override = default;

  void handleException(const CException& e) override {
    e.print();
    std::abort();
  }
  virtual int threadrunloop(ulbase::object_refcount* argument) = 0;

  // Attribute "name" names the thread for debuggers (the system keeps 15 bytes).
  void setAttribute(const std::string& key, const std::string& value) { attributes[key] = value; }
  // The value, or "" when the key was never set.
  std::string getAttribute(const std::string& key) const {
    const auto it = attributes.find(key);
    return it != attributes.end() ? it->second : std::string();
  }

  // Starts the thread running threadrunloop(argument). Returns 0, EBUSY when a thread
  // was started and not yet joined, or pthread_create's error.
  int start(ulbase::object_refcount* argument) {
    if (state == kStarted) return EBUSY;
    context = argument;
    result = 0;
    const int error = pthread_create(&handle, nullptr, &CThread::entry, this);
    if (error != 0) return error;
    state = kStarted;
    return 0;
  }
  // Waits for the thread. Returns 0, EINVAL when none was started, or
  // pthread_join's error.
  int join() {
    if (state != kStarted) return EINVAL;
    const int error = pthread_join(handle, nullptr);
    if (error == 0) state = kJoined;
    return error;
  }
  // Once joined: threadrunloop's result (-1 when it ended by an exception), and
  // whether it did.
  int getResult() const { return result; }
  bool endedByException() const { return failed != 0; }

private:
  enum : int32_t { kIdle = 0, kStarted = 1, kJoined = 2 };

  static void* entry(void* self) {
    auto* thread = static_cast<CThread*>(self);
    // Named from inside, so the loop never sees the name still missing.
    const std::string name = thread->getAttribute("name");
    if (!name.empty()) pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
    try {
      thread->result = thread->threadrunloop(thread->context);
    } catch (abi::__forced_unwind&) {
      throw;  // thread cancellation must unwind to the end
    } catch (...) {
      thread->result = -1;
      thread->failed = 1;
      thread->handleException(CException::fromCurrentException("KX::CThread::threadrunloop"));
    }
    return nullptr;
  }

  ulbase::object_refcount* context = nullptr;  // threadrunloop's argument
  pthread_t handle{};
  std::map<std::string, std::string> attributes;
  int32_t state = kIdle;
  int32_t result = 0;
  int32_t failed = 0;
};

}  // namespace KX
