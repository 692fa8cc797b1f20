#include "audio/media_audio.h"

namespace ns_audio {

std::string media_audio::where(const std::string& path) const {
  return path + ": audio stream #" + std::to_string(stream);
}

uint64_t native_mask(const AVChannelLayout& layout, const std::string& where) {
  if (layout.order == AV_CHANNEL_ORDER_NATIVE && layout.u.mask != 0) return layout.u.mask;
  if (layout.order == AV_CHANNEL_ORDER_UNSPEC && layout.nb_channels > 0) {
    // Files that say only how many channels there are (WAV without a mask, raw
    // PCM) mean the usual layout for the count.
    AVChannelLayout usual{};
    av_channel_layout_default(&usual, layout.nb_channels);
    const bool native = usual.order == AV_CHANNEL_ORDER_NATIVE;
    const uint64_t mask = native ? usual.u.mask : 0;
    av_channel_layout_uninit(&usual);
    if (native) return mask;
  }
  char name[128] = "?";
  av_channel_layout_describe(&layout, name, sizeof name);
  throw audio_error(where + ": unsupported channel layout " + name + " (" + std::to_string(layout.nb_channels) +
                    " channels); the sound can be conformed only from layouts with named speaker positions");
}

media_audio open_media_audio(const std::string& path) {
  media_audio m;
  AVFormatContext* raw = nullptr;
  if (const int rc = avformat_open_input(&raw, path.c_str(), nullptr, nullptr); rc < 0) {
    throw audio_error(path + ": cannot be opened as a media file: " + ns_media::av_error_text(rc));
  }
  m.input.reset(raw);
  if (const int rc = avformat_find_stream_info(raw, nullptr); rc < 0) {
    throw audio_error(path + ": cannot read its streams: " + ns_media::av_error_text(rc));
  }
  // The first audio stream by number, not FFmpeg's "best" one: the first is the
  // programme's sound.
  for (unsigned i = 0; i < raw->nb_streams && m.stream < 0; ++i) {
    if (raw->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) m.stream = static_cast<int>(i);
  }
  if (m.stream < 0) return m;
  const AVStream* audio = raw->streams[m.stream];
  const AVCodecParameters* par = audio->codecpar;
  if (par->sample_rate <= 0) throw audio_error(m.where(path) + ": no sample rate");
  m.format = {static_cast<uint32_t>(par->sample_rate), native_mask(par->ch_layout, m.where(path))};

  const AVStream* video = nullptr;
  for (unsigned i = 0; i < raw->nb_streams && video == nullptr; ++i) {
    const AVStream* s = raw->streams[i];
    if (s->codecpar->codec_type == AVMEDIA_TYPE_VIDEO && (s->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0) video = s;
  }
  if (video != nullptr && audio->start_time != AV_NOPTS_VALUE && video->start_time != AV_NOPTS_VALUE) {
    // a*an/ad - v*vn/vd over the common denominator ad*vd; 32-bit time-base parts
    // and 33-bit-ish start times keep every product inside 128 bits, and the result
    // is reduced before it is narrowed.
    const __int128 num = static_cast<__int128>(audio->start_time) * audio->time_base.num * video->time_base.den -
                         static_cast<__int128>(video->start_time) * video->time_base.num * audio->time_base.den;
    const __int128 den = static_cast<__int128>(audio->time_base.den) * video->time_base.den;
    __int128 a = num < 0 ? -num : num, b = den;
    while (b != 0) {
      const __int128 t = a % b;
      a = b;
      b = t;
    }
    if (a != 0) {
      m.lead_num = static_cast<int64_t>(num / a);
      m.lead_den = static_cast<int64_t>(den / a);
    }
  }
  return m;
}

}  // namespace ns_audio
