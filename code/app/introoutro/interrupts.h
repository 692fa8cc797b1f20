#pragma once
// SIGINT, SIGTERM and SIGHUP as a request to stop the job. No handler runs: the
// signals are blocked in every thread and read from a signalfd by a thread of this
// class, which records the first one. The job polls signal() and cancels its graph;
// should it still be running a grace period later (blocked opening or reading an
// input before its graph runs), `stuck` is called on the watching thread.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <thread>

namespace ns_introoutro {

class interrupt_watch {
public:
  // Gets the signal; expected not to return (it ends the process).
  using stuck_action = std::function<void(int signal)>;

  // Blocks the three signals in the calling thread and so in every thread started
  // after: construct it before any other thread. Throws std::runtime_error when the
  // signals cannot be watched.
  interrupt_watch(std::chrono::milliseconds grace, stuck_action stuck);
  ~interrupt_watch();
  interrupt_watch(const interrupt_watch&) = delete;
  interrupt_watch& operator=(const interrupt_watch&) = delete;

  // The first signal received; 0 while none. Any thread.
  int signal() const { return received.load(std::memory_order_acquire); }
  // signal() != 0, noting the frames written so far for a stop's message.
  bool requested(uint64_t frames_written) {
    frames.store(frames_written, std::memory_order_relaxed);
    return signal() != 0;
  }
  uint64_t frames_written() const { return frames.load(std::memory_order_relaxed); }

private:
  void watch(std::chrono::milliseconds grace);

  int signal_fd = -1;
  int wake_fd = -1;  // an eventfd that ends the watching thread
  stuck_action stuck;
  std::atomic<int> received{0};
  std::atomic<uint64_t> frames{0};
  std::thread thread;
};

// A job stopped by a signal: "interrupted after N frames".
class interrupted : public std::runtime_error {
public:
  interrupted(int signal, uint64_t frames);
  int exit_status() const { return 128 + signal; }

  const int signal;
  const uint64_t frames;
};

}  // namespace ns_introoutro
