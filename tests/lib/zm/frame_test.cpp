#include "kx_test_support.h"
#include "base/RBuffer.h"
#include "zm/ZMComponent.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace {

using kx_test::messageOf;
using namespace KX::ZM;
using KX::RPtr;

// Data is copied or taken over (flags 1 and 3) and replaced without leaks (the leak
// checker watches); named parameters hold a reference each and keep their order.
TEST(RVideoFrame, DataAndParametersBelongToTheFrame) {
  const uint8_t picture[6] = {1, 2, 3, 4, 5, 6};
  RPtr<RVideoFrame> copied = RVideoFrame::createWithData(makeFourCC("IYUV"), 6, picture, 7, KX::kCopy);
  EXPECT_TRUE(copied->getData() != picture && std::memcmp(copied->getData(), picture, 6) == 0);
  EXPECT_EQ(copied->getDataLength(), 6u);
  EXPECT_EQ(copied->type(), 0x76696465u);
  auto* block = static_cast<uint8_t*>(std::malloc(4));
  std::memcpy(block, "abcd", 4);
  RPtr<RVideoFrame> taken = RVideoFrame::createWithData(makeFourCC("Y22P"), 4, block, 0, KX::kTakeOver);
  EXPECT_EQ(taken->getData(), block);
  // Replacing the data by part of itself, then by a new block, releases the old.
  taken->setData(2, taken->getData() + 2, KX::kCopy);
  EXPECT_TRUE(taken->getDataLength() == 2 && std::memcmp(taken->getData(), "cd", 2) == 0);
  auto* other = static_cast<uint8_t*>(std::malloc(3));
  taken->setData(3, other, KX::kTakeOver);
  EXPECT_EQ(taken->getData(), other);
  RPtr<RVideoFrame> f = RVideoFrame::createWithData(0, 5, nullptr, 0, KX::kCopy);
  for (uint32_t i = 0; i < 5; ++i) EXPECT_EQ(f->getData()[i], 0);
  EXPECT_THROW(f->setData(1, picture, static_cast<KX::ConstructionFlags>(0)), KX::CException);

  RPtr<KX::RBuffer> alpha(new KX::RBuffer(16)), second(new KX::RBuffer(8));
  f->addParameter("alpha", alpha.get());
  f->addParameter("other", new KX::RBuffer(1));
  f->addParameter("alpha", second.get());
  EXPECT_EQ(alpha->reference_count(), 2);  // the frame holds its own reference
  EXPECT_EQ(f->getParameterCount("alpha"), 2u);
  EXPECT_EQ(f->getParameter("alpha").get(), alpha.get());
  EXPECT_EQ(f->getParameter("alpha", 1).get(), second.get());
  EXPECT_FALSE(f->getParameter("alpha", 2));
  f->setSequence(12);
  EXPECT_EQ(messageOf([&] { f->addParameter("alpha", nullptr); }), "parameter 'alpha' of frame 12: null value");
  f = nullptr;
  EXPECT_EQ(alpha->reference_count(), 1);
}

TEST(RComponentConfiguration, GettersReadTheirFormOrRefuseIt) {
  RComponentConfiguration config({{"system_informat", "IYUV"}, {"frames", "+120"}, {"bad", "12x"},
                                  {"huge", "99999999999999999999"}, {"plusminus", "+-3"}, {"short", "YUV"}});
  EXPECT_EQ(config.getFourCC("system_informat", 0), 0x49595556u);
  EXPECT_EQ(config.getFourCC("system_outformat", 0), 0u);
  EXPECT_EQ(config.getInteger("frames", 0), 120);
  EXPECT_EQ(messageOf([&] { config.getFourCC("short", 0); }),
            "configuration key 'short': 'YUV' is not a FourCC (four characters expected)");
  EXPECT_EQ(messageOf([&] { config.getInteger("bad", 0); }), "configuration key 'bad': '12x' is not an integer");
  for (const char* key : {"plusminus", "huge"}) EXPECT_THROW(config.getInteger(key, 0), KX::CException) << key;
}

// Plug-ins call the component operations by their position in the virtual table; a
// pointer to a virtual member holds 1 + the entry's byte offset (Itanium C++ ABI).
template <class F>
ptrdiff_t slot(F member) {
  ptrdiff_t words[2];
  static_assert(sizeof(member) == sizeof(words));
  std::memcpy(words, &member, sizeof(words));
  return (words[0] - 1) / static_cast<ptrdiff_t>(sizeof(void*));
}

TEST(ZMComponent, VirtualTablesKeepThePlugInOrder) {
  // Entries 0 and 1 are the two destructors.
  EXPECT_EQ(slot(&RComponent::type), 2);
  EXPECT_EQ(slot(&RComponent::getStatus), 3);
  EXPECT_EQ(slot(&RComponent::componentWillReset), 4);
  EXPECT_EQ(slot(&RComponent::handleNotification), 5);
  EXPECT_EQ(slot(&RComponent::isVPLComponent), 6);
  EXPECT_EQ(slot(static_cast<bool (RComponent::*)(KX::RPtr<RFrame>)>(&RComponent::process)), 7);
  EXPECT_EQ(slot(static_cast<bool (RComponent::*)()>(&RComponent::process)), 8);
  EXPECT_EQ(slot(&RComponent::flush), 9);
  EXPECT_EQ(slot(&RComponent::numSimpleThreads), 10);
  EXPECT_EQ(slot(&RComponent::runloop), 11);
  EXPECT_EQ(slot(&RFilter::configure), 12);
  using Thread = KX::CThread<RComponent>;
  EXPECT_EQ(slot(&Thread::handleException), 2);
  EXPECT_EQ(slot(&Thread::threadrunloop), 3);
}

struct Bare : RFilter {
  int configure(const RComponentConfiguration&) override { return 0; }
};

TEST(ZMComponent, BaseOperationsAnswerAsThePlugInsExpect) {
  RPtr<Bare> filter(new Bare);
  EXPECT_EQ(filter->type(), makeFourCC("fltr"));
  const auto process = kx_test::thrown([&] { filter->process(KX::RPtr<RFrame>()); });
  ASSERT_TRUE(process);
  EXPECT_STREQ(process->what(), "process(ZMFrame) not implemented!");
  EXPECT_STREQ(process->getWhere().c_str(), "KX::ZM::ZMMultipleQueueComponent::process");
  EXPECT_EQ(process->getLine(), 254);
  EXPECT_STREQ(process->getFile().c_str(), "code\\lib\\zm\\ZMComponent");
  const auto flush = kx_test::thrown([&] { filter->flush(); });
  ASSERT_TRUE(flush);
  EXPECT_STREQ(flush->what(), "flush() not implemented!");
  EXPECT_EQ(flush->getLine(), 262);

  // One queue twice on one component is refused, as input or as output.
  RPtr<RQueue> q = RQueue::create("main", 1);
  filter->setAttribute("name", "f");
  filter->connectInput(*q);
  EXPECT_EQ(messageOf([&] { filter->connectInput(*q); }), "component 'f': queue 'main' is already an input");
  EXPECT_EQ(messageOf([&] { filter->connectOutput(*q); }), "component 'f': queue 'main' is already an input");
}

}  // namespace
