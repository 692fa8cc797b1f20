// configure_xtro_queue: what a clip needs to match the main source.

#include "filter/video/intro-outro/VideoIntroOutroFilter.h"
#include "filter/video/intro-outro/filter_error.h"

namespace ns_video_introoutro {

namespace {

constexpr const char* kWhere = "VideoIntroOutroFilter::configure_xtro_queue";

// The clip's rate is truncated to whole frames before the comparison, so a 25 fps
// clip under a 25 fps main source matches but a 29.97 one under 29.97 does not. A
// rate that has no whole-number form (negative, NaN, huge) never matches.
bool same_frame_rate(double clip_rate, double main_rate) {
  if (!(clip_rate >= 0.0 && clip_rate < 4294967296.0)) return false;
  return static_cast<float>(static_cast<uint32_t>(clip_rate)) == static_cast<float>(main_rate);
}

}  // namespace

bool VideoIntroOutroFilter::configure_xtro_queue(int32_t& index, ns_video_framerate::framerate_filter*&,
                                                 ns_video_resize::kx_resize*&, const video_descriptions& descriptions) {
  const KX::ZM::RVideoDescription& clip = *descriptions[index];
  const KX::ZM::RVideoDescription& main = *descriptions[main_index];
  const bool same_size = clip.getWidth() == main.getWidth() && clip.getHeight() == main.getHeight();
  if (!same_size || !same_frame_rate(clip.getFrameRate(), main.getFrameRate())) {
    raise_filter_error(140, kWhere,
                       KX::CString::createWithFormat(
                           "*** ERROR ***: Queue '%s' (%ux%u, %g fps) would need conversion to %ux%u at %g fps, "
                           "which this filter does not do.",
                           inReaders[index]->getQueue()->getName().desc(), clip.getWidth(), clip.getHeight(),
                           clip.getFrameRate(), main.getWidth(), main.getHeight(), main.getFrameRate()));
  }
  return true;
}

}  // namespace ns_video_introoutro
