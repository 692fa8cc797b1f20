#pragma once
// CVideoConverter: scales planar pictures (the FourCCs of picture_format.h) to the
// size given by the "vrc.width" and "vrc.height" properties, read from the converter
// first and from the input properties second (unset: the input size). Output
// pictures keep the input FourCC. Property changes take effect at the next Prepare.

#include <cstdint>

#include "orrin/api.h"
#include "orrin/filter.h"
#include "orrin/media_sample.h"
#include "orrin/properties.h"
#include "orrin/video_properties.h"

namespace Quorvane::Orrin {

inline constexpr uint32_t kVideoConverterType = 0x76726320;  // 'vrc '

inline constexpr const char* kPropertyTargetWidth = "vrc.width";
inline constexpr const char* kPropertyTargetHeight = "vrc.height";
// One of the kVrcFilter values, looked up like the target size.
inline constexpr const char* kPropertyFilter = "vrc.filter";
// Threads that scale one picture, looked up like the target size: 1, or 2 and more
// for the luma plane beside the chroma planes. Unset: 2 where the processor has two
// hardware threads or more. Output bytes do not depend on it.
inline constexpr const char* kPropertyThreads = "vrc.threads";

enum : long {
  kVrcFilterBicubic = 0,  // b = 0, c = 0.5 (Catmull-Rom); the default
  kVrcFilterBilinear = 1,
  kVrcFilterPoint = 2,
  kVrcFilterSpline36 = 3,
  kVrcFilterLanczos3 = 4,
};

extern template class ORRIN_API CFilter<CVideoSample, CVideoProperties>;

class ORRIN_API CVideoConverter : public CFilter<CVideoSample, CVideoProperties>,
                                  public IProperties {
public:
  ~CVideoConverter() override;

  // The value of `name` from the converter's own properties, else from the input
  // properties; kResultNotFound when neither has it.
  Result GetSetting(const char* name, long* value) const;
  // The target size; kResultNotPrepared without input properties.
  Result GetTargetSize(long* width, long* height) const;
};

}  // namespace Quorvane::Orrin
