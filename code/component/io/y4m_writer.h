#pragma once
// Writes one YUV4MPEG2 stream: the stream header, then frames with bare "FRAME"
// headers. Errors (a full disk, a closed pipe) are KX::CException naming the stream.
// One thread at a time.

#include "io/descriptor.h"
#include "io/y4m_header.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <sys/uio.h>

namespace ns_y4m {

class y4m_writer {
public:
  // Creates or truncates `path`; "-" is standard output.
  explicit y4m_writer(const std::string& path);
  // Writes to an open descriptor (closed at the end when `owned`).
  y4m_writer(int fd, std::string name, bool owned);

  const std::string& name() const { return out.name(); }
  void set_stop(stop_check check) { out.set_stop(std::move(check)); }

  void write_header(const stream_header& h);
  // "FRAME", the parameters when any (space-separated, as in the file), the picture.
  void write_frame(const uint8_t* picture, size_t bytes, std::string_view parameters = {});
  // Closes an owned file, reporting an error that only closing reveals.
  void finish() { out.close_checked(); }
  uint64_t bytes_written() const { return written; }

private:
  // Writes every byte of the parts, resuming after short writes.
  void write_all(iovec* parts, int count, const char* what);

  descriptor out;
  uint64_t written = 0;
  uint64_t frames = 0;
};

}  // namespace ns_y4m
