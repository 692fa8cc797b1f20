#include "kx_test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using kx_test::bytes;
using kx_test::contents;
using kx_test::cursorOf;
using KX::CBuffer;
using KX::CData;
using KX::CException;

TEST(CData, CursorStaysInsideTheDataThroughGetPutAndCuts) {
  CData d(bytes("abcdef"), KX::kCopy);
  EXPECT_EQ(d.getPointer(), d.getBuffer());
  d.advance(4);
  CBuffer part;
  EXPECT_THROW(d.get(&part, 3), CException);
  EXPECT_EQ(part.getUsed(), 0);
  EXPECT_EQ(cursorOf(d), 4);
  d.get(&part, 2);
  EXPECT_EQ(contents(part), "ef");

  const CBuffer tail = bytes(std::string(100, 't'));
  d.put(&tail);  // the storage moves
  d.put(&d);     // its own bytes, read after that growth
  const std::string expected = "abcdef" + std::string(100, 't');
  EXPECT_EQ(contents(d), expected + expected);
  EXPECT_TRUE(d.isAtEnd());
  d.advance(1);
  EXPECT_THROW(d.put(&tail), CException) << "bytes between the end and the cursor would count unwritten";
  EXPECT_EQ(d.getUsed(), 212);

  d.truncate(5);
  EXPECT_EQ(cursorOf(d), 5);
  d.shrink(2);
  EXPECT_EQ(cursorOf(d), 3);
  EXPECT_EQ(CData(d).getRemaining(), 3) << "a copy starts at its beginning";

  const CData sized = CData::createWithCapacity(64);
  EXPECT_EQ(sized.getLength(), 0);
  EXPECT_EQ(sized.getPointer(), sized.getBuffer());
}

TEST(BufferStream, ReadsBackExactlyTheBytesWritten) {
  std::vector<std::string> written{"", std::string(1, '\0'), "plain", std::string("a\0b\xff", 4)};
  std::string long_one(700, '\0');
  for (size_t i = 0; i < long_one.size(); ++i) long_one[i] = static_cast<char>(i * 37);
  written.push_back(long_one);
  CData d;
  for (const std::string& s : written) d << bytes(s);
  d << bytes("no NUL");
  d.reset();
  for (const std::string& s : written) {
    CBuffer b = bytes("stale");
    d >> b;
    EXPECT_EQ(contents(b), s);
  }
  KX::CString text;
  d >> text;
  EXPECT_STREQ(text.c_str(), "no NUL");
  EXPECT_EQ(text.size(), 7);
  EXPECT_TRUE(d.isAtEnd());
}

}  // namespace
