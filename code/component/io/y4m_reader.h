#pragma once
// Reads one YUV4MPEG2 stream: the stream header when opened, then frame after frame
// straight into memory the caller provides. Errors are KX::CException naming the
// stream and the frame. One thread at a time.

#include "io/descriptor.h"
#include "io/y4m_header.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ns_y4m {

class y4m_reader {
public:
  // Opens `path` ("-" = standard input) and reads the stream header.
  explicit y4m_reader(const std::string& path);
  // Reads from an open descriptor (closed at the end when `owned`).
  y4m_reader(int fd, std::string name, bool owned);

  const std::string& name() const { return in.name(); }
  const stream_header& header() const { return stream; }
  uint64_t picture_size() const { return picture; }

  struct frame_count {
    uint64_t frames;
    bool exact;  // the bytes after the header are whole frames with bare "FRAME" headers
  };
  // Frames left in a regular file, from its size; nothing for pipes.
  std::optional<frame_count> frames_in_file() const;

  void set_stop(stop_check check) { in.set_stop(std::move(check)); }

  // Reads the next picture (picture_size() bytes) into `out`; false at the end of the
  // stream. A stream that ends inside a frame is an error, never a shorter stream.
  bool read_frame(uint8_t* out);
  const frame_header& last_frame_header() const { return frame; }
  uint64_t frames_read() const { return count; }

private:
  void read_stream_header();
  // The next line from the look-ahead, without its newline; empty optional when the
  // stream ends before its first byte.
  std::optional<std::string_view> next_line(size_t limit, bool stream_start);
  // Reads more into the look-ahead; false at the end of the stream.
  bool fill();
  [[noreturn]] void fail_frame(const std::string& what) const;

  descriptor in;
  stream_header stream;
  frame_header frame;
  uint64_t picture = 0;
  uint64_t header_bytes = 0;
  uint64_t count = 0;
  // Bytes read ahead of the current position: [begin, end) of look_ahead.
  std::vector<char> look_ahead;
  size_t begin = 0;
  size_t end = 0;
};

}  // namespace ns_y4m
