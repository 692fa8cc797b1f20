#include "io/media_sink.h"

#include "base/CException.h"
#include "io/media_format.h"

extern "C" {
#include <libavutil/imgutils.h>
}

namespace ns_media {

media_sink::media_sink(const std::string& path, const ns_y4m::stream_header& header, const encoder_settings& settings,
                       frame_tap tap)
    : header(header),
      mux(path),
      encoder(header, settings, mux),
      converter({encoder.picture_format(), siting_of(header.sampling)}),
      tap(std::move(tap)) {
  mux.create();
}

media_sink::~media_sink() = default;

void media_sink::fail(const std::string& message) const { mux.fail(message); }

int media_sink::configure(const KX::ZM::RComponentConfiguration&) {
  if (inReaders.size() != 1) fail("a media sink reads exactly one queue");
  if (const std::string why = ns_y4m::stream_mismatch(*inReaders[0], header); !why.empty()) fail(why);
  return 0;
}

// The encoder holds on to pictures it has not finished with (x264 looks ahead);
// each holds a reference on its frame, released when the encoder lets go.
frame_ptr media_sink::wrap(const KX::RPtr<KX::ZM::RFrame>& frame) const {
  frame_ptr f = make_frame();
  f->format = pixel_format_of(header.sampling);
  f->width = static_cast<int>(header.width);
  f->height = static_cast<int>(header.height);
  f->color_range = range_of(header);
  f->chroma_location = siting_of(header.sampling);
  const AVFieldOrder order = field_order_of(header);
  f->interlaced_frame = order == AV_FIELD_TT || order == AV_FIELD_BB;
  f->top_field_first = order == AV_FIELD_TT;
  uint8_t* data = const_cast<uint8_t*>(static_cast<const KX::ZM::RFrame&>(*frame).getData());
  av_image_fill_arrays(f->data, f->linesize, data, static_cast<AVPixelFormat>(f->format), f->width, f->height, 1);
  const KX::ZM::RFrame* held = frame.get();
  held->retain();
  const auto let_go = [](void* opaque, uint8_t*) { static_cast<const KX::ZM::RFrame*>(opaque)->release(); };
  f->buf[0] = av_buffer_create(data, frame->getDataLength(), let_go, const_cast<KX::ZM::RFrame*>(held),
                               AV_BUFFER_FLAG_READONLY);
  if (f->buf[0] == nullptr) {
    held->release();
    throw std::bad_alloc();
  }
  return f;
}

bool media_sink::process() {
  const KX::RPtr<KX::ZM::RFrame> frame = inReaders[0]->nextFrame();
  if (!frame) {
    encoder.finish();
    for (const auto& c : companions) c->at_end(frames.load(std::memory_order_relaxed));
    return false;
  }
  const uint64_t n = frames.load(std::memory_order_relaxed);
  if (const std::string why = ns_y4m::frame_mismatch(*frame, n, header); !why.empty()) fail(why);
  if (n == 0) {
    std::optional<std::string> start;
    if (const auto* video = dynamic_cast<const KX::ZM::RVideoFrame*>(frame.get())) {
      if (ulbase::mode_counts(video->getTimecode().mode())) start = video->getTimecode().to_string();
    }
    mux.start(start);
  }
  frame_ptr picture = wrap(frame);
  if (encoder.picture_format() != picture->format) {
    try {
      picture = converter.convert(*picture);
    } catch (const std::runtime_error& e) {
      fail("frame " + std::to_string(n) + ": " + e.what());
    }
  }
  picture->pts = static_cast<int64_t>(n);
  encoder.encode(picture.get());
  frames.store(n + 1, std::memory_order_relaxed);
  for (const auto& c : companions) c->after_picture(frame);
  if (tap) tap(frame);
  return true;
}

}  // namespace ns_media
