// configure_xtro_queue: gives a clip the resizer and the frame-rate converter it
// needs to match the main source.

#include "filter/video/intro-outro/VideoIntroOutroFilter.h"
#include "filter/video/intro-outro/filter_error.h"

#include "filter/video/framerate/framerate_filter.h"
#include "filter/video/resize/kx_resize.h"
#include "zm/ZMFourCC.h"

#include <algorithm>
#include <new>

namespace ns_video_introoutro {

namespace {

constexpr const char* kWhere = "VideoIntroOutroFilter::configure_xtro_queue";

// The two picture layouts the filter converts, in the resizer's and the converter's
// numbering (they differ).
struct layout_codes {
  uint32_t fourcc;
  uint32_t resize_format;
  uint32_t rate_format;
};
constexpr layout_codes kLayouts[] = {
    {KX::ZM::makeFourCC("IYUV"), 1, 0},  // 8-bit 4:2:0
    {KX::ZM::makeFourCC("Y22P"), 3, 1},  // 8-bit 4:2:2
};

const layout_codes& layout_of(uint32_t fourcc, int line) {
  for (const layout_codes& layout : kLayouts) {
    if (layout.fourcc == fourcc) return layout;
  }
  raise_filter_error(line, kWhere,
                     KX::CString::createWithFormat("*** ERROR ***: Bad input format: '%s'",
                                                   KX::CString::createWithFourCC(fourcc, '?').desc()));
}

// The clip's rate is truncated to whole frames before the comparison, so a 25 fps
// clip under a 25 fps main source matches but a 29.97 one under 29.97 does not. A
// rate that has no whole-number form (negative, NaN, huge) never matches.
bool same_frame_rate(double clip_rate, double main_rate) {
  if (!(clip_rate >= 0.0 && clip_rate < 4294967296.0)) return false;
  return static_cast<float>(static_cast<uint32_t>(clip_rate)) == static_cast<float>(main_rate);
}

}  // namespace

bool VideoIntroOutroFilter::configure_xtro_queue(int32_t& index, ns_video_framerate::framerate_filter*& rate,
                                                 ns_video_resize::kx_resize*& resize,
                                                 const video_descriptions& descriptions) {
  const KX::ZM::RVideoDescription& clip = *descriptions[index];
  const KX::ZM::RVideoDescription& main = *descriptions[main_index];

  if (clip.getWidth() != main.getWidth() || clip.getHeight() != main.getHeight()) {
    const uint32_t code = layout_of(in_fourcc, 152).resize_format;
    resize = ns_video_resize::create_video_resize(static_cast<int32_t>(code));
    if (resize == nullptr) throw std::bad_alloc();
    // Plain scaling through the media library: no crop, no aspect fitting, progressive.
    resize->configure(main.getWidth(), main.getHeight(), clip.getWidth(), clip.getHeight(), code, 0, 0, 0, 0, 0,
                      0.0f, 0.0f, 0, 0, 0.0f, 0, 0, 0, 0);
    // Both clips are resized to the main source's size and layout, so the outro's
    // buffer replaces the intro's and serves both. A resizer whose set-up failed
    // reports 0 bytes; the buffer must still hold the other clip's pictures.
    uint32_t bytes = resize->frame_bytes();
    if (&resize == &outro_resize && intro_resize != nullptr) bytes = std::max(bytes, intro_resize->frame_bytes());
    uint8_t* buffer = new uint8_t[bytes];
    delete[] conv_buffer;
    conv_buffer = buffer;
  }

  if (same_frame_rate(clip.getFrameRate(), main.getFrameRate())) return true;

  ns_video_framerate::framerate_params params{};
  params.cadence_aware = true;
  params.src_rate = clip.getFrameRate();
  params.dst_rate = main.getFrameRate();
  params.decimate = false;
  params.decimation = 1;
  params.format = layout_of(in_fourcc, 192).rate_format;
  params.width = clip.getWidth();
  params.height = clip.getHeight();
  params.field_order = 0;
  // Clips are declared progressive, so inverse telecine never runs; should it, it
  // finds the cadence itself rather than trust a phase nobody gave.
  params.adaptive_ivtc = true;
  params.ivtc_phase = 0;
  // A converted frame keeps the time code of the clip picture it shows, as an
  // unconverted clip frame keeps its own.
  params.keep_timecode = true;
  // The output grid starts at the clip's first picture, so that picture is shown
  // once rather than repeated from time zero up to its own play time.
  params.time_mode = 1000;

  rate = ns_video_framerate::create_framerate_filter(params.format);
  if (rate == nullptr) return false;
  return rate->configure(params) == 0;
}

}  // namespace ns_video_introoutro
