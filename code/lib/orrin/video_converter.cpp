#include "orrin/video_converter.h"

namespace Quorvane::Orrin {

template class CFilter<CVideoSample, CVideoProperties>;

CVideoConverter::~CVideoConverter() = default;

Result CVideoConverter::GetSetting(const char* name, long* value) const {
  if (!GetProperty(name, value).Failed()) return Result(kResultOk);
  const CVideoProperties* input = GetInputProperties();
  if (input == nullptr) return Result(kResultNotFound);
  return input->GetProperty(name, value);
}

Result CVideoConverter::GetTargetSize(long* width, long* height) const {
  const CVideoProperties* input = GetInputProperties();
  if (input == nullptr) return Result(kResultNotPrepared);
  *width = input->GetWidth();
  *height = input->GetHeight();
  GetSetting(kPropertyTargetWidth, width);
  GetSetting(kPropertyTargetHeight, height);
  return Result(kResultOk);
}

}  // namespace Quorvane::Orrin
