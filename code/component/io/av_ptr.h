#pragma once
// Owning handles for the FFmpeg objects the media and sound components hold, and
// the text of an FFmpeg error code. Its own small library (av_handles), so that the
// sound library shares it without the picture code.

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
struct input_closer {
  void operator()(AVFormatContext* c) const noexcept { avformat_close_input(&c); }
};
using frame_ptr = std::unique_ptr<AVFrame, frame_deleter>;
using packet_ptr = std::unique_ptr<AVPacket, packet_deleter>;
using codec_ptr = std::unique_ptr<AVCodecContext, codec_deleter>;
using input_ptr = std::unique_ptr<AVFormatContext, input_closer>;

// Never null: std::bad_alloc when FFmpeg has no memory.
frame_ptr make_frame();
packet_ptr make_packet();

// "Invalid data found when processing input" for AVERROR_INVALIDDATA.
std::string av_error_text(int code);

}  // namespace ns_media
