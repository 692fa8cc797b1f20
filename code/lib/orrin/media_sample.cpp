#include "orrin/media_sample.h"

namespace Quorvane::Orrin {

CMediaSample::CMediaSample(int64_t time, int64_t time_scale, int64_t duration) noexcept
    : time_(time), time_scale_(time_scale), duration_(duration) {}

CMediaSample::~CMediaSample() = default;

void CMediaSample::SetDataReference(CDataReference* reference) noexcept {
  reference_.Reset(reference);
}

CVideoSample::~CVideoSample() = default;

}  // namespace Quorvane::Orrin
