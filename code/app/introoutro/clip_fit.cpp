#include "introoutro/clip_fit.h"

#include "base/RBuffer.h"
#include "filter/video/resize/placement.h"
#include "io/malloc_ptr.h"
#include "io/y4m_source.h"

#include <algorithm>
#include <stdexcept>

namespace ns_introoutro {

namespace {

// Black in limited range.
constexpr uint32_t black_luma = 16;
constexpr uint8_t transparent = 0;

uint32_t resize_format_of(ns_y4m::chroma c) { return c == ns_y4m::chroma::c422 ? 3 : 1; }

// The pixel aspect; unknown (0:0) or absent counts as square.
ns_y4m::ratio pixel_aspect(const ns_y4m::stream_header& h) {
  if (!h.aspect || h.aspect->num == 0 || h.aspect->den == 0) return {1, 1};
  return *h.aspect;
}

uint32_t resizer_fit(fit_mode mode) {
  return mode == fit_mode::crop ? ns_video_resize::fit_crop : ns_video_resize::fit_pad;
}

}  // namespace

std::optional<placement_request> plan_fit(const ns_y4m::stream_header& clip, const ns_y4m::stream_header& main,
                                          fit_mode mode) {
  if (mode == fit_mode::stretch) return std::nullopt;
  // The resizer fits to the destination's storage shape as if its pixels were square,
  // so the clip's display aspect is given in the main source's pixels.
  const ns_y4m::ratio clip_par = pixel_aspect(clip);
  const ns_y4m::ratio main_par = pixel_aspect(main);
  const placement_request place{
      resizer_fit(mode),
      static_cast<float>(static_cast<double>(clip.width) * clip_par.num * main_par.den),
      static_cast<float>(static_cast<double>(clip.height) * clip_par.den * main_par.num)};
  // The resizer's own geometry decides whether anything would be cropped or padded.
  ns_video_resize::frame_placement geometry;
  if (geometry.set_format(resize_format_of(clip.sampling), true, clip.width, clip.height, place.aspect_num,
                          place.aspect_den, black_luma) != 1) {
    return place;  // odd sizes: the fitter says why it cannot
  }
  geometry.set_framing({}, {});
  uint32_t width = 0, height = 0;
  if (geometry.compute_geometry(main.width, main.height, place.fit_mode, &width, &height) == 1 && geometry.identity()) {
    return std::nullopt;
  }
  return place;
}

clip_fitter::clip_fitter(const ns_y4m::stream_header& clip, const ns_y4m::stream_header& main,
                         const placement_request& place, const std::string& name)
    : clip(clip),
      main(main),
      place(place),
      name(name),
      pictures(make_resizer(clip.width, clip.height, main.width, main.height, resize_format_of(clip.sampling), place,
                            black_luma, name)) {}

KX::RPtr<KX::ZM::RFrame> clip_fitter::fit(const KX::ZM::RFrame& f) {
  const uint32_t bytes = pictures->frame_bytes();
  ns_y4m::malloc_ptr picture = ns_y4m::malloc_bytes(bytes);
  uint32_t written = bytes;
  if (pictures->process(f.getDataLength(), f.getData(), &written, picture.get()) != 1) {
    throw std::runtime_error(name + ": frame " + std::to_string(f.getSequence()) + " could not be fitted to " +
                             std::to_string(main.width) + "x" + std::to_string(main.height));
  }
  const auto* video = dynamic_cast<const KX::ZM::RVideoFrame*>(&f);
  KX::RPtr<KX::ZM::RVideoFrame> out = KX::ZM::RVideoFrame::createWithData(
      f.getDataFormat(), written, picture.get(), video ? video->getFrameType() : 0, KX::kTakeOver);
  picture.release();
  out->setSequence(f.getSequence());
  out->setPlayTime(f.getPlayTime());
  out->setDecodeTime(f.getDecodeTime());
  out->setDuration(f.getDuration());
  if (video) out->setTimecode(video->getTimecode());
  if (const auto tag = f.getParameter(ns_y4m::source_parameter)) out->addParameter(ns_y4m::source_parameter, tag);

  const KX::RPtr<const ulbase::object_refcount> parameter = f.getParameter("alpha");
  if (const auto* alpha = dynamic_cast<const KX::RBuffer*>(parameter.get())) {
    if (!mattes) {
      mattes = std::make_unique<plane_resizer>(clip.width, clip.height, main.width, main.height, place, transparent,
                                               name + " (its matte)");
    }
    const size_t plane = size_t{main.width} * main.height;
    const uint8_t* fitted = mattes->process(alpha->getBuffer(), static_cast<size_t>(std::max(alpha->getUsed(), 0)));
    out->addParameter("alpha", new KX::RBuffer(static_cast<int>(plane), const_cast<uint8_t*>(fitted), KX::kCopy));
  }
  return out;
}

}  // namespace ns_introoutro
