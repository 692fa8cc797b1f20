#pragma once
// Converts pictures of any layout FFmpeg decodes to one planar YUV layout of the same
// size: bit depth (dithered when it drops), chroma subsampling and siting, on zimg.
// Layouts zimg does not read (packed, semi-planar, RGB, grey) are first unpacked to
// planar by libswscale. The colour range is kept. Interlaced pictures have their
// chroma resampled field by field. One thread at a time.

#include "io/av_ptr.h"

#include <memory>

struct SwsContext;

namespace ns_media {

struct picture_layout {
  AVPixelFormat format;      // planar YUV, 8 to 16 bits
  AVChromaLocation siting;   // of the target's chroma
};

class picture_converter {
public:
  explicit picture_converter(picture_layout target);
  ~picture_converter();
  picture_converter(const picture_converter&) = delete;
  picture_converter& operator=(const picture_converter&) = delete;

  // A new frame of the target layout with `in`'s size, range, field flags and times;
  // `in` itself (a new reference) when it is already of that layout. Throws
  // std::runtime_error when a picture cannot be converted.
  frame_ptr convert(const AVFrame& in);
  // True once a picture had to lose bits on the way (the stream was dithered).
  bool dithered() const { return lost_bits; }

private:
  struct graph;
  const AVFrame& unpacked(const AVFrame& in);

  const picture_layout target;
  std::unique_ptr<graph> zimg;
  struct sws_deleter {
    void operator()(SwsContext* s) const noexcept;
  };
  std::unique_ptr<SwsContext, sws_deleter> sws;
  frame_ptr unpack_frame;
  bool lost_bits = false;
};

// True for layouts zimg reads directly: planar YUV, little-endian, 8 to 16 bits.
bool zimg_reads(AVPixelFormat format);

}  // namespace ns_media
