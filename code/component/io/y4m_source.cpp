#include "io/y4m_source.h"

#include "base/CException.h"
#include "base/RBuffer.h"
#include "base/RString.h"
#include "io/malloc_ptr.h"

namespace ns_y4m {

namespace {

std::string rate_text(ratio r) { return std::to_string(r.num) + "/" + std::to_string(r.den); }

}  // namespace

KX::RPtr<const ulbase::object_refcount> make_source_tag(const std::string& name) {
  return new KX::RString(static_cast<int>(name.size()), name.data(), KX::kCopy);
}

y4m_source::y4m_source(std::unique_ptr<y4m_reader> pictures, std::unique_ptr<y4m_reader> matte,
                       const std::string& tag)
    : pictures(std::move(pictures)), matte(std::move(matte)), clock(this->pictures->header().rate) {
  if (!tag.empty()) this->tag = make_source_tag(tag);
}

y4m_source::~y4m_source() = default;

void y4m_source::fail(const std::string& message) const {
  KX::CException::raise(__LINE__, __FILE__, "ns_y4m::y4m_source", "%s", message.c_str());
}

int y4m_source::configure(const KX::ZM::RComponentConfiguration&) {
  if (outWriters.size() != 1) fail("a Y4M source writes exactly one queue");
  const stream_header& h = pictures->header();
  if (h.sampling == chroma::mono) {
    fail(pictures->name() +
         ": Cmono has no colour planes: a picture input needs 8-bit 4:2:0 or 4:2:2 (a mono stream can be a matte)");
  }
  if (matte) {
    const stream_header& m = matte->header();
    const std::string clip = " (its clip " + pictures->name() + " is ";
    if (m.sampling != chroma::mono) {
      fail(matte->name() + ": a matte must be a Cmono stream, found C" + chroma_name(m.sampling));
    }
    if (m.width != h.width || m.height != h.height) {
      fail(matte->name() + ": the matte is " + std::to_string(m.width) + "x" + std::to_string(m.height) + clip +
           std::to_string(h.width) + "x" + std::to_string(h.height) + ")");
    }
    if (uint64_t{m.rate.num} * h.rate.den != uint64_t{h.rate.num} * m.rate.den) {
      fail(matte->name() + ": the matte runs at " + rate_text(m.rate) + " frames/s" + clip + "at " +
           rate_text(h.rate) + ")");
    }
  }
  // Waiting on a pipe gives up once the graph has cancelled this source's queue.
  KX::ZM::RQueue* queue = outWriters[0]->getQueue();
  const auto cancelled = [queue] { return queue->isCancelled(); };
  pictures->set_stop(cancelled);
  if (matte) matte->set_stop(cancelled);
  outWriters[0]->setDescription(new KX::ZM::RVideoDescription(h.width, h.height, clock.frames_per_second()));
  return 0;
}

bool y4m_source::process() {
  const stream_header& h = pictures->header();
  const uint64_t n = pictures->frames_read();
  malloc_ptr picture = malloc_bytes(pictures->picture_size());
  if (!pictures->read_frame(picture.get())) {
    if (matte && matte->read_frame(picture.get())) {
      fail(matte->name() + ": the matte has more frames than its clip " + pictures->name() + " (" +
           std::to_string(n) + ")");
    }
    return false;
  }
  KX::RPtr<KX::ZM::RVideoFrame> frame = KX::ZM::RVideoFrame::createWithData(
      picture_fourcc(h.sampling), static_cast<uint32_t>(pictures->picture_size()), picture.get(), 0, KX::kTakeOver);
  picture.release();

  stamp_frame(*frame, clock, n);

  if (matte) {
    malloc_ptr alpha = malloc_bytes(matte->picture_size());
    if (!matte->read_frame(alpha.get())) {
      fail(matte->name() + ": the matte ends after " + std::to_string(n) + " frames, before its clip " +
           pictures->name());
    }
    KX::RPtr<KX::RBuffer> plane(new KX::RBuffer(static_cast<int>(matte->picture_size()), alpha.get(), KX::kTakeOver));
    alpha.release();
    frame->addParameter("alpha", plane);
  }
  if (tag) frame->addParameter(source_parameter, tag);
  const std::vector<std::string>& own = pictures->last_frame_header().parameters;
  if (!own.empty()) {
    std::string joined = own.front();
    for (size_t i = 1; i < own.size(); ++i) joined += ' ' + own[i];
    frame->addParameter(frame_header_parameter, make_source_tag(joined));
  }
  outWriters[0]->put(frame);
  return true;
}

}  // namespace ns_y4m
