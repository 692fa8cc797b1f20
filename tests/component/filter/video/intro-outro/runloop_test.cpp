// How the filter's thread body ends its output, and what the module exports.

#include "end_calls.h"
#include "filter_rig.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace introoutro_test {
namespace {

const config_keys kKeys{{"system_informat", "IYUV"}, {"system_outformat", "IYUV"}};

filter_rig filled_rig() {
  const RPtr<const KX::ZM::RDescription> d = video(4, 2, 25.0);
  filter_rig rig({"intro", "main", "outro"}, {d, d, d});
  for (uint8_t i = 0; i < 6; ++i) rig.put(i % 3, tagged_frame(i, i * 0.04, 0.04));
  rig.end_inputs();
  return rig;
}

TEST(IntroOutroRunloop, EndsItsOutputExactlyOnceAndTheBaseToleratesTheSecondEnd) {
  filter_rig rig = filled_rig();
  ASSERT_EQ(rig.configure(kKeys), 0);
  const uint32_t before = end_calls(rig.output());
  EXPECT_EQ(rig.component().runloop(nullptr), 0);
  EXPECT_EQ(end_calls(rig.output()), before + 1);
  EXPECT_TRUE(rig.output().eoq());
  EXPECT_EQ(rig.drain_output().size(), 6u) << "every frame went out before the end";

  // The host's thread body ends every output again after runloop returns 0.
  filter_rig hosted = filled_rig();
  ASSERT_EQ(hosted.configure(kKeys), 0);
  EXPECT_EQ(hosted.component().threadrunloop(nullptr), 0);
  EXPECT_FALSE(hosted.component().getError().has_value());
  EXPECT_TRUE(hosted.output().eoq());
  EXPECT_EQ(hosted.drain_output().size(), 6u);
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
