// Queue roles, input-set checks and the errors configure reports to its host.

#include "filter_rig.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace introoutro_test {
namespace {

constexpr const char* kSource = "code\\component\\filter\\video\\intro-outro\\VideoIntroOutroFilter";

struct role_case {
  std::vector<std::string> queues;
  config_keys keys;
  std::vector<uint8_t> order;  // on success: the inputs whose frame comes out, in output order
  int line = 0;                // on failure: the error's line and message
  std::string message = {};
};

role_case fails(std::vector<std::string> queues, config_keys keys, int line, std::string message) {
  return {std::move(queues), std::move(keys), {}, line, std::move(message)};
}

const config_keys kIYUV_keys{{"system_informat", "IYUV"}, {"system_outformat", "IYUV"}};

void expect_filter_error(const KX::CException& e, int line, const std::string& message, const char* where) {
  EXPECT_STREQ(e.getType().desc(), "KX::CException");
  EXPECT_EQ(e.getLine(), line);
  EXPECT_STREQ(e.getFile().desc(), kSource);
  EXPECT_STREQ(e.getWhere().desc(), where);
  EXPECT_EQ(e.what(), message);
}

// Each input carries one frame tagged with its index; every description matches, so
// no clip needs conversion.
TEST(IntroOutroConfigure, RolesByQueueNameAndInputSetChecks) {
  const std::string no_main = "*** ERROR ***: Main source does not contain video, but bumper/trailer does.";
  const std::string only_main = "*** ERROR ***: Main source contains video, but bumper/trailer does not.";
  const std::string two = "*** ERROR ***: VideoIntroOutroFilter couldn't find intro, outro or original queue";
  const std::string colorspace = "*** ERROR ***: Can't change colorspace in this filter.";
  const std::string three = "*** ERROR ***: VideoIntroOutroFilter couldn't find intro, outro and original queue";
  const std::vector<role_case> cases = {
      {{"main", "intro"}, kIYUV_keys, {1, 0}},
      {{"outro", "intro", "main"}, kIYUV_keys, {1, 2, 0}},
      {{"main", "my_outro_2"}, {}, {0, 1}},                 // missing keys: both formats 0
      {{"introoutro", "main"}, kIYUV_keys, {0, 1}},         // the intro test comes first
      {{"Intro", "my_intro_2"}, kIYUV_keys, {1, 0}},        // case-sensitive: Intro is a main source
      {{"", "outro"}, kIYUV_keys, {0, 1}},                  // the empty name is a main source
      {{"a", "b"}, kIYUV_keys, {1}},                        // the later main wins; a is never read
      fails({"intro", "outro"}, kIYUV_keys, 270, two),
      fails({"intro", "intro2"}, kIYUV_keys, 270, two),
      fails({"intro", "intro2", "main"}, kIYUV_keys, 280, three),
      fails({"intro", "main", "b"}, kIYUV_keys, 280, three),
      fails({"main"}, kIYUV_keys, 257, only_main),
      fails({"intro"}, kIYUV_keys, 253, no_main),
      fails({}, kIYUV_keys, 253, no_main),
      fails({"intro", "main", "outro", "x"}, kIYUV_keys, 257, only_main),
      fails({"intro", "outro", "intro3", "outro4"}, kIYUV_keys, 253, no_main),
      fails({"intro", "main", "outro"}, {{"system_informat", "IYUV"}, {"system_outformat", "Y22P"}}, 225, colorspace),
      fails({"a"}, {{"system_outformat", "IYUV"}}, 225, colorspace),
  };
  for (const role_case& c : cases) {
    std::string label;
    for (const std::string& q : c.queues) label += "'" + q + "' ";
    SCOPED_TRACE(label);
    filter_rig rig(c.queues, std::vector<RPtr<const KX::ZM::RDescription>>(c.queues.size(), video(4, 2, 25.0)));
    for (size_t i = 0; i < c.queues.size(); ++i) rig.put(i, tagged_frame(static_cast<uint8_t>(i), 1.0, 0.04));
    rig.end_inputs();
    if (c.line != 0) {
      try {
        rig.configure(c.keys);
        ADD_FAILURE() << "no exception";
      } catch (const KX::CException& e) {
        expect_filter_error(e, c.line, c.message, "VideoIntroOutroFilter::configure");
      }
      EXPECT_EQ(rig.output().getDescription(), nullptr) << "described before every check passed";
      continue;
    }
    ASSERT_EQ(rig.configure(c.keys), 0);
    std::vector<uint8_t> order;
    for (const RPtr<RFrame>& f : rig.run()) order.push_back(f->getData()[0]);
    EXPECT_EQ(order, c.order);
  }
}

// The host sees the filter's error as the same typed exception when a graph
// configures it.
TEST(IntroOutroConfigure, ErrorsReachTheGraphHostTyped) {
  const RPtr<const RVideoDescription> d = video(4, 2, 25.0);
  try {
    run_splice({{"intro", d, {}}, {"outro", d, {}}}, kIYUV_keys);
    ADD_FAILURE() << "no exception";
  } catch (const KX::CException& e) {
    expect_filter_error(e, 270, "*** ERROR ***: VideoIntroOutroFilter couldn't find intro, outro or original queue",
                        "VideoIntroOutroFilter::configure");
  }
}

// A clip that matches the main source is never asked its format; one that needs a
// resizer (line 152) or a converter (line 192) must be "IYUV" or "Y22P". A converter
// that refuses its clip's rate makes configure return -1; what was made by then goes
// with the filter (the sanitizer run checks that nothing leaks).
TEST(IntroOutroConfigure, ClipPreparationChecksTheFormatOnlyWhereNeeded) {
  const config_keys none;
  const config_keys rgb{{"system_informat", "RGB3"}, {"system_outformat", "RGB3"}};
  const config_keys y22p{{"system_informat", "Y22P"}, {"system_outformat", "Y22P"}};
  struct prep_case {
    RPtr<const KX::ZM::RDescription> clip, main;
    config_keys keys;
    int result;
    int line;
    const char* format;
  };
  for (const prep_case& c : std::vector<prep_case>{
           {video(4, 2, 25.0), video(4, 2, 25.0), none, 0, 0, ""},
           {video(4, 2, 25.9), video(4, 2, 25.0), none, 0, 0, ""},
           {video(8, 4, 25.0), video(4, 2, 25.0), none, 0, 152, "????"},
           {video(8, 4, 24.0), video(4, 2, 25.0), rgb, 0, 152, "RGB3"},
           {video(4, 2, 24.0), video(4, 2, 25.0), none, 0, 192, "????"},
           {video(4, 2, 29.97), video(4, 2, 29.97), rgb, 0, 192, "RGB3"},
           {video(8, 4, 24.0), video(4, 2, 25.0), y22p, 0, 0, ""},
           {video(8, 4, 0.0), video(4, 2, 25.0), kIYUV_keys, -1, 0, ""},
           {video(4, 2, -1.0), video(4, 2, 0.0), y22p, -1, 0, ""},
       }) {
    filter_rig rig({"main", "intro"}, {c.main, c.clip});
    SCOPED_TRACE(c.format);
    try {
      EXPECT_EQ(rig.configure(c.keys), c.result);
      EXPECT_EQ(c.line, 0) << "no exception";
    } catch (const KX::CException& e) {
      expect_filter_error(e, c.line, std::string("*** ERROR ***: Bad input format: '") + c.format + "'",
                          "VideoIntroOutroFilter::configure_xtro_queue");
    }
  }
}

class AudioDescription final : public KX::ZM::RDescription {
public:
  uint32_t type() const override { return KX::ZM::makeFourCC("audi"); }
};

TEST(IntroOutroConfigure, InputWithoutVideoDescriptionOrNoOutputIsRefused) {
  const RPtr<const KX::ZM::RDescription> d = video(4, 2, 25.0);
  const RPtr<const KX::ZM::RDescription> audio = new AudioDescription;
  struct bad_case {
    std::vector<RPtr<const KX::ZM::RDescription>> descriptions;
    std::string message;
  };
  for (const bad_case& c : std::vector<bad_case>{
           {{d, nullptr, d}, "*** ERROR ***: Input queue 'main' has no video description."},
           {{d, d, audio}, "*** ERROR ***: Input queue 'outro' has no video description."},
           {{nullptr, d, d}, "*** ERROR ***: Input queue 'intro' has no video description."},
       }) {
    filter_rig rig({"intro", "main", "outro"}, c.descriptions);
    try {
      rig.configure(kIYUV_keys);
      ADD_FAILURE() << "no exception";
    } catch (const KX::CException& e) {
      expect_filter_error(e, 286, c.message, "VideoIntroOutroFilter::configure");
    }
    EXPECT_EQ(rig.output().getDescription(), nullptr);
  }

  filter_rig no_output({"intro", "main"}, {d, d}, false);
  try {
    no_output.configure(kIYUV_keys);
    ADD_FAILURE() << "no exception";
  } catch (const KX::CException& e) {
    expect_filter_error(e, 284, "*** ERROR ***: VideoIntroOutroFilter has no output queue.",
                        "VideoIntroOutroFilter::configure");
  }
}

}  // namespace
}  // namespace introoutro_test
