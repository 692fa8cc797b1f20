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
  EXPECT_EQ(CTimeStamp::createWithSeconds(2.5).getSeconds(), 3);
  EXPECT_EQ(CTimeStamp::createWithSeconds(2.4999).getSeconds(), 2);
  EXPECT_EQ(CTimeStamp::createWithMicroSeconds(1500).getMilliSeconds(), 2);
  EXPECT_EQ(CTimeStamp::createWithMicroSeconds(-1500).getMilliSeconds(), -2);
  EXPECT_EQ(CTimeStamp::createWithNanoSeconds(1500).getMicroSeconds(), 2);
  EXPECT_EQ(CTimeStamp::createWithSeconds(0.25).getNanoSeconds(), 250000000);
  EXPECT_EQ(CTimeStamp::createWithSeconds(-0.0).getSeconds(), 0);
  // Integer arguments of any width reach the whole-seconds overload unchanged.
  EXPECT_EQ(CTimeStamp::createWithSeconds(7).getMilliSeconds(), 7000);
  EXPECT_EQ(CTimeStamp::createWithSeconds(7u).getMilliSeconds(), 7000);
  EXPECT_EQ(CTimeStamp::createWithSeconds(9007199254740993LL).getSecondsAsDouble(), 9007199254740992.0);
  CTimeStamp t;
  EXPECT_EQ(t.setMilliSeconds(-250).getMicroSeconds(), -250000);
  EXPECT_EQ(t.setSeconds(3).getNanoSeconds(), 3000000000LL);
  // Out of range and NaN saturate rather than overflow.
  EXPECT_EQ(CTimeStamp::createWithSeconds(1e300).getNanoSeconds(), INT64_MAX);
  EXPECT_EQ(CTimeStamp::createWithSeconds(-1e300).getSeconds(), INT64_MIN);
  EXPECT_EQ(CTimeStamp::createWithSeconds(std::nan("")).getSeconds(), 0);
}

TEST(CTimeStamp, TimespecAndTimevalRoundTheFractionWithoutCarry) {
  timespec ts = CTimeStamp::createWithSeconds(1.25);
  EXPECT_EQ(ts.tv_sec, 1);
  EXPECT_EQ(ts.tv_nsec, 250000000);
  ts = CTimeStamp::createWithSeconds(-1.5);
  EXPECT_EQ(ts.tv_sec, -1);
  EXPECT_EQ(ts.tv_nsec, -500000000);
  ts = CTimeStamp::createWithSeconds(1.9999999996);
  EXPECT_EQ(ts.tv_sec, 1);
  EXPECT_EQ(ts.tv_nsec, 1000000000);

  timeval tv = CTimeStamp::createWithSeconds(2.0000004);
  EXPECT_EQ(tv.tv_sec, 2);
  EXPECT_EQ(tv.tv_usec, 0);
  tv = CTimeStamp::createWithSeconds(-0.75);
  EXPECT_EQ(tv.tv_sec, 0);
  EXPECT_EQ(tv.tv_usec, -750000);
  tv = CTimeStamp::createWithSeconds(-2.0000006);
  EXPECT_EQ(tv.tv_sec, -2);
  EXPECT_EQ(tv.tv_usec, -1);
}

TEST(CTimeStamp, ArithmeticIsExactDoubleArithmetic) {
  CTimeStamp t = CTimeStamp::createWithSeconds(10.0);
  const CTimeStamp step = CTimeStamp::createWithSeconds(0.04);
  double expected = 10.0;
  for (int i = 0; i < 9; ++i) {
    t += step;
    expected += 0.04;
  }
  EXPECT_EQ(t.getSecondsAsDouble(), expected);
  EXPECT_EQ((t - step).getSecondsAsDouble(), expected - 0.04);
  EXPECT_LT(step, t);
  EXPECT_EQ(CTimeStamp::createWithTimeStamp(t), t);
}

TEST(CTimeStamp, LocalTimeIsTheSystemClockInMicroseconds) {
  timespec before{};
  clock_gettime(CLOCK_REALTIME, &before);
  const CTimeStamp now = CTimeStamp::createWithLocalTime();
  timespec after{};
  clock_gettime(CLOCK_REALTIME, &after);
  EXPECT_GE(now.getMicroSeconds(), before.tv_sec * 1000000LL + before.tv_nsec / 1000);
  EXPECT_LE(now.getMicroSeconds(), after.tv_sec * 1000000LL + after.tv_nsec / 1000);
  // Microsecond resolution: nothing below it.
  const double us = now.getSecondsAsDouble() * 1e6;
  EXPECT_NEAR(us, std::round(us), 0.01);
}

struct counted : ulbase::object_refcount {
  explicit counted(int* d) : destroyed(d) {}
  ~counted() override { ++*destroyed; }
  int* destroyed;
};
struct derived : counted {
  using counted::counted;
};

TEST(RPtr, HoldsExactlyOneReferencePerHolder) {
  int destroyed = 0;
  {
    KX::RPtr<counted> empty(nullptr);  // neither retains nor releases
    KX::RPtr<counted> a(new counted(&destroyed));
    EXPECT_EQ(a->reference_count(), 1);
    KX::RPtr<counted> b(a);
    EXPECT_EQ(a->reference_count(), 2);
    b = b;  // self-assignment keeps the reference
    EXPECT_EQ(a->reference_count(), 2);
    KX::RPtr<const counted> c(std::move(b));
    EXPECT_FALSE(b);
    EXPECT_EQ(a->reference_count(), 2);
    c = nullptr;
    EXPECT_EQ(a->reference_count(), 1);
    EXPECT_EQ(a.get(), a.addr());
    EXPECT_EQ(destroyed, 0);
  }
  EXPECT_EQ(destroyed, 1);

  KX::RPtr<derived> d(new derived(&destroyed));
  KX::RPtr<counted> base = d;  // converting copy shares the object
  EXPECT_EQ(base->reference_count(), 2);
  KX::RPtr<counted> moved(std::move(d));
  EXPECT_EQ(base->reference_count(), 2);
  base = moved;
  moved = KX::RPtr<counted>();
  base = KX::RPtr<counted>();
  EXPECT_EQ(destroyed, 2);
}

}  // namespace
