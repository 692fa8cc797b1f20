#include "kx_test_support.h"
#include "zm/CMetaData.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using kx_test::contents;
using kx_test::cursorOf;
using kx_test::text;
using KX::CData;
using KX::CException;
using KX::ZM::CMetaData;

TEST(CMetaData, SerialFormCountsBigEndianAndListsEntriesInKeyOrder) {
  CMetaData m;
  m.addMeta(text("b"), text("2"));
  m.addMeta(text("a"), text("1"));
  CData d;
  d << m;
  EXPECT_EQ(contents(d), std::string("\0\0\0\x02"
                                     "\0\0\0\x02" "a\0" "\0\0\0\x02" "1\0"
                                     "\0\0\0\x02" "b\0" "\0\0\0\x02" "2\0",
                                     28));

  // A key written twice keeps its first value; stale entries of the target go.
  d.clear();
  d.putUInt32(3);
  d << text("k") << text("first") << text("j") << text("") << text("k") << text("second");
  d.reset();
  d >> m;
  EXPECT_EQ(m.getMetaMap().size(), 2u);
  EXPECT_STREQ(m.getMeta(text("k")).c_str(), "first");
  EXPECT_EQ(m.getMeta(text("absent")).getUsed(), 0);
  m = m;
  EXPECT_EQ(m.getMetaMap().size(), 2u);
}

TEST(CMetaData, RandomMetadataRoundTripsThroughOneStream) {
  const uint32_t seed = kx_test::testSeed();
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
    for (int i = static_cast<int>(rng() % 20); i > 0; --i) m.addMeta(text(randomText()), text(randomText()));
    d << m;
  }
  const CData stream(d, KX::kCopy);
  d.reset();
  CData again;
  for (size_t i = 0; i < written.size(); ++i) {
    CMetaData m;
    m.addMeta(text("stale"), text("entry"));
    d >> m;
    ASSERT_EQ(m.getMetaMap(), written[i].getMetaMap()) << "metadata " << i;
    again << m;
  }
  EXPECT_TRUE(d.isAtEnd());
  EXPECT_EQ(again, stream) << "writing what was read gives other bytes";
}

TEST(CMetaData, TruncatedAndCorruptedStreamsAreRejectedCleanly) {
  CMetaData m;
  m.addMeta(text("codec"), text("IYUV"));
  m.addMeta(text("alpha"), text(""));
  m.addMeta(text("title"), text("intro"));
  CData whole;
  whole << text("header") << m;
  const int start = 4 + 7;  // the metadata follows the header buffer
  // Reads the header, then metadata into a target with a stale entry.
  auto read = [start](CData& in, CMetaData& target) {
    in.reset();
    in.advance(start);
    target.addMeta(text("stale"), text("entry"));
    in >> target;
  };

  for (int cut = start; cut < whole.getUsed(); ++cut) {
    CData in(cut, whole.getBuffer(), KX::kCopy);
    CMetaData target;
    EXPECT_THROW(read(in, target), CException) << "cut to " << cut;
    EXPECT_TRUE(target.getMetaMap().empty());
    EXPECT_EQ(cursorOf(in), start);
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
        EXPECT_EQ(cursorOf(in), start);
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
