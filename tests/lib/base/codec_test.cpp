#include "kx_test_support.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using kx_test::bytes;
using kx_test::text;
using KX::CBuffer;
using KX::CString;

TEST(BufferCodecs, RandomBytesRoundTripThroughEveryCodecAndOption) {
  const uint32_t seed = kx_test::testSeed();
  SCOPED_TRACE("seed " + std::to_string(seed) + " (set KX_TEST_SEED to repeat)");
  std::mt19937 rng(seed);
  for (int length = 0; length <= 300; ++length) {
    std::string v(static_cast<size_t>(length), '\0');
    for (char& b : v) b = static_cast<char>(rng());
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
    s.encodeBase64(text(plain[i]), 0);
    EXPECT_STREQ(s.desc(), encoded[i]);
    s.decodeBase64(s, 0);
    EXPECT_STREQ(s.desc(), plain[i]);
  }
  CString url;
  url.encodeBase64(text("\xfb\xff"), KX::kBase64UrlSafe);
  EXPECT_STREQ(url.c_str(), "-_8=");

  CBuffer out;
  for (const char* bad : {"Zm9vY", "Zm=v", "Zg=", "Zh==", "-_8="}) {  // lone char, inner or short padding,
    EXPECT_THROW(out.decodeBase64(text(bad), 0), KX::CException) << bad;  // stray bits, other alphabet
  }
  EXPECT_THROW(out.decodeHex(text("abc"), 0), KX::CException);
  EXPECT_EQ(kx_test::messageOf([&] { out.decodeHex(text("12z4"), 0); }), "invalid hex digit 'z' at offset 2");
}

TEST(BufferComparison, LessIsAStrictWeakOrderConsistentWithEquality) {
  std::mt19937 rng(kx_test::testSeed());
  std::vector<CBuffer> values;
  for (int i = 0; i < 60; ++i) {
    std::string v(rng() % 4, '\0');
    for (char& b : v) b = static_cast<char>(rng() % 3 == 0 ? 0x80 + rng() % 2 : rng() % 2);
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
  EXPECT_LT(bytes("\x7f"), bytes("\x80"));
  EXPECT_LT(bytes("\1\2"), bytes(std::string("\1\2\0", 3)));
  EXPECT_LT(CBuffer(), bytes(std::string(1, '\0')));
}

}  // namespace
