#include "io/y4m_writer.h"

#include <cerrno>
#include <sys/uio.h>

namespace ns_y4m {

namespace {

char frame_line[] = "FRAME\n";

}  // namespace

y4m_writer::y4m_writer(const std::string& path) : out(path, descriptor::mode::write) {}

y4m_writer::y4m_writer(int fd, std::string name, bool owned) : out(fd, std::move(name), owned) {}

void y4m_writer::write_header(const stream_header& h) {
  std::string text = format_stream_header(h);
  iovec part{text.data(), text.size()};
  write_all(&part, 1, "the stream header");
}

void y4m_writer::write_frame(const uint8_t* picture, size_t bytes, std::string_view parameters) {
  std::string line;
  if (!parameters.empty()) line.append("FRAME ").append(parameters).append("\n");
  iovec parts[2] = {{frame_line, sizeof frame_line - 1}, {const_cast<uint8_t*>(picture), bytes}};
  if (!line.empty()) parts[0] = {line.data(), line.size()};
  const std::string what = "frame " + std::to_string(frames);
  write_all(parts, 2, what.c_str());
  ++frames;
}

void y4m_writer::write_all(iovec* parts, int count, const char* what) {
  bool blocked = false;
  while (count > 0) {
    out.wait_ready(descriptor::mode::write, blocked);
    const ssize_t n = ::writev(out.fd(), parts, count);
    blocked = n < 0 && errno == EAGAIN;
    if (n < 0) {
      if (errno == EINTR || blocked) continue;
      out.fail_errno(std::string(what) + ": write failed");
    }
    written += static_cast<uint64_t>(n);
    auto left = static_cast<size_t>(n);
    while (count > 0 && left >= parts->iov_len) {
      left -= parts->iov_len;
      ++parts;
      --count;
    }
    if (count > 0) {
      parts->iov_base = static_cast<char*>(parts->iov_base) + left;
      parts->iov_len -= left;
    }
  }
}

}  // namespace ns_y4m
