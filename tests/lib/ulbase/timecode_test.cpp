#include "ulbase/timecode.h"

#include <gtest/gtest.h>

namespace {

using ulbase::timecode;
constexpr timecode::mode_type df30 = timecode::mode_29_97_df, df60 = timecode::mode_59_94_df;

TEST(Timecode, KnownLabelsAndIncrementAcrossDrops) {
  const struct {
    timecode::mode_type mode;
    uint64_t index;
    const char* label;
  } known[] = {
      {df30, 1799, "00:00:59;29"},  {df30, 1800, "00:01:00;02"},   {df30, 3598, "00:02:00;02"},
      {df30, 17982, "00:10:00;00"}, {df30, 107892, "01:00:00;00"}, {df30, 107892 * 24 + 1800, "00:01:00;02"},
      {df60, 3600, "00:01:00;04"},  {df60, 35964, "00:10:00;00"},  {timecode::mode_25, 90000, "01:00:00:00"},
      {timecode::mode_23_976, 86400, "01:00:00:00"},              {timecode::mode_none, 5, "--:--:--:--"},
  };
  for (const auto& k : known) EXPECT_EQ(timecode::from_frame_index(k.mode, k.index).to_string(), k.label);

  const auto step_from = [](const char* text, timecode::mode_type mode, uint32_t step) {
    timecode t = *ulbase::parse_timecode(text, mode);
    t.words[2] = 0xDEADBEEF;
    t.words[3] = step;
    t.increment();
    EXPECT_EQ(t.user_bits(), 0xDEADBEEFu);
    return t.to_string();
  };
  EXPECT_EQ(step_from("00:00:59;29", df30, 1), "00:01:00;02");
  EXPECT_EQ(step_from("00:09:59;29", df30, 1), "00:10:00;00");
  EXPECT_EQ(step_from("00:00:59;58", df60, 2), "00:01:00;04");
  EXPECT_EQ(step_from("23:59:59:24", timecode::mode_25, 1), "00:00:00:00");
  timecode none;
  none.increment();
  EXPECT_EQ(none, timecode());
}

// Print -> parse round trip over a whole day in every mode: each picture of the first
// twenty minutes, then a stride that meets every phase of the drop pattern.
TEST(Timecode, TextRoundTripsOverADay) {
  for (timecode::mode_type mode : {24u, 25u, 30u, 50u, 60u, timecode::mode_23_976, df30, df60}) {
    const uint32_t day = ulbase::frames_per_day(mode), dense = ulbase::mode_label_rate(mode) * 1200;
    for (uint32_t i = 0; i < day; i += i < dense ? 1 : 97) {
      const std::string text = timecode::from_frame_index(mode, i).to_string();
      const auto back = ulbase::parse_timecode(text, mode);
      ASSERT_TRUE(back && back->frame_index() == i) << "mode " << mode << " index " << i << " text " << text;
    }
  }
}

TEST(Timecode, ParserRefusesLabelsNoModeShows) {
  const char* why = nullptr;
  EXPECT_FALSE(ulbase::parse_timecode("00:01:00;00", df30, &why));
  EXPECT_STREQ(why, "drop-frame counting skips this label");
  EXPECT_FALSE(ulbase::parse_timecode("00:01:00;03", df60));
  for (const char* bad : {"00:00:00:25", "24:00:00:00", "00:60:00:00", "00:00:60:00", "0:00:00:00", "00:00:00:000",
                          "00;00:00:00", "00:0a:00:00"})
    EXPECT_FALSE(ulbase::parse_timecode(bad, timecode::mode_25)) << bad;
  EXPECT_FALSE(ulbase::parse_timecode("00:00:00:00", timecode::mode_none));
}

TEST(Timecode, WithTimestampKeepsTheRealTime) {
  const auto at = [](timecode::mode_type from, const char* text, timecode::mode_type to) {
    return ulbase::timecode_with_timestamp(to, ulbase::parse_timecode(text, from)->stream_time(), 3);
  };
  EXPECT_EQ(at(timecode::mode_25, "01:00:00:00", timecode::mode_24).to_string(), "01:00:00:00");
  EXPECT_EQ(at(df30, "00:10:00;00", df30).frame_index(), 17982u);
  // 1 s at 25 fps lies inside picture 29 of 30000/1001 video (picture 30 starts at 1.001 s).
  EXPECT_EQ(at(timecode::mode_25, "00:00:01:00", df30).frame_index(), 29u);
  EXPECT_EQ(at(df30, "00:00:01;00", timecode::mode_23_976).frame_index(), 24u);
  EXPECT_EQ(at(timecode::mode_25, "00:00:02:00", timecode::mode_60).step(), 3u);
  // A time counted without a mode is 0; a target without codes stays empty.
  EXPECT_EQ(ulbase::timecode_with_timestamp(timecode::mode_25, {500, timecode::mode_none}, 1).frame_index(), 0u);
  EXPECT_EQ(ulbase::timecode_with_timestamp(timecode::mode_none, {500, 25}, 1), timecode());
}

}  // namespace
