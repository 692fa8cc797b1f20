#pragma once
// Owners for FFmpeg's contexts, and FFmpeg's error codes as text. Internal.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/error.h>
#include <libswresample/swresample.h>
}

#include <memory>
#include <string>

namespace ns_audio::av {

struct input_closer {
  void operator()(AVFormatContext* c) const noexcept { avformat_close_input(&c); }
};
struct codec_freer {
  void operator()(AVCodecContext* c) const noexcept { avcodec_free_context(&c); }
};
struct packet_freer {
  void operator()(AVPacket* p) const noexcept { av_packet_free(&p); }
};
struct frame_freer {
  void operator()(AVFrame* f) const noexcept { av_frame_free(&f); }
};
struct resampler_freer {
  void operator()(SwrContext* s) const noexcept { swr_free(&s); }
};

using input_ptr = std::unique_ptr<AVFormatContext, input_closer>;
using codec_ptr = std::unique_ptr<AVCodecContext, codec_freer>;
using packet_ptr = std::unique_ptr<AVPacket, packet_freer>;
using frame_ptr = std::unique_ptr<AVFrame, frame_freer>;
using resampler_ptr = std::unique_ptr<SwrContext, resampler_freer>;

inline std::string error_text(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

}  // namespace ns_audio::av
