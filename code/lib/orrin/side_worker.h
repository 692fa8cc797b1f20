#pragma once
// Internal: one helper thread that runs a job beside its owner. The owner starts a
// job, does its own share and waits; one job at a time, from one owner thread. The
// thread starts with the object and is joined when it is destroyed.

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "orrin/api.h"

namespace Quorvane::Orrin {

class ORRIN_API side_worker {
public:
  side_worker();
  ~side_worker();
  side_worker(const side_worker&) = delete;
  side_worker& operator=(const side_worker&) = delete;

  // Runs `job` on the helper thread; returns at once.
  void start(std::function<void()> job);
  // Returns once the started job has finished.
  void wait();

private:
  void loop();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::function<void()> job_;
  bool busy_ = false;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace Quorvane::Orrin
