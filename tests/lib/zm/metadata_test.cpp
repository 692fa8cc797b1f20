#include "base/CData.h"
#include "base/CException.h"
#include "base/CString.h"
#include "zm/CMetaData.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

namespace {

using KX::CData;
using KX::CException;
using KX::CString;
using KX::ZM::CMetaData;

CString str(const std::string& s) { return CString(static_cast<int>(s.size()), s.data(), KX::kCopy); }

std::string contents(const KX::CBuffer& b) {
  return b.getUsed() == 0 ? std::string() : std::string(reinterpret_cast<const char*>(b.getBuffer()), b.getUsed());
}

int offset(const CData& d) { return d.getUsed() - d.getRemaining(); }

TEST(CMetaData, SerialFormCountsBigEndianAndListsEntriesInKeyOrder) {
  CMetaData m;
  m.addMeta(str("b"), str("2"));
  m.addMeta(str("a"), str("1"));
  CData d;
  d << m;
  EXPECT_EQ(contents(d), std::string("\0\0\0\x02"
                                     "\0\0\0\x02" "a\0" "\0\0\0\x02" "1\0"
                                     "\0\0\0\x02" "b\0" "\0\0\0\x02" "2\0",
                                     28));

  // A key written twice keeps its first value; stale entries of the target go.
  d.clear();
  d.putUInt32(3);
  d << str("k") << str("first") << str("j") << str("") << str("k") << str("second");
  d.reset();
  d >> m;
  EXPECT_EQ(m.getMetaMap().size(), 2u);
  EXPECT_STREQ(m.getMeta(str("k")).c_str(), "first");
  EXPECT_EQ(m.getMeta(str("absent")).getUsed(), 0);
  m = m;
  EXPECT_EQ(m.getMetaMap().size(), 2u);
}

TEST(CMetaData, RandomMetadataRoundTripsThroughOneStream) {
  const char* env = std::getenv("KX_TEST_SEED");
  const uint32_t seed = env != nullptr ? static_cast<uint32_t>(std::strtoul(env, nullptr, 10)) : 20240611u;
  SCOPED_TRACE("seed " + std::to_string(seed) + " (set KX_TEST_SEED to repeat)");
  std::mt19937 rng(seed);
  auto randomText = [&rng] {
    std::string s(rng() % 12, '\0');
    for (char& c : s) c = static_cast<char>(rng() % 4 == 0 ? rng() : 'a' + rng() % 3);
    return s;
  };
  std::vector<CMetaData> written(150);
  CData d;
  for (CMetaData& m : written) {
    for (int i = static_cast<int>(rng() % 20); i > 0; --i) m.addMeta(str(randomText()), str(randomText()));
    d << m;
  }
  const CData stream(d, KX::kCopy);
  d.reset();
  CData again;
  for (size_t i = 0; i < written.size(); ++i) {
    CMetaData m;
    m.addMeta(str("stale"), str("entry"));
    d >> m;
    ASSERT_EQ(m.getMetaMap(), written[i].getMetaMap()) << "metadata " << i;
    again << m;
  }
  EXPECT_TRUE(d.isAtEnd());
  EXPECT_EQ(again, stream) << "writing what was read gives other bytes";
}

TEST(CMetaData, TruncatedAndCorruptedStreamsAreRejectedCleanly) {
  CMetaData m;
  m.addMeta(str("codec"), str("IYUV"));
  m.addMeta(str("alpha"), str(""));
  m.addMeta(str("title"), str("intro"));
  CData whole;
  whole << str("header") << m;
  const int start = 4 + 7;  // the metadata follows the header buffer
  // Reads the header, then metadata into a target with a stale entry.
  auto read = [start](CData& in, CMetaData& target) {
    in.reset();
    in.advance(start);
    target.addMeta(str("stale"), str("entry"));
    in >> target;
  };

  for (int cut = start; cut < whole.getUsed(); ++cut) {
    CData in(cut, whole.getBuffer(), KX::kCopy);
    CMetaData target;
    EXPECT_THROW(read(in, target), CException) << "cut to " << cut;
    EXPECT_TRUE(target.getMetaMap().empty());
    EXPECT_EQ(offset(in), start);
  }

  // Any damaged byte either fails as above or gives metadata that round-trips;
  // nothing is read outside the stream (ASan).
  for (int at = 0; at < whole.getUsed() - start; ++at) {
    for (unsigned char flip : {0x01, 0x80, 0xff}) {
      CData in(whole, KX::kCopy);
      in[start + at] ^= flip;
      CMetaData target;
      try {
        read(in, target);
      } catch (const CException&) {
        EXPECT_TRUE(target.getMetaMap().empty());
        EXPECT_EQ(offset(in), start);
        continue;
      }
      CData rewritten;
      rewritten << target;
      rewritten.reset();
      CMetaData reread;
      rewritten >> reread;
      EXPECT_EQ(reread.getMetaMap(), target.getMetaMap()) << "byte " << at << " xor " << int{flip};
    }
  }
}

}  // namespace
