#include "introoutro/matte_frames.h"

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

matte_frames::matte_frames(plane_size main, std::optional<plane_size> intro, std::optional<plane_size> outro)
    : main(main), opaque(size_t{main.width} * main.height, opaque_value) {
  if (intro) this->intro = clip_matte{*intro, nullptr};
  if (outro) this->outro = clip_matte{*outro, nullptr};
}

matte_frames::~matte_frames() = default;

int matte_frames::configure(const KX::ZM::RComponentConfiguration&) {
  const auto fail = [](const std::string& message) {
    KX::CException::raise(__LINE__, __FILE__, "ns_introoutro::matte_frames", "%s", message.c_str());
  };
  if (inReaders.size() != 1 || outWriters.size() != 1) fail("the matte reads one queue and writes one");
  const auto* d = dynamic_cast<const KX::ZM::RVideoDescription*>(inReaders[0]->getDescription().get());
  if (d == nullptr || d->getWidth() != main.width || d->getHeight() != main.height) {
    fail("the stream whose matte is to be written is not " + std::to_string(main.width) + "x" +
         std::to_string(main.height));
  }
  outWriters[0]->setDescription(new KX::ZM::RVideoDescription(main.width, main.height, d->getFrameRate()));
  return 0;
}

const uint8_t* matte_frames::scaled(const KX::ZM::RFrame& frame, const KX::RBuffer& plane) {
  // Clip frames come before the first main frame (intro) or after it (outro).
  std::optional<clip_matte>& clip = main_seen || !intro ? outro : intro;
  if (!clip) {
    KX::CException::raise(__LINE__, __FILE__, "ns_introoutro::matte_frames", "output frame %u carries a matte but no clip does",
                          frame.getSequence());
  }
  const size_t bytes = static_cast<size_t>(std::max(plane.getUsed(), 0));
  if (clip->size.width == main.width && clip->size.height == main.height && bytes >= opaque.size()) {
    return plane.getBuffer();
  }
  if (!clip->scaler) {
    clip->scaler = std::make_unique<plane_resizer>(clip->size.width, clip->size.height, main.width, main.height,
                                                   placement_request{}, 0, "the matte");
  }
  return clip->scaler->process(plane.getBuffer(), bytes);
}

bool matte_frames::process() {
  const KX::RPtr<KX::ZM::RFrame> frame = inReaders[0]->nextFrame();
  if (!frame) return false;
  const uint8_t* plane = opaque.data();
  if (is_main_frame(*frame)) {
    main_seen = true;
  } else if (const auto* alpha = dynamic_cast<const KX::RBuffer*>(frame->getParameter("alpha").get())) {
    plane = scaled(*frame, *alpha);
  }
  // A mono picture has no FourCC of its own.
  KX::RPtr<KX::ZM::RVideoFrame> matte = KX::ZM::RVideoFrame::createWithData(
      ns_y4m::picture_fourcc(ns_y4m::chroma::mono), static_cast<uint32_t>(opaque.size()), plane, 0, KX::kCopy);
  matte->setSequence(frame->getSequence());
  matte->setPlayTime(frame->getPlayTime());
  matte->setDecodeTime(frame->getDecodeTime());
  matte->setDuration(frame->getDuration());
  outWriters[0]->put(matte);
  return true;
}

}  // namespace ns_introoutro
