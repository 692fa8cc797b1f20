#include "base/RBuffer.h"
#include "base/RPtr.h"
#include "base/RString.h"
#include "kx_test_support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace {

using kx_test::text;
using KX::CBuffer;
using KX::CString;

// The invariant every CString member keeps: used counts the characters and one NUL.
void expectTerminated(const CString& s, const char* want) {
  SCOPED_TRACE(want);
  const int length = static_cast<int>(std::strlen(want));
  if (length == 0 && s.size() == 0) return;
  ASSERT_EQ(s.size(), length + 1);
  EXPECT_EQ(s[length], 0);
  EXPECT_EQ(std::memcmp(s.c_str(), want, static_cast<size_t>(length)), 0);
}

TEST(CString, EditsKeepTheTerminator) {
  CString s = text("ab");
  s.append("cd");
  expectTerminated(s, "abcd");
  s = text("ab");
  s.append(CString());
  expectTerminated(s, "ab");
  s.append(2, "12345");
  expectTerminated(s, "ab12");
  s.append(s);  // its own storage moves while growing
  expectTerminated(s, "ab12ab12");
  expectTerminated(CString() + text("q"), "q");
  s = text("abc");
  s.truncate(1);
  EXPECT_EQ(s.getUsed(), 2);
  expectTerminated(s, "a");
  s = text("abcdef");
  s.shrink(2);
  expectTerminated(s, "abcd");
  s.clear();
  EXPECT_STREQ(s.c_str(), "");
  char raw[] = {'x', 'y'};
  expectTerminated(CString(2, raw, KX::kCopy), "xy");
}

TEST(CString, FactoriesCopyTightlyAndReleaseWhatTheyTakeOver) {
  const CString fourcc = CString::createWithFourCC(0x59323250, '?');
  EXPECT_STREQ(fourcc.c_str(), "Y22P");
  EXPECT_EQ(fourcc.size(), 5);
  EXPECT_STREQ(CString::createFromFourCharConstant(0x41420A43).c_str(), "AB?C");
  EXPECT_STREQ(CString::createWithFourCC(0x7F1F2080, '.').c_str(), ".. .");
  // The temporary's capacity is not carried over.
  EXPECT_EQ(CString::createWithCapacity(64).getLength(), 0);
  EXPECT_EQ(KX::RString::createWithCapacity(64).getLength(), 0);
  // Flags 3: the temporary frees the block (the leak checker watches).
  char* block = static_cast<char*>(std::malloc(4));
  std::memcpy(block, "abc", 4);
  expectTerminated(CString::createFromPointer(block, KX::kTakeOver), "abc");
}

TEST(CString, FormatCaseSubstringAndSearch) {
  expectTerminated(CString::createWithFormat("%s-%04d", "clip", 42), "clip-0042");
  EXPECT_EQ(CString::createWithFormat("%s", "").size(), 0);
  CString s;
  s.setf("%d/%d", 30000, 1001);
  expectTerminated(s, "30000/1001");
  expectTerminated(text("MiXed 09_z").getUpperCaseString(), "MIXED 09_Z");

  const CString path = text("a/b/c.y4m");
  expectTerminated(path.getSubString(2, 3), "b/c");
  expectTerminated(path.substr(4, -1), "c.y4m");
  EXPECT_THROW(path.getSubString(5, 5), KX::CException);
  EXPECT_EQ(path.findFromEnd('/'), 3);
  EXPECT_EQ(path.reverseFind('/', 2), 1);
  EXPECT_EQ(path.reverseFind('/', 0), -1);
  EXPECT_EQ(path.findFromEnd('\0'), -1);  // the terminator is not text
}

TEST(CBuffer, GrowsKeepingBytesAndRefusesBadArguments) {
  unsigned char* block = static_cast<unsigned char*>(std::malloc(8));
  KX::RPtr<KX::RBuffer> owned(new KX::RBuffer(8, block, KX::kTakeOver));
  EXPECT_EQ(owned->getBuffer(), block);
  owned->append(8, block);  // grows the taken-over block
  EXPECT_EQ(owned->getUsed(), 16);

  EXPECT_THROW(CBuffer(-1), KX::CException);
  EXPECT_THROW(CBuffer(4, nullptr, KX::kTakeOver), KX::CException);
  EXPECT_THROW(CBuffer(2, block, static_cast<KX::ConstructionFlags>(2)), KX::CException);
}

}  // namespace
