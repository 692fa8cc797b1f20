#pragma once
// A decoded video stream's properties and the Y4M stream header of the frames a
// media source makes of it: the same fields the Y4M reader passes on (size, exact
// rate, interlacing, pixel aspect, chroma siting, colour range). Pure: no I/O.

#include "io/y4m_header.h"

extern "C" {
#include <libavutil/pixfmt.h>
#include <libavutil/rational.h>
#include <libavcodec/codec_par.h>
}

#include <optional>

namespace ns_media {

struct video_properties {
  int width = 0;
  int height = 0;
  AVPixelFormat format = AV_PIX_FMT_NONE;
  AVRational rate{0, 1};               // constant rate the frames are given
  bool variable_rate = false;          // the stream's times must be conformed to `rate`
  AVRational sample_aspect{0, 1};      // 0/1: unknown
  AVFieldOrder field_order = AV_FIELD_UNKNOWN;
  AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
  AVChromaLocation siting = AVCHROMA_LOC_UNSPECIFIED;
};

struct stream_rate {
  AVRational rate;
  bool variable;
};
// The constant rate of a stream from its demuxer's two guesses: the base rate of its
// times (`real`) and the average (`average`), each snapped to the common broadcast and
// film rate it is within 0.1% of (so 2997/100 is 30000/1001). The stream is variable
// when the two disagree; it is then played at the average.
stream_rate constant_rate(AVRational real, AVRational average);

// True for 4:2:2 sources (chroma halved across, full height); the main source's
// family chooses between "Y22P" and "IYUV" output.
bool is_422(AVPixelFormat format);

// The stream's own format family: C422 for 4:2:2 sources, else 4:2:0 at the stream's
// chroma siting (an unspecified siting is MPEG-2's, left).
ns_y4m::chroma own_chroma(const video_properties& v);

// The header of the frames made from `v` in chroma layout `target` (a 4:2:0 siting or
// C422): XCOLORRANGE=FULL or LIMITED when the stream says which.
ns_y4m::stream_header header_for(const video_properties& v, ns_y4m::chroma target);

// The other way, for writing: what a header says in FFmpeg's terms.
AVPixelFormat pixel_format_of(ns_y4m::chroma c);
AVChromaLocation siting_of(ns_y4m::chroma c);
AVColorRange range_of(const ns_y4m::stream_header& h);
AVFieldOrder field_order_of(const ns_y4m::stream_header& h);

}  // namespace ns_media
