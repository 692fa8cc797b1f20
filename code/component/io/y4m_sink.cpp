#include "io/y4m_sink.h"

#include "base/CException.h"
#include "base/RString.h"
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

y4m_sink::y4m_sink(std::unique_ptr<y4m_writer> out, const stream_header& header, frame_tap tap)
    : out(std::move(out)),
      header(header),
      picture(picture_bytes(header)),
      fourcc(picture_fourcc(header.sampling)),
      tap(std::move(tap)) {}

y4m_sink::~y4m_sink() = default;

void y4m_sink::fail(const std::string& message) const {
  KX::CException::raise(__LINE__, __FILE__, "ns_y4m::y4m_sink", "%s: %s", out->name().c_str(), message.c_str());
}

int y4m_sink::configure(const KX::ZM::RComponentConfiguration&) {
  if (inReaders.size() != 1) fail("a Y4M sink reads exactly one queue");
  const auto* d = dynamic_cast<const KX::ZM::RVideoDescription*>(inReaders[0]->getDescription().get());
  if (d == nullptr) fail("the stream to write has no video description");
  const double fps = frame_clock(header.rate).frames_per_second();
  if (d->getWidth() != header.width || d->getHeight() != header.height ||
      std::fabs(d->getFrameRate() - fps) > 1e-9 * fps) {
    fail("the stream to write is " + describe(d->getWidth(), d->getHeight(), d->getFrameRate()) +
         ", but its header says " + describe(header.width, header.height, fps));
  }
  KX::ZM::RQueue* queue = inReaders[0]->getQueue();
  out->set_stop([queue] { return queue->isCancelled(); });
  return 0;
}

bool y4m_sink::process() {
  if (!header_written) {
    out->write_header(header);
    header_written = true;
  }
  const KX::RPtr<KX::ZM::RFrame> frame = inReaders[0]->nextFrame();
  if (!frame) {
    out->finish();
    bytes.store(out->bytes_written(), std::memory_order_relaxed);
    return false;
  }
  const uint64_t n = frames.load(std::memory_order_relaxed);
  if (frame->getDataFormat() != fourcc) {
    fail("frame " + std::to_string(n) + " is " + fourcc_text(frame->getDataFormat()) + ", the stream is " +
         fourcc_text(fourcc));
  }
  if (frame->getDataLength() != picture) {
    fail("frame " + std::to_string(n) + " has " + std::to_string(frame->getDataLength()) + " bytes, a " +
         std::to_string(header.width) + "x" + std::to_string(header.height) + " C" + chroma_name(header.sampling) +
         " picture has " + std::to_string(picture));
  }
  std::string_view parameters;
  if (header.interlacing == 'm') {
    const auto* own = dynamic_cast<const KX::RString*>(frame->getParameter(frame_header_parameter).get());
    if (own != nullptr) parameters = own->desc();
  }
  out->write_frame(frame->getData(), frame->getDataLength(), parameters);
  bytes.store(out->bytes_written(), std::memory_order_relaxed);
  frames.store(n + 1, std::memory_order_relaxed);
  if (tap) tap(frame);
  return true;
}

}  // namespace ns_y4m
