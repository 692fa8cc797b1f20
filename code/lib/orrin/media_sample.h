#pragma once
// Samples that travel through components: a time stamp in `time_scale` units per
// second, a duration, and a shared data reference.

#include <cstdint>

#include "orrin/api.h"
#include "orrin/data_reference.h"
#include "orrin/object.h"

namespace Quorvane::Orrin {

class ORRIN_API CMediaSample : public CObject {
public:
  CMediaSample(int64_t time, int64_t time_scale, int64_t duration) noexcept;
  ~CMediaSample() override;

  int64_t GetTime() const noexcept { return time_; }
  int64_t GetTimeScale() const noexcept { return time_scale_; }
  int64_t GetDuration() const noexcept { return duration_; }

  // Holds a reference to `reference` (null detaches the data).
  void SetDataReference(CDataReference* reference) noexcept;
  // Valid while the sample holds it; null when no data is attached.
  CDataReference* GetDataReference() const noexcept { return reference_.Get(); }

private:
  int64_t time_;
  int64_t time_scale_;
  int64_t duration_;
  RObject<CDataReference> reference_;
};

class ORRIN_API CVideoSample : public CMediaSample {
public:
  using CMediaSample::CMediaSample;
  ~CVideoSample() override;
};

}  // namespace Quorvane::Orrin
