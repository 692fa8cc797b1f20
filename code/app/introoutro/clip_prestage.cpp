#include "introoutro/clip_prestage.h"

#include "base/CException.h"
#include "io/y4m_source.h"

namespace ns_introoutro {

namespace {

frame_timing timing_of(const KX::ZM::RFrame& f) {
  return {f.getPlayTime().getSecondsAsDouble(), f.getDuration().getSecondsAsDouble(), f.getSequence()};
}

}  // namespace

clip_prestage::clip_prestage(std::unique_ptr<clip_fitter> fitter, std::unique_ptr<clip_ending> ending)
    : fitter(std::move(fitter)), ending(std::move(ending)) {}

clip_prestage::~clip_prestage() = default;

int clip_prestage::configure(const KX::ZM::RComponentConfiguration&) {
  if (inReaders.size() != 1 || outWriters.size() != 1) {
    KX::CException::raise(__LINE__, __FILE__, "ns_introoutro::clip_prestage", "%s",
                          "a clip pre-stage reads one queue and writes one");
  }
  const auto* d = dynamic_cast<const KX::ZM::RVideoDescription*>(inReaders[0]->getDescription().get());
  if (d == nullptr) {
    KX::CException::raise(__LINE__, __FILE__, "ns_introoutro::clip_prestage", "%s", "the clip has no video description");
  }
  width = fitter ? fitter->width() : d->getWidth();
  height = fitter ? fitter->height() : d->getHeight();
  outWriters[0]->setDescription(new KX::ZM::RVideoDescription(width, height, d->getFrameRate()));
  return 0;
}

bool clip_prestage::process() {
  KX::RPtr<KX::ZM::RFrame> frame = inReaders[0]->nextFrame();
  if (!frame) {
    append_guards();
    return false;
  }
  if (fitter) frame = fitter->fit(*frame);
  if (ending) {
    ending->see(timing_of(*frame));
    last = frame;
  }
  outWriters[0]->put(frame);
  return true;
}

void clip_prestage::append_guards() {
  if (!ending) return;
  for (const frame_timing& t : ending->guards()) {
    const auto* video = dynamic_cast<const KX::ZM::RVideoFrame*>(last.get());
    KX::RPtr<KX::ZM::RVideoFrame> guard = KX::ZM::RVideoFrame::createWithData(
        last->getDataFormat(), last->getDataLength(), last->getData(), video ? video->getFrameType() : 0, KX::kCopy);
    guard->setSequence(static_cast<uint32_t>(t.sequence));
    guard->setPlayTime(KX::CTimeStamp::createWithSeconds(t.play_time));
    guard->setDecodeTime(KX::CTimeStamp::createWithSeconds(t.play_time));
    guard->setDuration(KX::CTimeStamp::createWithSeconds(t.duration));
    // It shows the last picture, so it carries that picture's time code and matte.
    if (video) guard->setTimecode(video->getTimecode());
    for (const char* name : {"alpha", ns_y4m::source_parameter}) {
      if (const auto value = last->getParameter(name)) guard->addParameter(name, value);
    }
    outWriters[0]->put(guard);
  }
  last = nullptr;
}

}  // namespace ns_introoutro
