#include "base/CException.h"
#include "base/CString.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

using KX::CBuffer;
using KX::CString;

uint32_t testSeed() {
  const char* env = std::getenv("KX_TEST_SEED");
  return env != nullptr ? static_cast<uint32_t>(std::strtoul(env, nullptr, 10)) : 20240611u;
}

CBuffer bytes(const std::vector<unsigned char>& v) {
  return CBuffer(static_cast<int>(v.size()), const_cast<unsigned char*>(v.data()), KX::kCopy);
}

std::string text(const CBuffer& b) {
  return std::string(reinterpret_cast<const char*>(b.getBuffer()), static_cast<size_t>(b.getUsed()));
}

CString str(const char* s) { return CString::createWithCString(s, KX::kCopy); }

TEST(BufferCodecs, RandomBytesRoundTripThroughEveryCodecAndOption) {
  const uint32_t seed = testSeed();
  SCOPED_TRACE("seed " + std::to_string(seed) + " (set KX_TEST_SEED to repeat)");
  std::mt19937 rng(seed);
  for (int length = 0; length <= 300; ++length) {
    std::vector<unsigned char> v(static_cast<size_t>(length));
    for (auto& b : v) b = static_cast<unsigned char>(rng());
    const CBuffer original = bytes(v);
    for (int options = 0; options <= 1; ++options) {
      SCOPED_TRACE("length " + std::to_string(length) + " options " + std::to_string(options));
      CBuffer hex;
      EXPECT_EQ(hex.encodeHex(original, options), 2 * length);
      const std::string digits = text(hex);
      EXPECT_EQ(digits.find_first_not_of(options ? "0123456789ABCDEF" : "0123456789abcdef"), std::string::npos);
      CBuffer back;
      back.decodeHex(hex, 0);
      EXPECT_EQ(back, original);

      CBuffer b64;
      EXPECT_EQ(b64.encodeBase64(original, options), (length + 2) / 3 * 4);
      back.decodeBase64(b64, options);
      EXPECT_EQ(back, original);
      // Without its padding the text decodes the same.
      const std::string padded = text(b64);
      const std::string bare = padded.substr(0, padded.find('='));
      back.decodeBase64(CBuffer(static_cast<int>(bare.size()),
                                reinterpret_cast<unsigned char*>(const_cast<char*>(bare.data())), KX::kCopy),
                        options);
      EXPECT_EQ(back, original);

      // In place: the source is the buffer itself.
      CBuffer self = original;
      self.encodeBase64(self, options);
      self.decodeBase64(self, options);
      EXPECT_EQ(self, original);
    }
  }
}

TEST(BufferCodecs, KnownVectorsStringsAndBadInput) {
  const char* plain[] = {"", "f", "fo", "foo", "foob", "fooba", "foobar"};
  const char* encoded[] = {"", "Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
  for (int i = 0; i < 7; ++i) {
    // A string's terminator is not part of its text, and results are terminated.
    CString s;
    s.encodeBase64(str(plain[i]), 0);
    EXPECT_STREQ(s.desc(), encoded[i]);
    CString d;
    d.decodeBase64(s, 0);
    EXPECT_STREQ(d.desc(), plain[i]);
  }
  CString hex;
  hex.encodeHex(str("\x01\xfe"), KX::kHexUpperCase);
  EXPECT_STREQ(hex.c_str(), "01FE");
  EXPECT_EQ(hex.size(), 5);
  CString url;
  url.encodeBase64(str("\xfb\xff"), KX::kBase64UrlSafe);
  EXPECT_STREQ(url.c_str(), "-_8=");

  CBuffer out;
  EXPECT_THROW(out.decodeHex(str("abc"), 0), KX::CException);
  EXPECT_THROW(out.decodeHex(str("0g"), 0), KX::CException);
  EXPECT_THROW(out.decodeBase64(str("Zm9vY"), 0), KX::CException);     // lone character
  EXPECT_THROW(out.decodeBase64(str("Zm=v"), 0), KX::CException);      // padding inside
  EXPECT_THROW(out.decodeBase64(str("Zg="), 0), KX::CException);       // short padding
  EXPECT_THROW(out.decodeBase64(str("Zh=="), 0), KX::CException);      // stray low bits
  EXPECT_THROW(out.decodeBase64(str("-_8="), 0), KX::CException);      // wrong alphabet
  try {
    out.decodeHex(str("12z4"), 0);
    FAIL() << "no exception";
  } catch (const KX::CException& e) {
    EXPECT_STREQ(e.what(), "invalid hex digit 'z' at offset 2");
  }
}

TEST(BufferComparison, LessIsAStrictWeakOrderConsistentWithEquality) {
  std::mt19937 rng(testSeed());
  std::vector<CBuffer> values;
  for (int i = 0; i < 60; ++i) {
    std::vector<unsigned char> v(rng() % 4);
    for (auto& b : v) b = static_cast<unsigned char>(rng() % 3 == 0 ? 0x80 + rng() % 2 : rng() % 2);
    values.push_back(bytes(v));
  }
  for (const auto& a : values) {
    EXPECT_FALSE(a < a);
    for (const auto& b : values) {
      EXPECT_EQ(a == b, !(a < b) && !(b < a));
      EXPECT_FALSE(a < b && b < a);
      for (const auto& c : values) {
        if (a < b && b < c) {
          EXPECT_TRUE(a < c);
        }
      }
    }
  }
  // Bytes compare unsigned, and a proper prefix orders first.
  EXPECT_LT(bytes({0x7f}), bytes({0x80}));
  EXPECT_LT(bytes({1, 2}), bytes({1, 2, 0}));
  EXPECT_LT(CBuffer(), bytes({0}));
  EXPECT_LT(str("abc"), str("abd"));
  EXPECT_EQ(str("abc"), str("abc"));
  EXPECT_NE(str("abc"), str("ab"));
}

}  // namespace
