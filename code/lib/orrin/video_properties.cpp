#include "orrin/video_properties.h"

namespace Quorvane::Orrin {

CVideoProperties::CVideoProperties(const CVideoProperties* base) {
  if (base != nullptr) {
    IProperties::operator=(*base);
    format_ = base->format_;
    width_ = base->width_;
    height_ = base->height_;
  }
}

Result CVideoProperties::SetFormat(uint32_t fourcc, int context) {
  if (context != kVideoStreamContext) return Result(kResultInvalidArgument);
  format_ = fourcc;
  return Result(kResultOk);
}

Result CVideoProperties::SetWidth(long width, int context) {
  if (context != kVideoStreamContext || width < 0) return Result(kResultInvalidArgument);
  width_ = width;
  return Result(kResultOk);
}

Result CVideoProperties::SetHeight(long height, int context) {
  if (context != kVideoStreamContext || height < 0) return Result(kResultInvalidArgument);
  height_ = height;
  return Result(kResultOk);
}

}  // namespace Quorvane::Orrin
