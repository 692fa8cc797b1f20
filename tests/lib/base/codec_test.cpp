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

CBuffer bytes(std::vector<unsigned char> v) { return CBuffer(static_cast<int>(v.size()), v.data(), KX::kCopy); }

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
      CBuffer text;
      CBuffer back;
      EXPECT_EQ(text.encodeHex(original, options), 2 * length);
      back.decodeHex(text, 0);
      EXPECT_EQ(back, original);
      EXPECT_EQ(text.encodeBase64(original, options), (length + 2) / 3 * 4);
      back.decodeBase64(text, options);
      EXPECT_EQ(back, original);
      // Without its padding the text decodes the same; in place too.
      while (text.getUsed() > 0 && text[text.getUsed() - 1] == '=') text.shrink(1);
      text.decodeBase64(text, options);
      EXPECT_EQ(text, original);
    }
  }
}

TEST(BufferCodecs, KnownVectorsAndBadInput) {
  const char* plain[] = {"", "f", "fo", "foo", "foob", "fooba", "foobar"};
  const char* encoded[] = {"", "Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
  for (int i = 0; i < 7; ++i) {
    // A string's terminator is not part of its text, and results are terminated.
    CString s;
    s.encodeBase64(str(plain[i]), 0);
    EXPECT_STREQ(s.desc(), encoded[i]);
    s.decodeBase64(s, 0);
    EXPECT_STREQ(s.desc(), plain[i]);
  }
  CString url;
  url.encodeBase64(str("\xfb\xff"), KX::kBase64UrlSafe);
  EXPECT_STREQ(url.c_str(), "-_8=");

  CBuffer out;
  for (const char* bad : {"Zm9vY", "Zm=v", "Zg=", "Zh==", "-_8="}) {  // lone char, inner or short padding,
    EXPECT_THROW(out.decodeBase64(str(bad), 0), KX::CException) << bad;  // stray bits, other alphabet
  }
  EXPECT_THROW(out.decodeHex(str("abc"), 0), KX::CException);
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
    for (const auto& b : values) {
      EXPECT_EQ(a == b, !(a < b) && !(b < a));
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
}

}  // namespace
