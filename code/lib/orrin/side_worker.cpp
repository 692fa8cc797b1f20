#include "orrin/side_worker.h"

#include <utility>

namespace Quorvane::Orrin {

side_worker::side_worker() : thread_([this] { loop(); }) {}

side_worker::~side_worker() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

void side_worker::start(std::function<void()> job) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    job_ = std::move(job);
    busy_ = true;
  }
  wake_.notify_all();
}

void side_worker::wait() {
  std::unique_lock<std::mutex> lock(mutex_);
  wake_.wait(lock, [this] { return !busy_; });
}

void side_worker::loop() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return stopping_ || (busy_ && job_); });
    // A job started before destruction still runs, so that its owner's wait returns.
    if (!busy_) return;
    std::function<void()> job = std::move(job_);
    job_ = nullptr;
    lock.unlock();
    job();
    lock.lock();
    busy_ = false;
    wake_.notify_all();
  }
}

}  // namespace Quorvane::Orrin
