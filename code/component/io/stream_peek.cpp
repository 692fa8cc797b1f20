#include "io/stream_peek.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <string_view>

namespace ns_media {

namespace {

constexpr std::string_view magic = "YUV4MPEG2 ";

bool matches(const char* bytes, size_t n) { return n == magic.size() && std::memcmp(bytes, magic.data(), n) == 0; }

bool file_starts_as_y4m(int fd, off_t offset) {
  char bytes[magic.size()];
  const ssize_t n = ::pread(fd, bytes, sizeof bytes, offset);
  return n < 0 || matches(bytes, static_cast<size_t>(n));
}

// tee(2) copies what the pipe holds into a pipe of our own and leaves the input as it
// was. A writer may not have put all of the first bytes in yet: while what is there
// still agrees with the magic, look again a little later.
bool pipe_starts_as_y4m(int fd) {
  int own[2];
  if (::pipe(own) != 0) return true;
  char bytes[magic.size()] = {};
  ssize_t have = 0;
  for (int attempt = 0; attempt < 5000; ++attempt) {
    const ssize_t n = ::tee(fd, own[1], magic.size(), 0);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    have = ::read(own[0], bytes, static_cast<size_t>(n));
    if (have < 0 || static_cast<size_t>(have) == magic.size() ||
        std::memcmp(bytes, magic.data(), static_cast<size_t>(have)) != 0) {
      break;
    }
    const timespec pause{0, 1000000};
    ::nanosleep(&pause, nullptr);
  }
  ::close(own[0]);
  ::close(own[1]);
  return have <= 0 || matches(bytes, static_cast<size_t>(have));
}

}  // namespace

bool looks_like_y4m(const std::string& path) {
  if (path != "-") {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return true;
    const bool y4m = file_starts_as_y4m(fd, 0);
    ::close(fd);
    return y4m;
  }
  struct stat st {};
  if (::fstat(STDIN_FILENO, &st) != 0) return true;
  if (S_ISREG(st.st_mode)) return file_starts_as_y4m(STDIN_FILENO, ::lseek(STDIN_FILENO, 0, SEEK_CUR));
  if (S_ISFIFO(st.st_mode)) return pipe_starts_as_y4m(STDIN_FILENO);
  return true;
}

}  // namespace ns_media
