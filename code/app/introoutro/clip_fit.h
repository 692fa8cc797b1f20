#pragma once
// A clip's pictures fitted to the main source's display aspect before the filter
// sees them: letterboxed or pillarboxed (pad, black borders), cropped to fill (crop),
// or left to the filter's plain scaling (stretch). Display aspects come from each
// stream's W, H and pixel aspect (Y4M A; absent or 0:0 is square). A fitted picture
// is placed and scaled straight to the main source's size in one pass of the
// project's resizer, so the filter does not scale it again.

#include "introoutro/options.h"
#include "introoutro/plane_resizer.h"
#include "io/y4m_header.h"
#include "zm/RFrame.h"

#include <memory>
#include <optional>
#include <string>

namespace ns_introoutro {

// How a clip is placed, or nothing when it needs no fitting: stretch, or a display
// aspect that already is the main source's (placed as it is, to the sample).
std::optional<placement_request> plan_fit(const ns_y4m::stream_header& clip, const ns_y4m::stream_header& main,
                                          fit_mode mode);

class clip_fitter {
public:
  // `name` names the clip in messages. Throws std::runtime_error when the resizer
  // cannot take the clip (odd sizes).
  clip_fitter(const ns_y4m::stream_header& clip, const ns_y4m::stream_header& main, const placement_request& place,
              const std::string& name);

  // A new frame of the main source's size with f's times, time code, frame type and
  // "source" tag, and f's "alpha" plane fitted alongside (borders transparent).
  KX::RPtr<KX::ZM::RFrame> fit(const KX::ZM::RFrame& f);

  uint32_t width() const { return main.width; }
  uint32_t height() const { return main.height; }

private:
  const ns_y4m::stream_header clip;
  const ns_y4m::stream_header main;
  const placement_request place;
  const std::string name;
  resize_ptr pictures;
  std::unique_ptr<plane_resizer> mattes;  // made for the first frame that carries one
};

}  // namespace ns_introoutro
