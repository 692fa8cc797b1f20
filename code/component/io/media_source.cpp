#include "io/media_source.h"

#include "base/CException.h"
#include "io/y4m_source.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <cmath>

namespace ns_media {

media_source::media_source(std::unique_ptr<media_decoder> decoder, ns_y4m::chroma target, const std::string& tag,
                           notice_sink notice)
    : decoder(std::move(decoder)),
      format(header_for(this->decoder->properties(), target)),
      clock(format.rate),
      picture_size(ns_y4m::picture_bytes(format)),
      converter({pixel_format_of(target), siting_of(target)}),
      notice(std::move(notice)) {
  if (!tag.empty()) this->tag = ns_y4m::make_source_tag(tag);
  const video_properties& v = this->decoder->properties();
  const std::string& name = this->decoder->name();
  if (v.variable_rate) {
    if (format.width % 2 != 0 || format.height % 2 != 0) {
      fail(name + ": a variable-rate stream is conformed to a constant rate, which needs an even width and height");
    }
    conformer = std::make_unique<rate_conformer>(av_q2d(v.rate), target == ns_y4m::chroma::c422, format.width,
                                                 format.height);
    if (this->notice) {
      this->notice(name + ": the frame rate varies; conformed to its average, " + std::to_string(v.rate.num) + "/" +
                   std::to_string(v.rate.den) + " frames/s, by repeating and dropping pictures");
    }
  }
  if (const auto& text = this->decoder->start_timecode()) {
    const char* why = nullptr;
    if (const auto tc = ulbase::parse_timecode(*text, clock.timecode_mode(), &why)) {
      first_timecode = tc->frame_index();
    } else if (this->notice) {
      this->notice(name + ": the start time code " + *text + " is not used (" + (why ? why : "unreadable") +
                   "); time codes count from 00:00:00:00");
    }
  }
}

media_source::~media_source() = default;

void media_source::fail(const std::string& message) const {
  KX::CException::raise(__LINE__, __FILE__, "ns_media::media_source", "%s", message.c_str());
}

int media_source::configure(const KX::ZM::RComponentConfiguration&) {
  if (outWriters.size() != 1) fail("a media source writes exactly one queue");
  KX::ZM::RQueue* queue = outWriters[0]->getQueue();
  decoder->set_stop([queue] { return queue->isCancelled(); });
  outWriters[0]->setDescription(
      new KX::ZM::RVideoDescription(format.width, format.height, clock.frames_per_second()));
  return 0;
}

ns_y4m::malloc_ptr media_source::picture_of(const AVFrame& decoded) {
  const uint64_t n = decoder->frames_decoded() - 1;
  if (static_cast<uint32_t>(decoded.width) != format.width || static_cast<uint32_t>(decoded.height) != format.height) {
    fail(decoder->name() + ": frame " + std::to_string(n) + " is " + std::to_string(decoded.width) + "x" +
         std::to_string(decoded.height) + ", the stream began at " + std::to_string(format.width) + "x" +
         std::to_string(format.height) + ": a stream must keep one size");
  }
  frame_ptr planar;
  try {
    planar = converter.convert(decoded);
  } catch (const std::runtime_error& e) {
    fail(decoder->name() + ": frame " + std::to_string(n) + ": " + e.what());
  }
  if (converter.dithered() && !told_dither) {
    told_dither = true;
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(decoded.format));
    if (notice) {
      notice(decoder->name() + ": " + std::to_string(d->comp[0].depth) + "-bit pictures are dithered to 8 bits");
    }
  }
  ns_y4m::malloc_ptr picture = ns_y4m::malloc_bytes(picture_size);
  const int copied = av_image_copy_to_buffer(picture.get(), static_cast<int>(picture_size), planar->data,
                                             planar->linesize, static_cast<AVPixelFormat>(planar->format),
                                             planar->width, planar->height, 1);
  if (copied < 0 || static_cast<uint64_t>(copied) != picture_size) {
    fail(decoder->name() + ": frame " + std::to_string(n) + ": the converted picture does not fill the frame");
  }
  return picture;
}

void media_source::put(ns_y4m::malloc_ptr picture) {
  KX::RPtr<KX::ZM::RVideoFrame> frame = KX::ZM::RVideoFrame::createWithData(
      ns_y4m::picture_fourcc(format.sampling), static_cast<uint32_t>(picture_size), picture.get(), 0, KX::kTakeOver);
  picture.release();
  ns_y4m::stamp_frame(*frame, clock, emitted);
  frame->setTimecode(ulbase::timecode::from_frame_index(clock.timecode_mode(), first_timecode + emitted));
  ++emitted;
  if (tag) frame->addParameter(ns_y4m::source_parameter, tag);
  outWriters[0]->put(frame);
}

bool media_source::process() {
  for (;;) {
    if (conformer) {
      if (ns_y4m::malloc_ptr ready = conformer->pop()) {
        put(std::move(ready));
        return true;
      }
      if (conformer_finished) return false;
    }
    const AVFrame* decoded = decoder->next();
    if (decoded == nullptr) {
      if (!conformer) return false;
      conformer->finish();
      conformer_finished = true;
      continue;
    }
    ns_y4m::malloc_ptr picture = picture_of(*decoded);
    if (!conformer) {
      put(std::move(picture));
      return true;
    }
    double seconds = decoder->seconds_of(*decoded);
    if (decoder->frames_decoded() == 1) first_seconds = seconds;
    seconds = std::isnan(seconds) ? NAN : seconds - first_seconds;
    conformer->push(std::move(picture), static_cast<uint32_t>(picture_size), seconds);
  }
}

}  // namespace ns_media
