#include "base/CThread.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <atomic>
#include <optional>
#include <stdexcept>
#include <string>

namespace {

struct Worker : KX::CThread<Worker> {
  int threadrunloop(ulbase::object_refcount* argument) override {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    threadName = name;
    seenArgument = argument;
    if (fail) throw std::runtime_error("loop failed");
    return 42;
  }
  void handleException(const KX::CException& e) override { caught = e; }

  bool fail = false;
  std::string threadName;
  ulbase::object_refcount* seenArgument = nullptr;
  std::optional<KX::CException> caught;
};

TEST(CThread, RunsTheLoopAndHandsEscapingExceptionsToTheHandler) {
  ulbase::object_refcount argument;
  Worker ok;
  ok.setAttribute("name", "worker-with-a-long-name");
  EXPECT_EQ(ok.join(), EINVAL);  // nothing started
  ASSERT_EQ(ok.start(&argument), 0);
  EXPECT_EQ(ok.start(&argument), EBUSY);
  ASSERT_EQ(ok.join(), 0);
  EXPECT_EQ(ok.getResult(), 42);
  EXPECT_FALSE(ok.endedByException());
  EXPECT_EQ(ok.seenArgument, &argument);
  EXPECT_EQ(ok.threadName, "worker-with-a-l");
  EXPECT_FALSE(ok.caught);

  // Once joined it may run again.
  ok.fail = true;
  ASSERT_EQ(ok.start(nullptr), 0);
  ASSERT_EQ(ok.join(), 0);
  EXPECT_EQ(ok.getResult(), -1);
  EXPECT_TRUE(ok.endedByException());
  ASSERT_TRUE(ok.caught);
  EXPECT_STREQ(ok.caught->getType().c_str(), "std::runtime_error");
  EXPECT_STREQ(ok.caught->what(), "loop failed");
  EXPECT_STREQ(ok.caught->getWhere().c_str(), "KX::CThread::threadrunloop");
}

TEST(CThread, CopiesCarryStateAndAttributes) {
  Worker a;
  a.setAttribute("name", "a");
  a.setAttribute("role", "source");
  ASSERT_EQ(a.start(nullptr), 0);
  ASSERT_EQ(a.join(), 0);
  Worker b;
  b.setAttribute("stale", "x");
  static_cast<KX::CThread<Worker>&>(b) = a;
  EXPECT_EQ(b.getResult(), 42);
  EXPECT_EQ(b.join(), EINVAL);  // joined state copied: no second join of the handle
  ASSERT_EQ(b.start(nullptr), 0);
  ASSERT_EQ(b.join(), 0);
  EXPECT_EQ(b.threadName, "a");  // attributes replaced, "name" applied
}

}  // namespace
