#pragma once
// Owning handles for the FFmpeg objects the media components hold, and the text of
// an FFmpeg error code.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
}

#include <memory>
#include <string>

namespace ns_media {

struct frame_deleter {
  void operator()(AVFrame* f) const noexcept { av_frame_free(&f); }
};
struct packet_deleter {
  void operator()(AVPacket* p) const noexcept { av_packet_free(&p); }
};
struct codec_deleter {
  void operator()(AVCodecContext* c) const noexcept { avcodec_free_context(&c); }
};
using frame_ptr = std::unique_ptr<AVFrame, frame_deleter>;
using packet_ptr = std::unique_ptr<AVPacket, packet_deleter>;
using codec_ptr = std::unique_ptr<AVCodecContext, codec_deleter>;

// Never null: std::bad_alloc when FFmpeg has no memory.
frame_ptr make_frame();
packet_ptr make_packet();

// "Invalid data found when processing input" for AVERROR_INVALIDDATA.
std::string av_error_text(int code);

}  // namespace ns_media
