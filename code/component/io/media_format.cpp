#include "io/media_format.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <cmath>

namespace ns_media {

namespace {

constexpr AVRational common_rates[] = {{24000, 1001}, {24, 1}, {25, 1}, {30000, 1001}, {30, 1}, {48, 1},
                                       {50, 1}, {60000, 1001}, {60, 1}, {100, 1}, {120000, 1001}, {120, 1}};

AVRational snapped(AVRational r) {
  if (r.num <= 0 || r.den <= 0) return {0, 1};
  const double value = av_q2d(r);
  for (const AVRational c : common_rates) {
    if (std::fabs(value - av_q2d(c)) <= 0.001 * av_q2d(c)) return c;
  }
  AVRational reduced;
  av_reduce(&reduced.num, &reduced.den, r.num, r.den, INT32_MAX);
  return reduced;
}

constexpr const char* range_key = "COLORRANGE=";

}  // namespace

stream_rate constant_rate(AVRational real, AVRational average) {
  const AVRational r = snapped(real);
  const AVRational a = snapped(average);
  if (a.num == 0) return {r, false};
  if (r.num == 0) return {a, false};
  return {a, av_cmp_q(r, a) != 0};
}

bool is_422(AVPixelFormat format) {
  const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(format);
  return d != nullptr && !(d->flags & AV_PIX_FMT_FLAG_RGB) && d->nb_components >= 3 && d->log2_chroma_w == 1 &&
         d->log2_chroma_h == 0;
}

ns_y4m::chroma own_chroma(const video_properties& v) {
  if (is_422(v.format)) return ns_y4m::chroma::c422;
  switch (v.siting) {
    case AVCHROMA_LOC_CENTER: return ns_y4m::chroma::c420jpeg;
    case AVCHROMA_LOC_TOPLEFT: return ns_y4m::chroma::c420paldv;
    default: return ns_y4m::chroma::c420mpeg2;
  }
}

ns_y4m::stream_header header_for(const video_properties& v, ns_y4m::chroma target) {
  ns_y4m::stream_header h;
  h.width = static_cast<uint32_t>(v.width);
  h.height = static_cast<uint32_t>(v.height);
  h.rate = {static_cast<uint32_t>(v.rate.num), static_cast<uint32_t>(v.rate.den)};
  switch (v.field_order) {
    case AV_FIELD_PROGRESSIVE: h.interlacing = 'p'; break;
    case AV_FIELD_TT:
    case AV_FIELD_TB: h.interlacing = 't'; break;
    case AV_FIELD_BB:
    case AV_FIELD_BT: h.interlacing = 'b'; break;
    default: break;
  }
  if (v.sample_aspect.num > 0 && v.sample_aspect.den > 0) {
    AVRational a;
    av_reduce(&a.num, &a.den, v.sample_aspect.num, v.sample_aspect.den, INT32_MAX);
    h.aspect = ns_y4m::ratio{static_cast<uint32_t>(a.num), static_cast<uint32_t>(a.den)};
  }
  h.sampling = target;
  if (v.range == AVCOL_RANGE_JPEG) h.extensions.push_back(std::string(range_key) + "FULL");
  if (v.range == AVCOL_RANGE_MPEG) h.extensions.push_back(std::string(range_key) + "LIMITED");
  return h;
}

AVPixelFormat pixel_format_of(ns_y4m::chroma c) {
  return c == ns_y4m::chroma::c422 ? AV_PIX_FMT_YUV422P : AV_PIX_FMT_YUV420P;
}

AVChromaLocation siting_of(ns_y4m::chroma c) {
  switch (c) {
    case ns_y4m::chroma::c420jpeg:
    case ns_y4m::chroma::c420: return AVCHROMA_LOC_CENTER;
    case ns_y4m::chroma::c420paldv: return AVCHROMA_LOC_TOPLEFT;
    default: return AVCHROMA_LOC_LEFT;
  }
}

AVColorRange range_of(const ns_y4m::stream_header& h) {
  for (const std::string& x : h.extensions) {
    if (x == std::string(range_key) + "FULL") return AVCOL_RANGE_JPEG;
    if (x == std::string(range_key) + "LIMITED") return AVCOL_RANGE_MPEG;
  }
  return AVCOL_RANGE_UNSPECIFIED;
}

AVFieldOrder field_order_of(const ns_y4m::stream_header& h) {
  switch (h.interlacing.value_or('?')) {
    case 'p': return AV_FIELD_PROGRESSIVE;
    case 't': return AV_FIELD_TT;
    case 'b': return AV_FIELD_BB;
    default: return AV_FIELD_UNKNOWN;
  }
}

}  // namespace ns_media
