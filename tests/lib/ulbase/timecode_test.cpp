#include "ulbase/timecode.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using ulbase::timecode;

std::string label_of(timecode::mode_type mode, uint64_t index) {
  return timecode::from_frame_index(mode, index).to_string();
}

TEST(Timecode, KnownLabels) {
  static_assert(std::is_trivially_copyable_v<timecode> && sizeof(timecode) == 16);
  const timecode::mode_type df30 = timecode::mode_29_97_df, df60 = timecode::mode_59_94_df;
  EXPECT_EQ(label_of(df30, 1799), "00:00:59;29");
  EXPECT_EQ(label_of(df30, 1800), "00:01:00;02");
  EXPECT_EQ(label_of(df30, 3597), "00:01:59;29");
  EXPECT_EQ(label_of(df30, 3598), "00:02:00;02");
  EXPECT_EQ(label_of(df30, 17981), "00:09:59;29");
  EXPECT_EQ(label_of(df30, 17982), "00:10:00;00");
  EXPECT_EQ(label_of(df30, 19782), "00:11:00;02");
  EXPECT_EQ(label_of(df30, 107892), "01:00:00;00");
  EXPECT_EQ(label_of(df60, 3599), "00:00:59;59");
  EXPECT_EQ(label_of(df60, 3600), "00:01:00;04");
  EXPECT_EQ(label_of(df60, 35964), "00:10:00;00");
  EXPECT_EQ(label_of(timecode::mode_25, 90000), "01:00:00:00");
  EXPECT_EQ(label_of(timecode::mode_23_976, 86400), "01:00:00:00");
  EXPECT_EQ(label_of(timecode::mode_30, 1800), "00:01:00:00");
  // The day wraps: the index is taken modulo one day of labels.
  EXPECT_EQ(ulbase::frames_per_day(df30), 107892u * 24);
  EXPECT_EQ(label_of(df30, 107892u * 24 + 1800), "00:01:00;02");
  EXPECT_EQ(timecode().to_string(), "--:--:--:--");
  EXPECT_EQ(timecode(7).to_string(), "--:--:--:--");
}

TEST(Timecode, IncrementSkipsDroppedLabelsAndWrapsAtMidnight) {
  auto t = *ulbase::parse_timecode("00:00:59;29", timecode::mode_29_97_df);
  t.increment();
  EXPECT_EQ(t.to_string(), "00:01:00;02");
  t = *ulbase::parse_timecode("00:09:59;29", timecode::mode_29_97_df);
  t.increment();
  EXPECT_EQ(t.to_string(), "00:10:00;00");  // minutes divisible by ten keep 00 and 01
  t = *ulbase::parse_timecode("00:00:59;58", timecode::mode_59_94_df);
  t.words[3] = 2;
  t.increment();
  EXPECT_EQ(t.to_string(), "00:01:00;04");
  t = *ulbase::parse_timecode("23:59:59:24", timecode::mode_25);
  t.words[2] = 0xDEADBEEF;
  t.increment();
  EXPECT_EQ(t.to_string(), "00:00:00:00");
  EXPECT_EQ(t.user_bits(), 0xDEADBEEFu);
  timecode none;
  none.increment();
  EXPECT_EQ(none, timecode());
}

// Every label printed in every mode parses back to the same value, over a whole day
// (each picture of the first twenty minutes, then a stride that hits every phase of
// the drop pattern).
TEST(Timecode, TextRoundTripsOverADay) {
  for (timecode::mode_type mode : {timecode::mode_24, timecode::mode_25, timecode::mode_30, timecode::mode_50,
                                   timecode::mode_60, timecode::mode_23_976, timecode::mode_29_97_df,
                                   timecode::mode_59_94_df}) {
    const uint32_t day = ulbase::frames_per_day(mode);
    const uint32_t dense = ulbase::mode_label_rate(mode) * 1200;
    for (uint32_t i = 0; i < day; i += i < dense ? 1 : 97) {
      const timecode t = timecode::from_frame_index(mode, i);
      const std::string text = t.to_string();
      const auto back = ulbase::parse_timecode(text, mode);
      ASSERT_TRUE(back) << "mode " << mode << " index " << i << " text " << text;
      ASSERT_EQ(back->frame_index(), i) << "mode " << mode << " text " << text;
      if (i + 1 < day) {
        timecode next = t;
        next.increment();
        ASSERT_EQ(next.frame_index(), i + 1);
      }
    }
  }
}

