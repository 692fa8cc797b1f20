#include "base/CException.h"
#include "base/CString.h"
#include "base/RBuffer.h"
#include "base/RPtr.h"
#include "base/RString.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

using KX::CBuffer;
using KX::CString;

// The invariant every CString member keeps: used counts the characters and one NUL.
void expectTerminated(const CString& s, const char* text) {
  SCOPED_TRACE(text);
  const int length = static_cast<int>(std::strlen(text));
  if (length == 0 && s.size() == 0) {
    EXPECT_STREQ(s.desc(), "");
    return;
  }
  ASSERT_EQ(s.size(), length + 1);
  EXPECT_EQ(s[s.size() - 1], 0);
  EXPECT_EQ(std::memcmp(s.c_str(), text, static_cast<size_t>(length)), 0);
  EXPECT_LE(s.size(), s.getLength());
}

CString str(const char* s) { return CString::createWithCString(s, KX::kCopy); }

TEST(CString, AppendAndTruncateKeepTheTerminator) {
  CString s = str("ab");
  expectTerminated(s, "ab");
  s.append("cd");
  expectTerminated(s, "abcd");
  s = str("ab");
  s.append(CString());
  expectTerminated(s, "ab");
  s += str("xyz");
  expectTerminated(s, "abxyz");
  s.append(2, "12345");
  expectTerminated(s, "abxyz12");
  s.append(s);  // the source is the string itself, which may move while growing
  expectTerminated(s, "abxyz12abxyz12");

  s = str("abc");
  s.truncate(1);
  EXPECT_EQ(s.getUsed(), 2);
  EXPECT_STREQ(s.c_str(), "a");
  s = str("abcdef");
  s.shrink(2);
  expectTerminated(s, "abcd");

  CString empty;
  EXPECT_STREQ(empty.desc(), "");
  EXPECT_EQ(empty.c_str(), nullptr);
  expectTerminated(empty + str("q"), "q");
  expectTerminated(str("p") + "q", "pq");
  s = "hello";
  expectTerminated(s, "hello");
  s.clear();
  EXPECT_TRUE(s.empty());
  EXPECT_STREQ(s.c_str(), "");  // old text no longer visible

  // From bytes without a NUL: one is added.
  char raw[] = {'x', 'y'};
  expectTerminated(CString(2, raw, KX::kCopy), "xy");
  expectTerminated(CString::createWithLength(1, raw, KX::kCopy), "x");
}

TEST(CString, FactoriesReturnTightCopies) {
  const CString fourcc = CString::createWithFourCC(0x59323250, '?');
  EXPECT_STREQ(fourcc.c_str(), "Y22P");
  EXPECT_EQ(fourcc.size(), 5);
  EXPECT_STREQ(CString::createFromFourCharConstant(0x41420A43).c_str(), "AB?C");
  EXPECT_STREQ(CString::createWithFourCC(0x7F1F2080, '.').c_str(), ".. .");
  EXPECT_STREQ(CString::createWithFourCC(0, '?').c_str(), "????");

  const CString capacity = CString::createWithCapacity(64);
  EXPECT_EQ(capacity.getUsed(), 0);
  EXPECT_EQ(capacity.getLength(), 0);
  const CBuffer buffer = CBuffer::createWithCapacity(64);
  EXPECT_EQ(buffer.getUsed(), 0);
  EXPECT_EQ(buffer.getLength(), 0);
  EXPECT_EQ(KX::RString::createWithCapacity(64).getLength(), 0);
  EXPECT_EQ(KX::RBuffer::createWithCapacity(64).getLength(), 0);

  // ConstructionFlags 3: the temporary takes over the block and frees it (the leak
  // checker fails the test otherwise); the result is a copy of its own.
  char* block = static_cast<char*>(std::malloc(4));
  std::memcpy(block, "abc", 4);
  const CString taken = CString::createFromPointer(block, KX::kTakeOver);
  EXPECT_STREQ(taken.c_str(), "abc");
  EXPECT_NE(taken.c_str(), block);
  EXPECT_EQ(KX::RString::createWithCString("rs", KX::kCopy).size(), 3);

  const CString copy(taken, KX::kCopy);
  EXPECT_EQ(copy, taken);
  EXPECT_NE(copy.c_str(), taken.c_str());
}

