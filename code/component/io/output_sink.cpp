#include "io/output_sink.h"

#include "io/frame_clock.h"

#include <cmath>
#include <cstdio>

namespace ns_y4m {

namespace {

std::string describe(uint32_t width, uint32_t height, double fps) {
  char text[64];
  std::snprintf(text, sizeof text, "%ux%u at %.6g frames/s", width, height, fps);
  return text;
}

std::string fourcc_text(uint32_t code) {
  std::string s;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const char c = static_cast<char>(code >> shift & 0xFF);
    s += c >= 32 && c < 127 ? c : '?';
  }
  return s;
}

}  // namespace

std::string stream_mismatch(const KX::ZM::RQFrameReader& queue, const stream_header& header) {
  const auto* d = dynamic_cast<const KX::ZM::RVideoDescription*>(queue.getDescription().get());
  if (d == nullptr) return "the stream to write has no video description";
  const double fps = frame_clock(header.rate).frames_per_second();
  if (d->getWidth() != header.width || d->getHeight() != header.height ||
      std::fabs(d->getFrameRate() - fps) > 1e-9 * fps) {
    return "the stream to write is " + describe(d->getWidth(), d->getHeight(), d->getFrameRate()) +
           ", but its header says " + describe(header.width, header.height, fps);
  }
  return {};
}

std::string frame_mismatch(const KX::ZM::RFrame& frame, uint64_t n, const stream_header& header) {
  const uint32_t fourcc = picture_fourcc(header.sampling);
  if (frame.getDataFormat() != fourcc) {
    return "frame " + std::to_string(n) + " is " + fourcc_text(frame.getDataFormat()) + ", the stream is " +
           fourcc_text(fourcc);
  }
  const uint64_t picture = picture_bytes(header);
  if (frame.getDataLength() != picture) {
    return "frame " + std::to_string(n) + " has " + std::to_string(frame.getDataLength()) + " bytes, a " +
           std::to_string(header.width) + "x" + std::to_string(header.height) + " C" + chroma_name(header.sampling) +
           " picture has " + std::to_string(picture);
  }
  return {};
}

}  // namespace ns_y4m
