#pragma once
// Video frames and descriptions for the filter's tests. Pictures are planar, planes
// packed: "IYUV" 4:2:0 (w*h*3/2 bytes), "Y22P" 4:2:2 (w*h*2 bytes).

#include "base/RBuffer.h"
#include "base/RPtr.h"
#include "zm/RDescription.h"
#include "zm/RFrame.h"
#include "zm/ZMFourCC.h"

#include <cstdint>
#include <cstring>
#include <vector>

namespace introoutro_test {

using KX::RPtr;
using KX::ZM::RFrame;
using KX::ZM::RVideoDescription;
using KX::ZM::RVideoFrame;

constexpr uint32_t kIYUV = KX::ZM::makeFourCC("IYUV");
constexpr uint32_t kY22P = KX::ZM::makeFourCC("Y22P");

inline RPtr<const RVideoDescription> video(uint32_t width, uint32_t height, double rate) {
  return new RVideoDescription(width, height, rate);
}

// Bytes of one picture.
inline uint32_t picture_bytes(uint32_t fourcc, uint32_t width, uint32_t height) {
  const uint32_t luma = width * height;
  return fourcc == kIYUV ? luma + 2 * ((width / 2) * (height / 2)) : luma + 2 * ((width / 2) * height);
}

// Each plane holds one value: luma y, then u, then v.
inline std::vector<uint8_t> flat_picture(uint32_t fourcc, uint32_t width, uint32_t height, uint8_t y, uint8_t u,
                                         uint8_t v) {
  const uint32_t luma = width * height;
  const uint32_t chroma = (picture_bytes(fourcc, width, height) - luma) / 2;
  std::vector<uint8_t> p(luma, y);
  p.insert(p.end(), chroma, u);
  p.insert(p.end(), chroma, v);
  return p;
}

inline RPtr<RVideoFrame> make_frame(uint32_t fourcc, const std::vector<uint8_t>& picture, double play_time,
                                    double duration, uint32_t sequence = 0) {
  RPtr<RVideoFrame> f = RVideoFrame::createWithData(fourcc, static_cast<uint32_t>(picture.size()), picture.data(), 0,
                                                    KX::kCopy);
  f->setPlayTime(KX::CTimeStamp::createWithSeconds(play_time));
  f->setDecodeTime(KX::CTimeStamp::createWithSeconds(play_time - 1.0));
  f->setDuration(KX::CTimeStamp::createWithSeconds(duration));
  f->setSequence(sequence);
  return f;
}

// A 4x2 "IYUV" frame whose bytes are all `tag`: small pictures that say where they
// came from.
inline RPtr<RVideoFrame> tagged_frame(uint8_t tag, double play_time, double duration, uint32_t sequence = 0) {
  return make_frame(kIYUV, std::vector<uint8_t>(12, tag), play_time, duration, sequence);
}

inline RPtr<KX::RBuffer> byte_plane(uint32_t bytes, uint8_t value) {
  RPtr<KX::RBuffer> plane(new KX::RBuffer(static_cast<int>(bytes), nullptr, KX::kCopy));
  std::memset(plane->getBuffer(), value, bytes);
  return plane;
}

inline const KX::RBuffer* alpha_of(const RFrame& f) {
  return dynamic_cast<const KX::RBuffer*>(f.getParameter("alpha").get());
}

inline std::vector<uint8_t> bytes_of(const RFrame& f) {
  return std::vector<uint8_t>(f.getData(), f.getData() + f.getDataLength());
}

}  // namespace introoutro_test
