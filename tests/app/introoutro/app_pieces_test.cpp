#include "introoutro/bitmap_font.h"
#include "introoutro/contact_sheet.h"
#include "introoutro/demo_clips.h"
#include "introoutro/input_checks.h"
#include "introoutro/options.h"
#include "introoutro/output_files.h"
#include "introoutro/png_writer.h"
#include "introoutro/progress.h"
#include "introoutro/splice_plan.h"
#include "y4m_test_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <unistd.h>
#include <tuple>
#include <utility>

namespace {

using namespace ns_introoutro;
using ::testing::HasSubstr;

std::string usage_error_of(const std::vector<std::string>& args) {
  return y4m_test::error_of<usage_error>([&] { parse_options(args); });
}

TEST(IntrooutroOptions, ParsesRolesAndRefusesWhatCannotRun) {
  const options o = parse_options({"--intro", "a.y4m", "--main=-", "--outro", "c.y4m", "-o", "out.y4m",
                                   "--intro-alpha", "am.y4m", "--queue-frames", "3", "-q", "--preview", "p.png"});
  EXPECT_EQ(o.command, command::splice);
  EXPECT_EQ((std::vector<std::string>{o.intro, o.main, o.outro, o.output, o.intro_alpha, o.preview, o.plugin}),
            (std::vector<std::string>{"a.y4m", "-", "c.y4m", "out.y4m", "am.y4m", "p.png", ""}));
  EXPECT_TRUE(o.queue_frames == 3 && o.quiet);

  const options demo = parse_options({"demo", "--preview", "d.png"});
  EXPECT_EQ(demo.command, command::demo);
  EXPECT_EQ(demo.output, "introoutro-demo.y4m");
  EXPECT_EQ(parse_options({"--main", "m", "--help"}).command, command::help);
  EXPECT_EQ(parse_options({"--version"}).command, command::version);

  const options media = parse_options({"demo", "-o", "d.mp4", "--crf=20", "--abitrate", "192k", "--join-fade", "15",
                                       "--no-audio"});
  EXPECT_EQ(std::tuple(media.command, media.encoder.crf, media.encoder.audio_bitrate, media.audio.join_fade_ms,
                       media.audio.enabled, media.fit),
            std::tuple(command::demo, std::optional<int>(20), std::optional<int64_t>(192000), 15u, false, fit_mode::pad));
  EXPECT_EQ(parse_options({"--main", "m", "--outro", "o", "-o", "x", "--fit", "crop"}).fit, fit_mode::crop);
  EXPECT_EQ(parse_bit_rate("8M"), 8000000);
  EXPECT_EQ(parse_bit_rate("2500k"), 2500000);
  EXPECT_EQ(parse_bit_rate("-5"), std::nullopt);
  EXPECT_EQ(parse_bit_rate("99999999999999999M"), std::nullopt);

  const std::vector<std::pair<std::vector<std::string>, std::string>> bad = {
      {{"--main", "m", "--intro", "i", "-o", "o", "--colour", "x"}, "unknown option '--colour'"},
      {{"--main", "m", "--intro", "i", "-o", "o", "stray"}, "unexpected argument 'stray'"},
      {{"--main", "m", "--intro", "i", "-o"}, "-o needs a value: -o FILE"},
      {{"--main", "--intro", "i", "-o", "o"}, "--main needs a value: --main FILE"},
      {{"--main=", "--intro", "i", "-o", "o"}, "--main needs a value"},
      {{"--intro", "i", "-o", "o"}, "--main FILE is required"},
      {{"--main", "m", "-o", "o"}, "give --intro FILE, --outro FILE or both"},
      {{"--main", "m", "--intro", "i"}, "-o FILE is required"},
      {{"--main", "m", "--outro", "x", "-o", "o", "--intro-alpha", "a"}, "--intro-alpha needs --intro"},
      {{"--main", "-", "--intro", "-", "-o", "o"}, "only one input can be '-'"},
      {{"--main", "m", "--main", "n", "--intro", "i", "-o", "o"}, "--main is given twice"},
      {{"--main", "m", "--intro", "i", "-o", "o", "--queue-frames", "0"}, "--queue-frames: Value 0 not in range 1 to 1024"},
      {{"--main", "m", "--intro", "i", "-o", "o", "--queue-frames", "1025"}, "Value 1025 not in range"},
      {{"--main", "m", "--intro", "i", "-o", "o", "--queue-frames", "8x"}, "--queue-frames: Value 8x"},
      {{"demo", "--main", "m"}, "--main is not an option of demo"},
      {{"--main", "m", "--intro", "i", "-o", "o", "--fit", "zoom"}, "--fit: Check zoom value in {"},
      {{"--main", "m", "--intro", "i", "-o", "o", "--crf", "64"}, "--crf: Value 64 not in range 0 to 63"},
      {{"--main", "m", "--intro", "i", "-o", "o", "--bitrate", "8X"}, "--bitrate: '8X' is not a bit rate"},
      {{"--main", "m", "--intro", "i", "-o", "o", "--crf", "18", "--bitrate", "8M"}, "--crf and --bitrate exclude"},
      {{"--main", "m", "--intro", "i", "-o", "o", "--no-audio", "--audio-out", "a.wav"}, "--no-audio and --audio-out"},
      {{"--main", "m", "--intro", "i", "-o", "-", "--matte", "-"}, "--matte and -o cannot both be '-'"},
  };
  for (const auto& [args, message] : bad) EXPECT_THAT(usage_error_of(args), HasSubstr(message)) << args.front();
}

input_info input(role r, const char* name, const char* header, std::optional<uint64_t> frames, bool exact = true) {
  return {r, name, ns_y4m::parse_stream_header(header), frames, exact};
}

std::string plan_error_of(const std::vector<input_info>& inputs) {
  return y4m_test::error_of<plan_error>([&] { check_inputs(inputs); });
}

TEST(IntrooutroPlan, ChecksFormatsAndSizesAndCountsTheOutput) {
  const auto main = input(role::main, "m.y4m", "YUV4MPEG2 W1920 H1080 F30000:1001", 300);
  EXPECT_EQ(plan_error_of({input(role::intro, "i.y4m", "YUV4MPEG2 W1280 H720 F25:1 C420mpeg2", 50), main}),
            "(no exception)");
  EXPECT_EQ(plan_error_of({main, input(role::outro, "o.y4m", "YUV4MPEG2 W1920 H1081 F25:1", 5)}),
            "o.y4m: the outro is 1920x1081 and must be scaled to 1920x1080, which needs an even width and height");
  EXPECT_EQ(plan_error_of({main, input(role::outro, "o.y4m", "YUV4MPEG2 W1919 H1080 F24:1", 5)}),
            "o.y4m: the outro is 1919x1080 and must be scaled to 1920x1080, which needs an even width and height");
  const auto odd_main = input(role::main, "m.y4m", "YUV4MPEG2 W721 H480 F25:1", 9);
  EXPECT_EQ(plan_error_of({odd_main, input(role::outro, "o.y4m", "YUV4MPEG2 W721 H480 F25:1", 5)}), "(no exception)");
  EXPECT_THAT(plan_error_of({odd_main, input(role::outro, "o.y4m", "YUV4MPEG2 W720 H480 F25:1", 5)}),
              HasSubstr("m.y4m: the main source is 721x480 and the outro o.y4m must be scaled to it"));

  // The filter converts a 29.97 clip under a 29.97 main source too; not a 25 under a 25.
  EXPECT_TRUE(needs_rate_conversion(30000.0 / 1001, 30000.0 / 1001));
  EXPECT_FALSE(needs_rate_conversion(25, 25));
  EXPECT_TRUE(needs_rate_conversion(24, 25));

  const auto same_rate = expected_output({input(role::intro, "i", "YUV4MPEG2 W8 H8 F25:1", 10),
                                          input(role::main, "m", "YUV4MPEG2 W8 H8 F25:1", 20)});
  ASSERT_TRUE(same_rate);
  EXPECT_EQ(std::pair(same_rate->frames, same_rate->exact), std::pair(uint64_t{30}, true));
  const auto converted = expected_output({input(role::intro, "i", "YUV4MPEG2 W8 H8 F25:1", 50), main,
                                          input(role::outro, "o", "YUV4MPEG2 W8 H8 F24:1", 48)});
  ASSERT_TRUE(converted);
  EXPECT_EQ(std::pair(converted->frames, converted->exact), std::pair(uint64_t{60 + 300 + 60}, true));
  EXPECT_FALSE(expected_output({main, input(role::outro, "o", "YUV4MPEG2 W8 H8 F24:1", std::nullopt)}));
  EXPECT_FALSE(expected_output({main, input(role::outro, "o", "YUV4MPEG2 W8 H8 F30000:1001", 7, false)})->exact);
}

// Colour ranges must agree (no tag means limited), interlaced clips of the other field
// order are named with both orders, and inputs without frames are told apart by role.
TEST(IntrooutroInputChecks, RangesFieldOrdersAndEmptyInputs) {
  const auto main = input(role::main, "m.y4m", "YUV4MPEG2 W8 H8 F25:1 It XCOLORRANGE=LIMITED", 5);
  const auto checked = [&](const char* clip_header) {
    std::vector<std::string> warnings;
    const std::string error = y4m_test::error_of<plan_error>(
        [&] { warnings = check_clips_against_main({main, input(role::outro, "o.y4m", clip_header, 5)}); });
    return std::pair(error, warnings);
  };
  using result = std::pair<std::string, std::vector<std::string>>;
  EXPECT_EQ(checked("YUV4MPEG2 W8 H8 F25:1 It"), result("(no exception)", {}));
  EXPECT_EQ(checked("YUV4MPEG2 W8 H8 F25:1 Ip"), result("(no exception)", {}));
  EXPECT_EQ(checked("YUV4MPEG2 W8 H8 F25:1 XCOLORRANGE=FULL").first,
            "o.y4m: the outro is full range (XCOLORRANGE=FULL) but the main source m.y4m is limited range "
            "(XCOLORRANGE=LIMITED): convert one of them to the other's range first");
  EXPECT_EQ(checked("YUV4MPEG2 W8 H8 F25:1 Ib"),
            result("(no exception)", {"o.y4m: the outro is bottom field first (Ib) but the main source m.y4m is top "
                                      "field first (It): the outro's fields may play in the wrong order"}));
  EXPECT_THAT(checked("YUV4MPEG2 W8 H8 F25:1 Im").second, ::testing::ElementsAre(HasSubstr("mixed field orders (Im)")));
  // A progressive main source has no field order to keep.
  EXPECT_TRUE(check_clips_against_main({input(role::main, "m", "YUV4MPEG2 W8 H8 F25:1 Ip", 5),
                                        input(role::intro, "i", "YUV4MPEG2 W8 H8 F25:1 Ib", 5)})
                  .empty());
  const auto full_main = input(role::main, "m.y4m", "YUV4MPEG2 W8 H8 F25:1 XCOLORRANGE=FULL", 5);
  EXPECT_THAT(y4m_test::error_of<plan_error>([&] {
                check_clips_against_main({full_main, input(role::intro, "i.y4m", "YUV4MPEG2 W8 H8 F25:1", 5)});
              }),
              HasSubstr("i.y4m: the intro is limited range (no XCOLORRANGE) but the main source m.y4m is full range"));

  // Known empty before the run; a size that is not whole frames may still hold one.
  const auto outro = input(role::outro, "o.y4m", "YUV4MPEG2 W8 H8 F25:1", 0);
  EXPECT_EQ(y4m_test::error_of<plan_error>(
                [&] { check_clips_against_main({input(role::main, "m.y4m", "YUV4MPEG2 W8 H8 F25:1", 0), outro}); }),
            "m.y4m: the main source has no frames");
  EXPECT_EQ(y4m_test::error_of<plan_error>([&] {
              check_clips_against_main({input(role::main, "m.y4m", "YUV4MPEG2 W8 H8 F25:1", 0, false), outro});
            }),
            "(no exception)");
  const std::vector<input_info> inputs = {main, outro};
  EXPECT_EQ(check_frames_read(inputs, {{role::main, 5}, {role::outro, 0}}),
            std::vector<std::string>{"o.y4m: the outro has no frames: the splice goes on without it"});
  EXPECT_EQ(y4m_test::error_of<plan_error>([&] { check_frames_read(inputs, {{role::main, 0}, {role::outro, 3}}); }),
            "m.y4m: the main source has no frames");
}

// Outputs are refused under any name of an input or of each other; what a failed job
// created or changed is removed, a file it never touched stays.
TEST(IntrooutroOutputFiles, RefusesSharedFilesAndRemovesWhatAFailedJobWrote) {
  y4m_test::scratch_dir dir;
  const std::string in = y4m_test::write_file(dir / "in.y4m", "input");
  std::filesystem::create_hard_link(in, dir / "hard.y4m");
  std::filesystem::create_symlink(in, dir / "soft.y4m");
  std::filesystem::create_directory(dir / "sub");
  const auto claim_error = [&](const std::vector<std::pair<std::string, std::string>>& outputs) {
    output_files files;
    for (const auto& [what, path] : outputs) files.add(what, path);
    return y4m_test::error_of<std::runtime_error>([&] { files.claim({in, ""}); });
  };
  EXPECT_EQ(claim_error({{"the output", dir / "hard.y4m"}}), dir / "hard.y4m" + ": the output is also the input " + in);
  EXPECT_EQ(claim_error({{"the output", dir / "o.y4m"}, {"the preview", dir / "soft.y4m"}}),
            dir / "soft.y4m" + ": the preview is also the input " + in);
  EXPECT_EQ(claim_error({{"the output", dir / "o.y4m"}, {"the matte", dir / "sub/../o.y4m"}}),
            dir / "sub/../o.y4m" + ": the matte is the same file as the output " + dir / "o.y4m");
  EXPECT_EQ(claim_error({{"the output", dir / "sub"}}), dir / "sub: is a directory");
  EXPECT_EQ(claim_error({{"the output", dir / "o.y4m"}, {"the preview", dir / "none/p.png"}}),
            dir / "none/p.png: cannot create: No such file or directory");
  EXPECT_EQ(claim_error({{"the output", "-"}, {"the matte", "-"}}),
            "standard output: the matte and the output cannot both be written to it");
  // Every refusal above removed the files it had created, and read nothing.
  EXPECT_FALSE(std::filesystem::exists(dir / "o.y4m"));
  EXPECT_EQ(y4m_test::read_file(in), "input");

  const std::string old_output = y4m_test::write_file(dir / "old.y4m", "old output");
  const std::string old_preview = y4m_test::write_file(dir / "old.png", "old preview");
  std::filesystem::create_symlink(old_output, dir / "link.y4m");
  {
    output_files files;
    files.add("the output", dir / "link.y4m");
    files.add("the preview", old_preview);
    files.add("the matte", dir / "matte.y4m");
    files.add("the sound output", "");
    files.claim({in});
    EXPECT_EQ(y4m_test::read_file(dir / "matte.y4m"), "");
    y4m_test::write_file(old_output, "cut");
  }
  EXPECT_FALSE(std::filesystem::exists(old_output)) << "the cut file behind the link stayed";
  EXPECT_FALSE(std::filesystem::exists(dir / "matte.y4m"));
  EXPECT_EQ(y4m_test::read_file(old_preview), "old preview");

  output_files kept;
  kept.add("the output", dir / "new.y4m");
  kept.claim({in});
  y4m_test::write_file(dir / "new.y4m", "whole");
  kept.keep();
  kept.discard();
  EXPECT_EQ(y4m_test::read_file(dir / "new.y4m"), "whole");
}

TEST(IntrooutroProgress, LinesSayWhatIsKnown) {
  EXPECT_EQ(progress_line(120, frame_total{240, true}, 62.5), "120 of 240 frames, 2 frames/s, 1:02 elapsed");
  EXPECT_EQ(progress_line(120, frame_total{240, false}, 0.5), "120 of about 240 frames, 240 frames/s, 0:00 elapsed");
  EXPECT_EQ(progress_line(7, std::nullopt, 0), "7 frames, 0 frames/s, 0:00 elapsed");
  job_summary s;
  s.frames_in = {{role::intro, 50}, {role::main, 120}};
  s.frames_out = 180;
  s.output = ns_y4m::parse_stream_header("YUV4MPEG2 W1920 H1080 F30000:1001");
  s.output_name = "out.y4m";
  s.output_bytes = 559873089;
  s.elapsed_seconds = 0.6;
  EXPECT_EQ(summary_line(s),
            "intro 50 + main 120 frames in, 180 frames out (1920x1080 at 29.97 frames/s, 559.9 MB) to out.y4m in "
            "0.60 s, 300 frames/s");

  // On a file, nothing is printed in the first seconds; -q prints nothing at all.
  y4m_test::scratch_dir dir;
  for (const bool quiet : {false, true}) {
    std::FILE* f = std::fopen((dir / "err.txt").c_str(), "w");
    progress_reporter r(f, false, quiet);
    r.update(10, std::nullopt, 1.0);
    r.update(20, std::nullopt, 11.0);
    r.update(21, std::nullopt, 12.0);
    r.finish("done");
    std::fclose(f);
    EXPECT_EQ(y4m_test::read_file(dir / "err.txt"),
              quiet ? "" : "introoutro: 20 frames, 2 frames/s, 0:11 elapsed\nintrooutro: done\n");
  }
}

TEST(IntrooutroFont, DrawsClippedGlyphsAndMarksMissingOnes) {
  std::vector<uint8_t> plane(12 * 9, 0);
  const uint8_t ink = 9;
  const canvas c{plane.data(), 12, 12, 9, 1};
  draw_text(c, 1, 1, "1", 1, &ink);
  // The '1' glyph: a foot of three pixels on its bottom row, its stem in column 2.
  EXPECT_EQ(std::vector<uint8_t>(&plane[7 * 12 + 1], &plane[7 * 12 + 5]), (std::vector<uint8_t>{0, ink, ink, ink}));
  EXPECT_EQ(std::count(plane.begin(), plane.end(), ink), 10);
  EXPECT_EQ(std::memcmp(glyph_rows('a'), glyph_rows('A'), glyph_height), 0);
  EXPECT_NE(std::memcmp(glyph_rows('A'), glyph_rows('B'), glyph_height), 0);
  EXPECT_EQ(std::memcmp(glyph_rows('@'), glyph_rows('\x80'), glyph_height), 0);  // both the box
  EXPECT_EQ(text_width("12", 3), 33);

  // Text running off every edge writes nothing outside the plane.
  std::vector<uint8_t> guarded(3 * 40 * 40, 0x5A);
  const canvas inner{guarded.data() + 40 * 40 + 10, 40, 20, 40, 1};
  draw_text(inner, -4, -3, "8888888", 2, &ink);
  fill_rect(inner, 15, 35, 10, 10, &ink);
  EXPECT_TRUE(std::all_of(guarded.begin(), guarded.begin() + 40 * 40 + 10, [](uint8_t v) { return v == 0x5A; }));
  EXPECT_TRUE(std::all_of(guarded.begin() + 2 * 40 * 40, guarded.end(), [](uint8_t v) { return v == 0x5A; }));
  for (int row = 0; row < 40; ++row) {
    for (int col = 30; col < 40; ++col) EXPECT_EQ(guarded[40 * 40 + 10 + row * 40 + col], 0x5A) << row << "," << col;
  }
}

// Black and white exactly, the primaries of 100% bars (whose Y'CbCr are rounded) to
// within one step, each in its own matrix; out-of-range values clamp.
TEST(IntrooutroContactSheet, ConvertsColoursAndNamesAnUnwritableFile) {
  const auto rgb = [](int y, int cb, int cr, bool hd) {
    uint8_t out[3];
    ycbcr_to_rgb(y, cb, cr, hd, out);
    return std::vector<int>{out[0], out[1], out[2]};
  };
  const auto near = [](const std::vector<int>& got, const std::vector<int>& want) {
    return std::equal(got.begin(), got.end(), want.begin(), [](int a, int b) { return std::abs(a - b) <= 1; });
  };
  EXPECT_EQ(rgb(16, 128, 128, true), (std::vector<int>{0, 0, 0}));
  EXPECT_EQ(rgb(235, 128, 128, false), (std::vector<int>{255, 255, 255}));
  EXPECT_TRUE(near(rgb(63, 102, 240, true), {255, 0, 0}));
  EXPECT_TRUE(near(rgb(81, 90, 240, false), {255, 0, 0}));
  EXPECT_TRUE(near(rgb(32, 240, 118, true), {0, 0, 255}));
  EXPECT_TRUE(near(rgb(145, 54, 34, false), {0, 255, 0}));
  EXPECT_FALSE(near(rgb(145, 54, 34, true), {0, 255, 0}));  // the 601 green is not the 709 one
  EXPECT_EQ(rgb(255, 255, 255, true), (std::vector<int>{255, 184, 255}));

  // Tiles and their order are checked on the program's preview.
  const rgb_image sheet(2, 2);
  y4m_test::scratch_dir dir;
  EXPECT_THAT(y4m_test::error_of<std::runtime_error>([&] { write_png(dir / "missing/x.png", sheet); }),
              HasSubstr("missing/x.png: cannot create: No such file or directory"));
}

// Every demo picture differs from the one before (the patterns move), is the same
// when drawn again, and stays inside video range.
TEST(IntrooutroDemoClips, PicturesMoveAndAreNumbered) {
  for (const demo_clip& clip : demo_clips()) {
    SCOPED_TRACE(clip.name);
    const uint64_t bytes = ns_y4m::picture_bytes(clip.header());
    std::vector<uint8_t> a(bytes), b(bytes), c(bytes);
    render_demo_picture(clip, 10, a.data());
    render_demo_picture(clip, 11, b.data());
    render_demo_picture(clip, 10, c.data());
    EXPECT_EQ(a, c);
    EXPECT_NE(a, b);
    EXPECT_TRUE(std::all_of(a.begin(), a.end(), [](uint8_t v) { return v >= 16 && v <= 240; }));
  }
}

}  // namespace
