#include "introoutro/plane_resizer.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace ns_introoutro {

namespace {

constexpr uint32_t resize_420 = 1;
constexpr uint8_t neutral_chroma = 128;

size_t picture_420(uint32_t width, uint32_t height) { return size_t{width} * height * 3 / 2; }

}  // namespace

resize_ptr make_resizer(uint32_t src_width, uint32_t src_height, uint32_t dst_width, uint32_t dst_height,
                        uint32_t resize_format, const placement_request& place, uint32_t fill, const std::string& what) {
  resize_ptr r(ns_video_resize::create_video_resize(static_cast<int32_t>(resize_format)));
  const bool aspect = place.aspect_num != 0.0f && place.aspect_den != 0.0f;
  // Aspect mode 1 takes the aspect as given; the filter 0 scales through the media
  // library's converter, as the filter's own resizers do.
  const int32_t result = r->configure(dst_width, dst_height, src_width, src_height, resize_format, 0, 0, 0, 0,
                                      aspect ? 1 : 0, place.aspect_num, place.aspect_den, 0, place.fit_mode, 0.0f,
                                      0, 0, 0, fill);
  if (result != 1) {
    throw std::runtime_error(what + ": cannot fit " + std::to_string(src_width) + "x" + std::to_string(src_height) +
                             " pictures to " + std::to_string(dst_width) + "x" + std::to_string(dst_height) +
                             " (the resizer needs even sizes)");
  }
  return r;
}

plane_resizer::plane_resizer(uint32_t src_width, uint32_t src_height, uint32_t dst_width, uint32_t dst_height,
                             const placement_request& place, uint8_t fill, const std::string& what)
    : src_plane(size_t{src_width} * src_height),
      resizer(make_resizer(src_width, src_height, dst_width, dst_height, resize_420, place, fill, what)),
      in(picture_420(src_width, src_height), neutral_chroma),
      out(std::max<size_t>(resizer->frame_bytes(), picture_420(dst_width, dst_height))) {}

const uint8_t* plane_resizer::process(const uint8_t* plane, size_t bytes) {
  const size_t present = std::min(bytes, src_plane);
  if (present > 0) std::memcpy(in.data(), plane, present);
  std::memset(in.data() + present, 0, src_plane - present);
  uint32_t written = 0;
  if (resizer->process(static_cast<uint32_t>(in.size()), in.data(), &written, out.data()) != 1) {
    throw std::runtime_error("the resizer failed on a matte plane");
  }
  return out.data();
}

}  // namespace ns_introoutro
