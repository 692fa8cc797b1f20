#include "io/media_muxer.h"

#include "base/CException.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cstdio>

namespace ns_media {

media_muxer::media_muxer(const std::string& path) : label(path) {
  const int e = avformat_alloc_output_context2(&format, nullptr, nullptr, path.c_str());
  if (e < 0 || format == nullptr) {
    const size_t dot = path.rfind('.');
    const std::string extension = dot == std::string::npos ? path : path.substr(dot);
    fail("no container is written for the extension " + extension + " (.mp4, .mov, .mkv, .mxf or .y4m)");
  }
}

void media_muxer::create() {
  if (format->oformat->flags & AVFMT_NOFILE) return;
  const int e = avio_open(&format->pb, label.c_str(), AVIO_FLAG_WRITE);
  if (e < 0) fail("cannot create: " + av_error_text(e));
}

media_muxer::~media_muxer() {
  if (format != nullptr && !(format->oformat->flags & AVFMT_NOFILE)) avio_closep(&format->pb);
  avformat_free_context(format);
}

void media_muxer::fail(const std::string& what) const {
  KX::CException::raise(__LINE__, __FILE__, "ns_media::media_muxer", "%s: %s", label.c_str(), what.c_str());
}

bool media_muxer::refuses(AVCodecID codec) const {
  return avformat_query_codec(format->oformat, codec, FF_COMPLIANCE_NORMAL) == 0;
}

int media_muxer::add_stream(const AVCodecContext& codec) {
  AVStream* st = avformat_new_stream(format, nullptr);
  if (st == nullptr) throw std::bad_alloc();
  const int e = avcodec_parameters_from_context(st->codecpar, &codec);
  if (e < 0) fail("cannot describe a stream: " + av_error_text(e));
  st->time_base = codec.time_base;
  if (codec.codec_type == AVMEDIA_TYPE_VIDEO) {
    st->avg_frame_rate = codec.framerate;
    st->r_frame_rate = codec.framerate;
    st->sample_aspect_ratio = codec.sample_aspect_ratio;
  } else if (codec.codec_type == AVMEDIA_TYPE_AUDIO && format->priv_data != nullptr) {
    // mov and mp4 state the edit lists that trim a sound encoder's priming and
    // padding in the movie's time scale, milliseconds unless told: on the sample
    // clock they keep the sound's length to the sample.
    av_opt_set_int(format->priv_data, "movie_timescale", codec.sample_rate, AV_OPT_SEARCH_CHILDREN);
  }
  time_bases.push_back(codec.time_base);
  ended.push_back(false);
  return st->index;
}

void media_muxer::start(const std::optional<std::string>& timecode) {
  std::lock_guard<std::mutex> hold(lock);
  if (timecode) av_dict_set(&format->metadata, "timecode", timecode->c_str(), 0);
  const int e = avformat_write_header(format, nullptr);
  if (e < 0) {
    std::string codecs;
    for (unsigned i = 0; i < format->nb_streams; ++i) {
      const AVStream* st = format->streams[i];
      if (i > 0) codecs.append(", ");
      codecs.append(avcodec_get_name(st->codecpar->codec_id));
      if (st->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
        char picture[80];
        std::snprintf(picture, sizeof picture, " %dx%d at %d/%d frames/s", st->codecpar->width, st->codecpar->height,
                      st->avg_frame_rate.num, st->avg_frame_rate.den);
        codecs.append(picture);
      }
    }
    fail("the " + std::string(format->oformat->name) + " container cannot be written with " + codecs + ": " +
         av_error_text(e));
  }
  started = true;
  for (packet_ptr& p : held) write_locked(*p);
  held.clear();
}

void media_muxer::write(AVPacket& packet, int stream) {
  std::lock_guard<std::mutex> hold(lock);
  if (ended.at(static_cast<size_t>(stream))) fail("a packet of stream #" + std::to_string(stream) + " after its end");
  packet.stream_index = stream;
  if (!started) {
    held.push_back(make_packet());
    av_packet_move_ref(held.back().get(), &packet);
    return;
  }
  write_locked(packet);
}

void media_muxer::write_locked(AVPacket& packet) {
  // The header may have changed the stream's time base (mp4 picks its own).
  const int stream = packet.stream_index;
  av_packet_rescale_ts(&packet, time_bases.at(static_cast<size_t>(stream)), format->streams[stream]->time_base);
  const int e = av_interleaved_write_frame(format, &packet);
  if (e < 0) fail("write failed: " + av_error_text(e));
  if (format->pb != nullptr) bytes.store(static_cast<uint64_t>(avio_tell(format->pb)), std::memory_order_relaxed);
}

void media_muxer::end_stream(int stream) {
  std::lock_guard<std::mutex> hold(lock);
  ended.at(static_cast<size_t>(stream)) = true;
  if (std::find(ended.begin(), ended.end(), false) == ended.end()) finish_locked();
}

void media_muxer::finish_locked() {
  int e = av_write_trailer(format);
  if (e < 0) fail("cannot finish the file: " + av_error_text(e));
  if (format->pb != nullptr) bytes.store(static_cast<uint64_t>(avio_tell(format->pb)), std::memory_order_relaxed);
  if (!(format->oformat->flags & AVFMT_NOFILE)) {
    e = avio_closep(&format->pb);
    if (e < 0) fail("write failed: " + av_error_text(e));
  }
}

}  // namespace ns_media
