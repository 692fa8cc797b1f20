#include "base/CCondition.h"

namespace KX {

namespace detail {

timespec deadlineTimespec(CTimeStamp deadline) {
  constexpr long kNanosecondsPerSecond = 1000000000;
  timespec t = deadline;
  // The fraction is rounded without carry, so it lies in (-1e9, 1e9].
  if (t.tv_nsec >= kNanosecondsPerSecond) {
    t.tv_sec += 1;
    t.tv_nsec -= kNanosecondsPerSecond;
  } else if (t.tv_nsec < 0) {
    t.tv_sec -= 1;
    t.tv_nsec += kNanosecondsPerSecond;
  }
  return t;
}

}  // namespace detail

CCondition::CCondition() : condition(std::make_shared<detail::PosixCondition>("KX::CCondition::CCondition")) {}

CCondition::~CCondition() = default;

}  // namespace KX
