#pragma once
// Outcome of a media-library call: 0 success, positive an informational success
// (e.g. no sample ready), negative a failure.

#include "orrin/api.h"

namespace Quorvane::Orrin {

enum : int {
  kResultOk = 0,
  kResultNoSample = 1,  // GetSample: nothing queued; put another sample first
  kResultInvalidArgument = -1,
  kResultUnsupportedFormat = -2,
  kResultNotPrepared = -3,
  kResultOutOfMemory = -4,
  kResultProcessingFailed = -5,
  kResultNotFound = -6,
};

class ORRIN_API Result {
public:
  constexpr explicit Result(int code = kResultOk) noexcept : code_(code) {}

  constexpr operator int() const noexcept { return code_; }
  constexpr bool Failed() const noexcept { return code_ < 0; }
  constexpr int GetResultCode() const noexcept { return code_; }

private:
  int code_;
};

}  // namespace Quorvane::Orrin
