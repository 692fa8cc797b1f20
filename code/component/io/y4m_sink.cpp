#include "io/y4m_sink.h"

#include "base/CException.h"
#include "base/RString.h"

namespace ns_y4m {

y4m_sink::y4m_sink(std::unique_ptr<y4m_writer> out, const stream_header& header, frame_tap tap)
    : out(std::move(out)), header(header), tap(std::move(tap)) {}

y4m_sink::~y4m_sink() = default;

void y4m_sink::fail(const std::string& message) const {
  KX::CException::raise(__LINE__, __FILE__, "ns_y4m::y4m_sink", "%s: %s", out->name().c_str(), message.c_str());
}

int y4m_sink::configure(const KX::ZM::RComponentConfiguration&) {
  if (inReaders.size() != 1) fail("a Y4M sink reads exactly one queue");
  if (const std::string why = stream_mismatch(*inReaders[0], header); !why.empty()) fail(why);
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
  if (const std::string why = frame_mismatch(*frame, n, header); !why.empty()) fail(why);
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
