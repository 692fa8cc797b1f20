#pragma once
// An open file descriptor with the name that messages use for it ("standard input",
// or the path). Errors are KX::CException with messages that begin with the name.

#include <functional>
#include <string>

namespace ns_y4m {

// Asked a few times a second while a read or write waits on a pipe or terminal; true
// gives up the wait (the graph was cancelled) instead of blocking forever.
using stop_check = std::function<bool()>;

class descriptor {
public:
  enum class mode { read, write };
  // "-" is standard input (read) or output (write), left open at the end; a path is
  // opened, for writing created or truncated.
  descriptor(const std::string& path, mode m);
  // Takes an open descriptor, closed at the end when `owned`.
  descriptor(int fd, std::string name, bool owned);
  ~descriptor();
  descriptor(const descriptor&) = delete;
  descriptor& operator=(const descriptor&) = delete;

  int fd() const { return handle; }
  const std::string& name() const { return label; }
  // A regular file: reads never wait and the size is known.
  bool is_regular() const { return regular; }
  // The regular file's bytes from the current position to its end (0 for others).
  uint64_t bytes_ahead() const { return ahead; }

  void set_stop(stop_check check) { stop = std::move(check); }
  // Waits until a read (write) would not block. Returns at once for regular files
  // and, unless `blocked` (a non-blocking descriptor said EAGAIN), when nothing may stop.
  void wait_ready(mode m, bool blocked = false) const;
  // Closes an owned descriptor now, reporting a late write error.
  void close_checked();

  [[noreturn]] void fail(const std::string& what) const;
  // fail() with what, ": " and the text of errno.
  [[noreturn]] void fail_errno(const std::string& what) const;

private:
  void inspect();

  int handle = -1;
  std::string label;
  bool owned = false;
  bool regular = false;
  uint64_t ahead = 0;
  stop_check stop;
};

}  // namespace ns_y4m
