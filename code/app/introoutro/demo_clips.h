#pragma once
// The demo's synthetic clips, made in memory: an intro of sliding colour bars, a
// main source of moving diagonal ramps with a bouncing box, an outro of a scrolling
// checkerboard; each with its name and frame number burnt in. 8-bit 4:2:0.

#include "introoutro/splice_plan.h"
#include "io/frame_clock.h"
#include "zm/ZMComponent.h"

#include <cstdint>
#include <vector>

namespace ns_introoutro {

struct demo_clip {
  ns_introoutro::role role;
  const char* name;
  uint32_t width;
  uint32_t height;
  ns_y4m::ratio rate;
  uint32_t frames;

  ns_y4m::stream_header header() const;
};

// Intro 1280x720 at 25 fps, main 1920x1080 at 30000/1001, outro 1280x720 at 24 fps,
// a few seconds each.
const std::vector<demo_clip>& demo_clips();

// Draws picture n of the clip into `picture` (a whole 4:2:0 picture).
void render_demo_picture(const demo_clip& clip, uint64_t n, uint8_t* picture);

// A source component that plays one demo clip, stamped like a file's frames and
// tagged with the clip's role.
class demo_source : public KX::ZM::RSource {
public:
  explicit demo_source(const demo_clip& clip);
  int configure(const KX::ZM::RComponentConfiguration& config) override;
  bool process() override;

private:
  const demo_clip clip;
  const ns_y4m::frame_clock clock;
  const KX::RPtr<const ulbase::object_refcount> tag;
  uint64_t next = 0;
};

}  // namespace ns_introoutro
