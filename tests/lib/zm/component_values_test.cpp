#include "base/RString.h"
#include "zm/ZMComponentValues.h"

#include <gtest/gtest.h>

namespace {

using KX::RString;
using KX::ZM::CComponentStatus;

RString text(const char* s) { return RString::createWithCString(s, KX::kCopy); }

// A status shares no message storage with its copies or with what it was given: a
// shallow copy shows up as a changed message here, or a double free under ASan.
TEST(CComponentStatus, MessageIsCopiedByItsBytes) {
  CComponentStatus a;
  RString given = text("first");
  a.setMessage(given);
  given = "changed";
  RString got = a.getMessage();
  EXPECT_EQ(got.reference_count(), 0);
  got = "edited";
  EXPECT_STREQ(a.getMessage().c_str(), "first");

  int user = 0;
  a.setNumberOfFrames(25);
  a.setUserData(&user);
  CComponentStatus b;
  b.setMessage(text("to be replaced by a longer message"));
  b = a;
  const CComponentStatus c(a);
  a.setMessage(text("second"));
  EXPECT_STREQ(b.getMessage().c_str(), "first");
  EXPECT_STREQ(c.getMessage().c_str(), "first");
  EXPECT_EQ(b.getNumberOfFrames(), 25u);
  EXPECT_EQ(b.getUserData(), &user);
}

}  // namespace