TEST(CString, FormatCaseSubstringAndSearch) {
  CString s = CString::createWithFormat("%s-%04d", "clip", 42);
  expectTerminated(s, "clip-0042");
  EXPECT_EQ(CString::createWithFormat("%s", "").size(), 0);
  const std::string longText(5000, 'z');
  EXPECT_EQ(CString::createWithFormat("%s!", longText.c_str()).size(), 5002);
  s.setf("%d/%d", 30000, 1001);
  expectTerminated(s, "30000/1001");

  const CString mixed = str("MiXed 09_z");
  expectTerminated(mixed.getUpperCaseString(), "MIXED 09_Z");
  expectTerminated(mixed.locase(), "mixed 09_z");

  const CString path = str("a/b/c.y4m");
  expectTerminated(path.getSubString(2, 3), "b/c");
  expectTerminated(path.substr(4, -1), "c.y4m");
  expectTerminated(path.getSubString(9, 0), "");
  EXPECT_THROW(path.getSubString(10, 0), KX::CException);
  EXPECT_THROW(path.getSubString(5, 5), KX::CException);
  EXPECT_THROW(path.getSubString(-1, 1), KX::CException);

  EXPECT_EQ(path.findFromEnd('/'), 3);
  EXPECT_EQ(path.reverseFind('/', 2), 1);
  EXPECT_EQ(path.reverseFind('/', 0), -1);
  EXPECT_EQ(path.reverseFind('a', 100), 0);
  EXPECT_EQ(path.findFromEnd('\0'), -1);  // the terminator is not text
  EXPECT_EQ(CString().findFromEnd('a'), -1);
}

TEST(CBuffer, GrowthCopiesAndBadArguments) {
  CBuffer b;
  for (int i = 0; i < 1000; ++i) {
    const unsigned char byte = static_cast<unsigned char>(i);
    b.append(1, &byte);
  }
  ASSERT_EQ(b.getUsed(), 1000);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(b[i], static_cast<unsigned char>(i));
  b.append(b);
  EXPECT_EQ(b.getUsed(), 2000);
  EXPECT_EQ(b[1999], static_cast<unsigned char>(999));

  // Assignment copies the used bytes only, and reuses storage that fits.
  CBuffer small(16);
  small.expand(3);
  CBuffer assigned;
  assigned = small;
  EXPECT_EQ(assigned.getLength(), 3);
  const unsigned char* storage = b.getBuffer();
  b = small;
  EXPECT_EQ(b.getBuffer(), storage);
  EXPECT_EQ(b.getUsed(), 3);
  b.set(2, b.getBuffer() + 1, KX::kCopy);  // overlapping source
  EXPECT_EQ(b.getUsed(), 2);

  const CBuffer joined = small + small;
  EXPECT_EQ(joined.getUsed(), 6);
  b.zero();
  EXPECT_EQ(b[0], 0);

  unsigned char* block = static_cast<unsigned char*>(std::malloc(8));
  KX::RPtr<KX::RBuffer> owned(new KX::RBuffer(8, block, KX::kTakeOver));
  EXPECT_EQ(owned->getBuffer(), block);
  owned->append(8, block);  // realloc of a taken-over block
  EXPECT_EQ(owned->getUsed(), 16);

  EXPECT_THROW(CBuffer(-1), KX::CException);
  EXPECT_THROW(CBuffer(4, nullptr, KX::kTakeOver), KX::CException);
  unsigned char bytes[2] = {1, 2};
  EXPECT_THROW(CBuffer(2, bytes, static_cast<KX::ConstructionFlags>(2)), KX::CException);
  EXPECT_THROW(b.append(-1, bytes), KX::CException);
}

}  // namespace
