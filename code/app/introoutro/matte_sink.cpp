#include "introoutro/matte_sink.h"

#include "base/CException.h"
#include "introoutro/join_tap.h"

namespace ns_introoutro {

namespace {

constexpr uint8_t opaque_value = 255;

}  // namespace

ns_y4m::stream_header matte_header(const ns_y4m::stream_header& main) {
  ns_y4m::stream_header h;
  h.width = main.width;
  h.height = main.height;
  h.rate = main.rate;
  h.interlacing = main.interlacing;
  h.aspect = main.aspect;
  h.sampling = ns_y4m::chroma::mono;
  return h;
}

matte_sink::matte_sink(std::unique_ptr<ns_y4m::y4m_writer> out, const ns_y4m::stream_header& main,
                       std::optional<plane_size> intro, std::optional<plane_size> outro)
    : out(std::move(out)),
      header(matte_header(main)),
      opaque(size_t{main.width} * main.height, opaque_value) {
  if (intro) this->intro = clip_matte{*intro, nullptr};
  if (outro) this->outro = clip_matte{*outro, nullptr};
}

matte_sink::~matte_sink() = default;

int matte_sink::configure(const KX::ZM::RComponentConfiguration&) {
  const auto fail = [this](const std::string& message) {
    KX::CException::raise(__LINE__, __FILE__, "ns_introoutro::matte_sink", "%s: %s", out->name().c_str(),
                          message.c_str());
  };
  if (inReaders.size() != 1) fail("a matte sink reads exactly one queue");
  const auto* d = dynamic_cast<const KX::ZM::RVideoDescription*>(inReaders[0]->getDescription().get());
  if (d == nullptr || d->getWidth() != header.width || d->getHeight() != header.height) {
    fail("the stream whose matte is to be written is not " + std::to_string(header.width) + "x" +
         std::to_string(header.height));
  }
  KX::ZM::RQueue* queue = inReaders[0]->getQueue();
  out->set_stop([queue] { return queue->isCancelled(); });
  return 0;
}

const uint8_t* matte_sink::scaled(const KX::ZM::RFrame& frame, const KX::RBuffer& plane) {
  // Clip frames come before the first main frame (intro) or after it (outro).
  std::optional<clip_matte>& clip = main_seen || !intro ? outro : intro;
  const size_t bytes = static_cast<size_t>(std::max(plane.getUsed(), 0));
  if (!clip) {
    KX::CException::raise(__LINE__, __FILE__, "ns_introoutro::matte_sink", "%s: frame %u carries a matte but no clip does",
                          out->name().c_str(), frame.getSequence());
  }
  if (clip->size.width == header.width && clip->size.height == header.height && bytes >= opaque.size()) {
    return plane.getBuffer();
  }
  if (!clip->scaler) {
    clip->scaler = std::make_unique<plane_resizer>(clip->size.width, clip->size.height, header.width, header.height,
                                                   placement_request{}, 0, out->name());
  }
  return clip->scaler->process(plane.getBuffer(), bytes);
}

bool matte_sink::process() {
  if (!header_written) {
    out->write_header(header);
    header_written = true;
  }
  const KX::RPtr<KX::ZM::RFrame> frame = inReaders[0]->nextFrame();
  if (!frame) {
    out->finish();
    return false;
  }
  const uint8_t* plane = opaque.data();
  if (is_main_frame(*frame)) {
    main_seen = true;
  } else if (const auto* alpha = dynamic_cast<const KX::RBuffer*>(frame->getParameter("alpha").get())) {
    plane = scaled(*frame, *alpha);
  }
  out->write_frame(plane, opaque.size());
  frames.store(frames.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  return true;
}

}  // namespace ns_introoutro
