// Queue roles, the checks of the input set and of the clips' formats, the errors the
// host receives from configure, and what the module exports.

#include "splice_graph.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace introoutro_test {
namespace {

const config_keys kIYUV_keys{{"system_informat", "IYUV"}, {"system_outformat", "IYUV"}};

// What outcome() makes of the filter's error.
std::string filter_error(int line, const std::string& message, const char* where = "configure") {
  return std::to_string(line) + " VideoIntroOutroFilter::" + where + ": *** ERROR ***: " + message;
}

std::string bad_format(int line, const std::string& fourcc) {
  return filter_error(line, "Bad input format: '" + fourcc + "'", "configure_xtro_queue");
}

// The run in one line: the filter's error as "<line> <where>: <message>", another
// error as its message, or the input index of every output frame.
std::string outcome(const splice_output& out) {
  if (!out.error) {
    std::string s = "frames";
    for (const RPtr<RFrame>& f : out.frames) s.append(" ").append(std::to_string(f->getData()[0]));
    return s;
  }
  const KX::CException& e = *out.error;
  if (std::string(e.getFile().desc()) != "code\\component\\filter\\video\\intro-outro\\VideoIntroOutroFilter") {
    return e.what();
  }
  std::string s = std::to_string(e.getLine()) + " " + e.getWhere().desc() + ": " + e.what();
  if (std::string(e.getType().desc()) != "KX::CException") s += " [type " + std::string(e.getType().desc()) + "]";
  // Only the clips are prepared after the output is described.
  const bool checked_first = std::string(e.getWhere().desc()) == "VideoIntroOutroFilter::configure";
  if (out.description && checked_first) s += " [output described before every check passed]";
  return s;
}

class AudioDescription final : public KX::ZM::RDescription {
public:
  uint32_t type() const override { return KX::ZM::makeFourCC("audi"); }
};

struct configure_case {
  std::vector<std::string> queues;
  std::string expected;
  config_keys keys = kIYUV_keys;
  std::vector<RPtr<const KX::ZM::RDescription>> descriptions = {};  // none given: all 4x2 at 25
  bool with_output = true;
};

// Input i carries one picture whose bytes are all i, sized by its description.
TEST(IntroOutroConfigure, RolesChecksAndErrorsAsTheHostSeesThem) {
  const std::string no_main = "Main source does not contain video, but bumper/trailer does.";
  const std::string only_main = "Main source contains video, but bumper/trailer does not.";
  const std::string two = "VideoIntroOutroFilter couldn't find intro, outro or original queue";
  const std::string three = "VideoIntroOutroFilter couldn't find intro, outro and original queue";
  const std::string colorspace = "Can't change colorspace in this filter.";
  const std::string unprintable(4, '?');  // the FourCC 0 of a missing key
  const std::string refused = "component 'filter': configure returned -1";
  const config_keys none, rgb{{"system_informat", "RGB3"}, {"system_outformat", "RGB3"}},
      y22p{{"system_informat", "Y22P"}, {"system_outformat", "Y22P"}};
  const RPtr<const KX::ZM::RDescription> d = video(4, 2, 25.0), audio = new AudioDescription;
  const std::vector<std::string> clip = {"main", "intro"};
  const std::vector<configure_case> cases = {
      {{"main", "intro"}, "frames 1 0"},
      {{"outro", "intro", "main"}, "frames 1 2 0"},
      {{"main", "my_outro_2"}, "frames 0 1", none},     // missing keys: both formats 0
      {{"introoutro", "main"}, "frames 0 1"},           // the intro test comes first
      {{"Intro", "my_intro_2"}, "frames 1 0"},          // case-sensitive: Intro is a main source
      {{"a", "b"}, "frames 1"},                         // the later main wins; a is never read
      {{"intro", "outro"}, filter_error(270, two)},
      {{"intro", "intro2", "main"}, filter_error(280, three)},
      {{"main", "b", "outro"}, filter_error(280, three)},
      {{"main"}, filter_error(257, only_main)},
      {{}, filter_error(253, no_main)},
      {{"intro", "main", "outro", "x"}, filter_error(257, only_main)},
      {{"intro", "main"}, filter_error(225, colorspace), {{"system_informat", "IYUV"}, {"system_outformat", "Y22P"}}},
      {{"a"}, filter_error(225, colorspace), {{"system_outformat", "IYUV"}}},
      {{"intro", "main", "outro"}, filter_error(286, "Input queue 'intro' has no video description."), kIYUV_keys,
       {nullptr, d, d}},
      {{"intro", "main", "outro"}, filter_error(286, "Input queue 'outro' has no video description."), kIYUV_keys,
       {d, d, audio}},
      {{"intro", "main"}, filter_error(284, "VideoIntroOutroFilter has no output queue."), kIYUV_keys, {}, false},
      // A clip that matches the main source (in whole frames per second) is never asked
      // its format; one that needs a resizer (152, checked first) or a converter (192)
      // must be "IYUV" or "Y22P". A converter that refuses its clip's rate fails the
      // configuration; what was made by then goes with the filter.
      {clip, "frames 1 0", none, {d, video(4, 2, 25.9)}},
      {clip, bad_format(152, unprintable), none, {d, video(8, 4, 25.0)}},
      {clip, bad_format(152, "RGB3"), rgb, {d, video(8, 4, 24.0)}},
      {clip, bad_format(192, unprintable), none, {d, video(4, 2, 24.0)}},
      {clip, "frames 0", y22p, {d, video(8, 4, 24.0)}},  // the converter holds the clip's one picture
      {clip, refused, kIYUV_keys, {d, video(8, 4, 0.0)}},
      {clip, refused, y22p, {video(4, 2, 0.0), video(4, 2, -1.0)}},
  };
  for (const configure_case& c : cases) {
    std::string label;
    for (const std::string& q : c.queues) label += "'" + q + "' ";
    const uint32_t fourcc = c.keys.count("system_informat") && c.keys.at("system_informat") == "Y22P" ? kY22P : kIYUV;
    std::vector<clip_input> inputs;
    for (size_t i = 0; i < c.queues.size(); ++i) {
      inputs.push_back({c.queues[i], c.descriptions.empty() ? d : c.descriptions[i], {}});
      if (const auto* v = dynamic_cast<const RVideoDescription*>(inputs.back().description.get())) {
        const std::vector<uint8_t> picture(picture_bytes(fourcc, v->getWidth(), v->getHeight()), uint8_t(i));
        inputs.back().frames.push_back(make_frame(fourcc, picture, 1.0, 0.04));
      }
    }
    EXPECT_EQ(outcome(run_splice(inputs, c.keys, 3, c.with_output)), c.expected) << label;
  }
}

TEST(IntroOutroModule, ExportsOnlyTheFactory) {
  std::FILE* pipe = popen("nm -D --defined-only -C " INTROOUTRO_FILTER_MODULE, "r");
  ASSERT_NE(pipe, nullptr);
  std::string symbols;
  char line[4096];
  while (std::fgets(line, sizeof line, pipe) != nullptr) symbols += line;
  ASSERT_EQ(pclose(pipe), 0) << "nm failed";
  EXPECT_NE(symbols.find(" T getComponentInstance\n"), std::string::npos) << symbols;
  // The framework's and the media library's own classes may appear: their
  // definitions are those of the host libraries.
  for (const char* internal : {"VideoIntroOutroFilter", "ns_video_", "ns_pixel_kernels", "anonymous namespace"}) {
    EXPECT_EQ(symbols.find(internal), std::string::npos) << internal << " is exported:\n" << symbols;
  }
}

}  // namespace
}  // namespace introoutro_test
