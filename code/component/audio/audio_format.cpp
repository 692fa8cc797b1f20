#include "audio/audio_format.h"

#include <algorithm>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace ns_audio {

std::string describe(const audio_format& f) {
  AVChannelLayout layout{};
  char name[128] = "?";
  if (av_channel_layout_from_mask(&layout, f.channel_mask) == 0) {
    av_channel_layout_describe(&layout, name, sizeof name);
    av_channel_layout_uninit(&layout);
  }
  return std::to_string(f.sample_rate) + " Hz " + name;
}

audio_format default_format() { return {48000, AV_CH_LAYOUT_STEREO}; }

std::optional<audio_format> choose_output_format(const std::optional<audio_format>& main,
                                                 std::span<const std::optional<audio_format>> clips) {
  if (main) return main;
  if (std::any_of(clips.begin(), clips.end(), [](const auto& c) { return c.has_value(); })) return default_format();
  return std::nullopt;
}

}  // namespace ns_audio
