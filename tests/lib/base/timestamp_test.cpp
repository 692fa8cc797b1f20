#include "base/CTimeStamp.h"
#include "base/RPtr.h"

#include <gtest/gtest.h>

#include <cmath>
#include <ctime>

namespace {

using KX::CTimeStamp;

TEST(CTimeStamp, ReadOutsRoundHalfAwayFromZero) {
  EXPECT_EQ(CTimeStamp::createWithMilliSeconds(1500).getSeconds(), 2);
  EXPECT_EQ(CTimeStamp::createWithMilliSeconds(-1500).getSeconds(), -2);
  EXPECT_EQ(CTimeStamp::createWithSeconds(-2.5).getSeconds(), -3);
  EXPECT_EQ(CTimeStamp::createWithSeconds(2.4999).getSeconds(), 2);
  EXPECT_EQ(CTimeStamp::createWithMicroSeconds(1500).getMilliSeconds(), 2);
  EXPECT_EQ(CTimeStamp::createWithNanoSeconds(-1500).getMicroSeconds(), -2);
  EXPECT_EQ(CTimeStamp::createWithSeconds(7u).getMilliSeconds(), 7000);  // any integer width
  CTimeStamp t;
  EXPECT_EQ(t.setMilliSeconds(-250).getMicroSeconds(), -250000);
  // Out of range and NaN saturate instead of overflowing.
  EXPECT_EQ(CTimeStamp::createWithSeconds(1e300).getNanoSeconds(), INT64_MAX);
  EXPECT_EQ(CTimeStamp::createWithSeconds(-1e300).getSeconds(), INT64_MIN);
  EXPECT_EQ(CTimeStamp::createWithSeconds(std::nan("")).getSeconds(), 0);
}

TEST(CTimeStamp, TimespecAndTimevalRoundTheFractionWithoutCarry) {
  const struct {
    double s;
    long sec, nsec, usec_sec, usec;
  } cases[] = {{1.25, 1, 250000000, 1, 250000},
               {-1.5, -1, -500000000, -1, -500000},
               {1.9999999996, 1, 1000000000, 1, 1000000},
               {2.0000004, 2, 400, 2, 0},
               {-0.75, 0, -750000000, 0, -750000},
               {-2.0000006, -2, -600, -2, -1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.s);
    const timespec ts = CTimeStamp::createWithSeconds(c.s);
    EXPECT_EQ(ts.tv_sec, c.sec);
    EXPECT_EQ(ts.tv_nsec, c.nsec);
    const timeval tv = CTimeStamp::createWithSeconds(c.s);
    EXPECT_EQ(tv.tv_sec, c.usec_sec);
    EXPECT_EQ(tv.tv_usec, c.usec);
  }
}

TEST(CTimeStamp, LocalTimeIsTheSystemClockInMicroseconds) {
  timespec before{}, after{};
  clock_gettime(CLOCK_REALTIME, &before);
  const long long now = CTimeStamp::createWithLocalTime().getMicroSeconds();
  clock_gettime(CLOCK_REALTIME, &after);
  EXPECT_GE(now, before.tv_sec * 1000000LL + before.tv_nsec / 1000);
  EXPECT_LE(now, after.tv_sec * 1000000LL + after.tv_nsec / 1000);
}

struct counted : ulbase::object_refcount {
  explicit counted(int* d) : destroyed(d) {}
  ~counted() override { ++*destroyed; }
  int* destroyed;
};

TEST(RPtr, HoldsExactlyOneReferencePerHolder) {
  int destroyed = 0;
  KX::RPtr<counted> empty(nullptr);
  KX::RPtr<counted> a(new counted(&destroyed));
  KX::RPtr<counted> b(a);
  b = b;
  EXPECT_EQ(a->reference_count(), 2);
  KX::RPtr<const counted> c(std::move(b));  // a move transfers the reference
  EXPECT_FALSE(b);
  EXPECT_EQ(a->reference_count(), 2);
  a = nullptr;
  EXPECT_EQ(destroyed, 0);
  c = nullptr;
  EXPECT_EQ(destroyed, 1);
}

}  // namespace
