#include "introoutro/interrupts.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace ns_introoutro {

namespace {

sigset_t stop_signals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGHUP);
  return set;
}

[[noreturn]] void fail(const char* what) {
  throw std::runtime_error(std::string("cannot watch for interrupts: ") + what + ": " + std::strerror(errno));
}

}  // namespace

interrupt_watch::interrupt_watch(std::chrono::milliseconds grace, stuck_action stuck) : stuck(std::move(stuck)) {
  const sigset_t set = stop_signals();
  if (::pthread_sigmask(SIG_BLOCK, &set, nullptr) != 0) fail("pthread_sigmask");
  signal_fd = ::signalfd(-1, &set, SFD_CLOEXEC);
  if (signal_fd < 0) fail("signalfd");
  wake_fd = ::eventfd(0, EFD_CLOEXEC);
  if (wake_fd < 0) {
    ::close(signal_fd);
    fail("eventfd");
  }
  thread = std::thread([this, grace] { watch(grace); });
}

interrupt_watch::~interrupt_watch() {
  const uint64_t one = 1;
  while (::write(wake_fd, &one, sizeof one) < 0 && errno == EINTR) {
  }
  thread.join();
  ::close(wake_fd);
  ::close(signal_fd);
}

void interrupt_watch::watch(std::chrono::milliseconds grace) {
  pollfd fds[2] = {{signal_fd, POLLIN, 0}, {wake_fd, POLLIN, 0}};
  int timeout = -1;  // none until the first signal
  for (;;) {
    const int n = ::poll(fds, 2, timeout);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 || (fds[1].revents & POLLIN) != 0) return;
    if (n == 0) {
      stuck(signal());
      return;
    }
    signalfd_siginfo info{};
    if (::read(signal_fd, &info, sizeof info) != static_cast<ssize_t>(sizeof info)) continue;
    int none = 0;
    if (!received.compare_exchange_strong(none, static_cast<int>(info.ssi_signo), std::memory_order_acq_rel)) {
      stuck(signal());  // asked twice: the user will not wait
      return;
    }
    timeout = static_cast<int>(grace.count());
  }
}

interrupted::interrupted(int signal, uint64_t frames)
    : std::runtime_error("interrupted after " + std::to_string(frames) + " frames"), signal(signal), frames(frames) {}

}  // namespace ns_introoutro
