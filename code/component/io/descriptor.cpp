#include "io/descriptor.h"

#include "base/CException.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace ns_y4m {

descriptor::descriptor(const std::string& path, mode m) {
  if (path == "-") {
    handle = m == mode::read ? STDIN_FILENO : STDOUT_FILENO;
    label = m == mode::read ? "standard input" : "standard output";
  } else {
    label = path;
    const int flags = m == mode::read ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC;
    do {
      handle = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
    } while (handle < 0 && errno == EINTR);
    if (handle < 0) fail_errno(m == mode::read ? "cannot open" : "cannot create");
    owned = true;
  }
  inspect();
}

descriptor::descriptor(int fd, std::string name, bool owned) : handle(fd), label(std::move(name)), owned(owned) {
  inspect();
}

descriptor::~descriptor() {
  if (owned && handle >= 0) ::close(handle);
}

void descriptor::inspect() {
  struct stat st {};
  if (::fstat(handle, &st) != 0) fail_errno("cannot use");
  if (S_ISDIR(st.st_mode)) fail("is a directory");
  regular = S_ISREG(st.st_mode);
  if (regular) {
    const off_t position = ::lseek(handle, 0, SEEK_CUR);
    if (position >= 0 && position <= st.st_size) ahead = static_cast<uint64_t>(st.st_size - position);
    ::posix_fadvise(handle, 0, 0, POSIX_FADV_SEQUENTIAL);
  }
}

void descriptor::wait_ready(mode m, bool blocked) const {
  if (regular || (!stop && !blocked)) return;
  pollfd p{handle, static_cast<short>(m == mode::read ? POLLIN : POLLOUT), 0};
  for (;;) {
    const int n = ::poll(&p, 1, 200);
    if (n > 0) return;  // ready, or an error that the read or write will report
    if (n < 0 && errno != EINTR) fail_errno("cannot wait for data");
    if (stop && stop()) fail("stopped while waiting: the job was cancelled");
  }
}

void descriptor::close_checked() {
  if (!owned || handle < 0) return;
  const int fd = std::exchange(handle, -1);
  // Linux releases the descriptor even when close reports an error, so no retry.
  if (::close(fd) != 0 && errno != EINTR) fail_errno("write failed");
}

void descriptor::fail(const std::string& what) const {
  KX::CException::raise(__LINE__, __FILE__, "ns_y4m::descriptor", "%s: %s", label.c_str(), what.c_str());
}

void descriptor::fail_errno(const std::string& what) const {
  const int e = errno;
  std::string message = what + ": " + std::strerror(e);
  if (e == EPIPE) message += " (the reading end of the pipe was closed)";
  fail(message);
}

}  // namespace ns_y4m
