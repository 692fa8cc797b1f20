#include "base/CThread.h"

#include <gtest/gtest.h>

#include <pthread.h>

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
  Worker worker;
  worker.setAttribute("name", "worker-with-a-long-name");
  ASSERT_EQ(worker.start(&argument), 0);
  EXPECT_EQ(worker.start(&argument), EBUSY);
  ASSERT_EQ(worker.join(), 0);
  EXPECT_EQ(worker.getResult(), 42);
  EXPECT_EQ(worker.seenArgument, &argument);
  EXPECT_EQ(worker.threadName, "worker-with-a-l");
  EXPECT_FALSE(worker.caught);

  // Joined, it may run again; a copy carries state and attributes.
  Worker copy;
  copy.setAttribute("stale", "x");
  static_cast<KX::CThread<Worker>&>(copy) = worker;
  EXPECT_EQ(copy.join(), EINVAL);
  copy.fail = true;
  ASSERT_EQ(copy.start(nullptr), 0);
  ASSERT_EQ(copy.join(), 0);
  EXPECT_EQ(copy.threadName, "worker-with-a-l");
  EXPECT_EQ(copy.getAttribute("stale"), "");
  EXPECT_EQ(copy.getResult(), -1);
  ASSERT_TRUE(copy.caught);
  EXPECT_STREQ(copy.caught->getType().c_str(), "std::runtime_error");
  EXPECT_STREQ(copy.caught->what(), "loop failed");
}

}  // namespace