TEST(Timecode, ParserRefusesWhatNoModeCanShow) {
  const char* why = nullptr;
  EXPECT_FALSE(ulbase::parse_timecode("00:01:00;00", timecode::mode_29_97_df, &why));
  EXPECT_STREQ(why, "drop-frame counting skips this label");
  EXPECT_FALSE(ulbase::parse_timecode("00:01:00;03", timecode::mode_59_94_df));
  EXPECT_TRUE(ulbase::parse_timecode("00:01:00:00", timecode::mode_25));
  EXPECT_TRUE(ulbase::parse_timecode("00:10:00;00", timecode::mode_29_97_df));
  EXPECT_FALSE(ulbase::parse_timecode("00:00:00:25", timecode::mode_25));
  EXPECT_FALSE(ulbase::parse_timecode("24:00:00:00", timecode::mode_25));
  EXPECT_FALSE(ulbase::parse_timecode("00:60:00:00", timecode::mode_25));
  EXPECT_FALSE(ulbase::parse_timecode("00:00:60:00", timecode::mode_25));
  EXPECT_FALSE(ulbase::parse_timecode("0:00:00:00", timecode::mode_25));
  EXPECT_FALSE(ulbase::parse_timecode("00:00:00:000", timecode::mode_25));
  EXPECT_FALSE(ulbase::parse_timecode("00;00:00:00", timecode::mode_25));
  EXPECT_FALSE(ulbase::parse_timecode("00:0a:00:00", timecode::mode_25));
  EXPECT_FALSE(ulbase::parse_timecode("00:00:00:00", timecode::mode_none, &why));
  EXPECT_STREQ(why, "the mode generates no time code");
}

TEST(Timecode, WithTimestampKeepsTheRealTime) {
  const auto at = [](timecode::mode_type from, const char* text, timecode::mode_type to) {
    const timecode t = *ulbase::parse_timecode(text, from);
    return ulbase::timecode_with_timestamp(to, t.stream_time(), 3);
  };
  EXPECT_EQ(at(timecode::mode_25, "01:00:00:00", timecode::mode_24).to_string(), "01:00:00:00");
  EXPECT_EQ(at(timecode::mode_25, "00:00:01:12", timecode::mode_50).to_string(), "00:00:01:24");
  // Same real rate: the same picture, whatever the labels.
  EXPECT_EQ(at(timecode::mode_29_97_df, "00:10:00;00", timecode::mode_29_97_df).frame_index(), 17982u);
  // 1 s at 25 fps lies inside picture 29 of 30000/1001 video (29.97 pictures).
  EXPECT_EQ(at(timecode::mode_25, "00:00:01:00", timecode::mode_29_97_df).frame_index(), 29u);
  EXPECT_EQ(at(timecode::mode_29_97_df, "00:00:01;00", timecode::mode_23_976).frame_index(), 24u);
  const timecode t = at(timecode::mode_25, "00:00:02:00", timecode::mode_60);
  EXPECT_EQ(t.step(), 3u);
  EXPECT_EQ(t.mode(), timecode::mode_60);
  // A time in a mode without codes counts as 0; a target without codes stays empty.
  EXPECT_EQ(ulbase::timecode_with_timestamp(timecode::mode_25, {500, timecode::mode_none}, 1).frame_index(), 0u);
  EXPECT_EQ(ulbase::timecode_with_timestamp(timecode::mode_none, {500, 25}, 1), timecode());
}

}  // namespace
