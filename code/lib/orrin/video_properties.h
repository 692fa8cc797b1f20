#pragma once
// CVideoProperties: the description of one planar video stream (FourCC, width, height)
// plus named values. Width and height 0 and format 0 mean "not set".

#include <cstdint>

#include "orrin/api.h"
#include "orrin/object.h"
#include "orrin/properties.h"
#include "orrin/result.h"

namespace Quorvane::Orrin {

// The stream a value describes; a video converter has one stream per side, context 1.
// Setters given any other context change nothing and return kResultInvalidArgument.
inline constexpr int kVideoStreamContext = 1;

class ORRIN_API CVideoProperties : public CObject, public IProperties {
public:
  // A copy of `base`, or an empty description when it is null.
  explicit CVideoProperties(const CVideoProperties* base);

  Result SetFormat(uint32_t fourcc, int context);
  // Negative sizes give kResultInvalidArgument.
  Result SetWidth(long width, int context);
  Result SetHeight(long height, int context);

  uint32_t GetFormat() const noexcept { return format_; }
  long GetWidth() const noexcept { return width_; }
  long GetHeight() const noexcept { return height_; }

private:
  uint32_t format_ = 0;
  long width_ = 0;
  long height_ = 0;
};

}  // namespace Quorvane::Orrin
