// Reading keeps a small look-ahead for the header lines. A picture is copied from the
// look-ahead only as far as it already holds it; the rest comes with one readv that
// fills the caller's memory and then the look-ahead, so a frame of a regular file
// costs one system call and the picture bytes are copied once, by the kernel.

#include "io/y4m_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/uio.h>
#include <unistd.h>

namespace ns_y4m {

namespace {

// Also the longest stream header accepted.
constexpr size_t look_ahead_bytes = 16 * 1024;
// "FRAME" and its parameters.
constexpr size_t frame_line_limit = 4096;
constexpr std::string_view magic = "YUV4MPEG2";

}  // namespace

y4m_reader::y4m_reader(const std::string& path) : in(path, descriptor::mode::read), look_ahead(look_ahead_bytes) {
  read_stream_header();
}

y4m_reader::y4m_reader(int fd, std::string name, bool owned)
    : in(fd, std::move(name), owned), look_ahead(look_ahead_bytes) {
  read_stream_header();
}

void y4m_reader::read_stream_header() {
  // The signature first, so that a large file of another kind is named as such
  // rather than as a header without an end.
  while (end < magic.size() && fill()) {
  }
  if (end == 0) in.fail("the stream is empty: a YUV4MPEG2 stream was expected");
  const std::string_view start(look_ahead.data(), std::min(end, magic.size()));
  if (magic.substr(0, start.size()) != start) {
    in.fail("not a YUV4MPEG2 stream (it starts with '" + printable_excerpt({look_ahead.data(), end}) + "')");
  }
  const std::optional<std::string_view> line = next_line(look_ahead.size(), true);
  try {
    stream = parse_stream_header(*line);
  } catch (const format_error& e) {
    in.fail(e.what());
  }
  header_bytes = line->size() + 1;
  picture = picture_bytes(stream);
}

std::optional<y4m_reader::frame_count> y4m_reader::frames_in_file() const {
  if (!in.is_regular() || in.bytes_ahead() < header_bytes) return std::nullopt;
  const uint64_t rest = in.bytes_ahead() - header_bytes;
  const uint64_t unit = picture + 6;  // "FRAME\n"
  return frame_count{rest / unit, rest % unit == 0};
}

bool y4m_reader::fill() {
  ssize_t n = 0;
  bool blocked = false;
  do {
    in.wait_ready(descriptor::mode::read, blocked);
    n = ::read(in.fd(), look_ahead.data() + end, look_ahead.size() - end);
    blocked = n < 0 && errno == EAGAIN;
  } while (n < 0 && (errno == EINTR || blocked));
  if (n < 0) in.fail_errno("read failed");
  end += static_cast<size_t>(n);
  return n > 0;
}

std::optional<std::string_view> y4m_reader::next_line(size_t limit, bool stream_start) {
  size_t scanned = begin;
  for (;;) {
    const void* newline = std::memchr(look_ahead.data() + scanned, '\n', end - scanned);
    if (newline != nullptr) {
      const char* first = look_ahead.data() + begin;
      const auto length = static_cast<size_t>(static_cast<const char*>(newline) - first);
      begin += length + 1;
      return std::string_view(first, length);
    }
    if (end - begin >= limit) {
      const std::string what = stream_start ? "the stream header" : "a FRAME header";
      in.fail(what + " is longer than " + std::to_string(limit) + " bytes");
    }
    if (begin > 0) {
      std::memmove(look_ahead.data(), look_ahead.data() + begin, end - begin);
      end -= begin;
      begin = 0;
    }
    scanned = end;
    if (!fill()) {
      if (end == 0) return std::nullopt;
      if (stream_start) in.fail("the stream ends inside its header");
      fail_frame("the stream ends inside the FRAME header");
    }
  }
}

bool y4m_reader::read_frame(uint8_t* out) {
  const std::optional<std::string_view> line = next_line(frame_line_limit, false);
  if (!line) return false;
  try {
    frame = parse_frame_header(*line);
  } catch (const format_error& e) {
    fail_frame(e.what());
  }
  const size_t buffered = static_cast<size_t>(std::min<uint64_t>(end - begin, picture));
  std::memcpy(out, look_ahead.data() + begin, buffered);
  begin += buffered;
  if (begin == end) begin = end = 0;
  uint64_t got = buffered;
  while (got < picture) {
    // The look-ahead is empty here.
    iovec parts[2] = {{out + got, static_cast<size_t>(picture - got)}, {look_ahead.data(), look_ahead.size()}};
    ssize_t n = 0;
    bool blocked = false;
    do {
      in.wait_ready(descriptor::mode::read, blocked);
      n = ::readv(in.fd(), parts, 2);
      blocked = n < 0 && errno == EAGAIN;
    } while (n < 0 && (errno == EINTR || blocked));
    if (n < 0) in.fail_errno("frame " + std::to_string(count) + ": read failed");
    if (n == 0) {
      fail_frame("the stream ends inside the picture (" + std::to_string(got) + " of " + std::to_string(picture) +
                 " bytes): the last frame is cut short");
    }
    const auto read = static_cast<uint64_t>(n);
    if (read > picture - got) {
      end = static_cast<size_t>(read - (picture - got));
      got = picture;
    } else {
      got += read;
    }
  }
  ++count;
  return true;
}

void y4m_reader::fail_frame(const std::string& what) const { in.fail("frame " + std::to_string(count) + ": " + what); }

}  // namespace ns_y4m
