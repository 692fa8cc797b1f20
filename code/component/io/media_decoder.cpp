#include "io/media_decoder.h"

#include "base/CException.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <limits>

namespace ns_media {

namespace {

std::string stream_list(const AVFormatContext& f) {
  std::string list;
  for (unsigned i = 0; i < f.nb_streams; ++i) {
    const AVCodecParameters* p = f.streams[i]->codecpar;
    const char* type = av_get_media_type_string(p->codec_type);
    list += (list.empty() ? "" : ", ") + std::string(type ? type : "unknown") + " " + avcodec_get_name(p->codec_id);
  }
  return list.empty() ? "no streams at all" : list;
}

std::optional<std::string> find_timecode(const AVFormatContext& f, const AVStream& video) {
  const AVDictionaryEntry* e = av_dict_get(video.metadata, "timecode", nullptr, 0);
  if (e == nullptr) e = av_dict_get(f.metadata, "timecode", nullptr, 0);
  for (unsigned i = 0; e == nullptr && i < f.nb_streams; ++i) {
    e = av_dict_get(f.streams[i]->metadata, "timecode", nullptr, 0);
  }
  if (e == nullptr) return std::nullopt;
  return std::string(e->value);
}

// The "yuvj" layouts mean full range whether or not the stream says so.
AVColorRange range_of(const AVCodecParameters& p) {
  switch (p.format) {
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ444P: return AVCOL_RANGE_JPEG;
    default: return p.color_range;
  }
}

// Standard input redirected from a file is opened as that file, so that a container
// with its index at the end (mp4, mov) can seek to it; a pipe is read as it comes.
std::string url_of(const std::string& path) {
  if (path != "-") return "file:" + path;
  struct stat st {};
  return ::fstat(STDIN_FILENO, &st) == 0 && S_ISREG(st.st_mode) ? "file:/dev/stdin" : "pipe:0";
}

}  // namespace

media_decoder::media_decoder(const std::string& path)
    : label(path == "-" ? "standard input" : path), packet(make_packet()), picture(make_frame()) {
  format = avformat_alloc_context();
  if (format == nullptr) throw std::bad_alloc();
  format->interrupt_callback = {[](void* self) { return static_cast<media_decoder*>(self)->stop &&
                                                              static_cast<media_decoder*>(self)->stop() ? 1 : 0; },
                                this};
  const std::string url = url_of(path);
  piped = url == "pipe:0";
  int e = avformat_open_input(&format, url.c_str(), nullptr, nullptr);
  if (e < 0) fail("not a media file: neither YUV4MPEG2 nor a format FFmpeg reads (" + av_error_text(e) + ")");
  e = avformat_find_stream_info(format, nullptr);
  if (e < 0) fail("cannot read what the file holds: " + av_error_text(e));
  index = av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index < 0) fail("no video stream (the file holds " + stream_list(*format) + ")");
  AVStream* st = format->streams[index];
  const AVCodecParameters* par = st->codecpar;
  const AVCodec* decoder = avcodec_find_decoder(par->codec_id);
  if (decoder == nullptr) {
    fail("stream #" + std::to_string(index) + ": the codec " + avcodec_get_name(par->codec_id) +
         " cannot be decoded by this FFmpeg");
  }
  codec.reset(avcodec_alloc_context3(decoder));
  if (!codec) throw std::bad_alloc();
  avcodec_parameters_to_context(codec.get(), par);
  codec->pkt_timebase = st->time_base;
  codec->thread_count = 0;  // as many as the machine has
  // A damaged picture stops the job rather than passing on concealed garbage.
  codec->err_recognition |= AV_EF_EXPLODE;
  e = avcodec_open2(codec.get(), decoder, nullptr);
  if (e < 0) fail_stream("cannot open the decoder", e);

  video.width = par->width;
  video.height = par->height;
  video.format = static_cast<AVPixelFormat>(par->format);
  const stream_rate rate = constant_rate(st->r_frame_rate, st->avg_frame_rate);
  if (rate.rate.num <= 0) fail("stream #" + std::to_string(index) + ": the stream gives no frame rate");
  video.rate = rate.rate;
  video.variable_rate = rate.variable;
  video.sample_aspect = av_guess_sample_aspect_ratio(format, st, nullptr);
  video.field_order = par->field_order;
  video.range = range_of(*par);
  video.siting = par->chroma_location;
  timecode = find_timecode(*format, *st);
}

media_decoder::~media_decoder() { avformat_close_input(&format); }

const char* media_decoder::codec_name() const { return codec->codec->name; }

std::optional<media_decoder::frame_count> media_decoder::frames_in_file() const {
  const AVStream* st = format->streams[index];
  if (st->nb_frames > 0 && !video.variable_rate) return frame_count{static_cast<uint64_t>(st->nb_frames), true};
  double seconds = 0;
  if (st->duration > 0) {
    seconds = static_cast<double>(st->duration) * av_q2d(st->time_base);
  } else if (format->duration > 0) {
    seconds = static_cast<double>(format->duration) / AV_TIME_BASE;
  }
  if (seconds <= 0) return std::nullopt;
  return frame_count{static_cast<uint64_t>(std::llround(seconds * av_q2d(video.rate))), false};
}

void media_decoder::fail(const std::string& what) const {
  KX::CException::raise(__LINE__, __FILE__, "ns_media::media_decoder", "%s: %s", label.c_str(), what.c_str());
}

void media_decoder::fail_stream(const std::string& what, int error) const {
  fail("stream #" + std::to_string(index) + " (" + avcodec_get_name(codec->codec_id) + "): " + what + ": " +
       av_error_text(error));
}

const AVFrame* media_decoder::next() {
  for (;;) {
    int e = avcodec_receive_frame(codec.get(), picture.get());
    if (e == 0) {
      ++decoded;
      return picture.get();
    }
    if (e == AVERROR_EOF) return nullptr;
    if (e != AVERROR(EAGAIN)) fail_stream("decode error at frame " + std::to_string(decoded), e);
    e = av_read_frame(format, packet.get());
    if (e == AVERROR_EOF) {
      if (draining) return nullptr;
      draining = true;
      avcodec_send_packet(codec.get(), nullptr);
      continue;
    }
    if (e == AVERROR_EXIT) fail("stopped while reading: the job was cancelled");
    if (e < 0) {
      fail_stream("read error after frame " + std::to_string(decoded) +
                      (piped ? " (a pipe cannot seek: an mp4 or mov with its index at the end needs a file)" : ""),
                  e);
    }
    if (packet->stream_index == index) e = avcodec_send_packet(codec.get(), packet.get());
    av_packet_unref(packet.get());
    if (e < 0 && e != AVERROR(EAGAIN)) fail_stream("decode error at frame " + std::to_string(decoded), e);
  }
}

double media_decoder::seconds_of(const AVFrame& f) const {
  if (f.best_effort_timestamp == AV_NOPTS_VALUE) return std::numeric_limits<double>::quiet_NaN();
  return static_cast<double>(f.best_effort_timestamp) * av_q2d(format->streams[index]->time_base);
}

}  // namespace ns_media
