#pragma once
// What ffprobe, an independent reader, sees in a video file.

#include <cstdio>
#include <cstdlib>
#include <string>

namespace introoutro_test {

inline bool have_ffprobe() { return std::system("command -v ffprobe >/dev/null 2>&1") == 0; }

// "width,height,rate,frames" of the first video stream, counting the frames by
// decoding them; empty when ffprobe gives nothing.
inline std::string ffprobe_stream(const std::string& path) {
  std::FILE* probe = popen(("ffprobe -v error -count_frames -select_streams v:0 -show_entries "
                            "stream=width,height,r_frame_rate,nb_read_frames -of csv=p=0 '" + path + "'").c_str(), "r");
  if (!probe) return {};
  char line[128] = "";
  const bool got = std::fgets(line, sizeof line, probe) != nullptr;
  pclose(probe);
  return got ? line : "";
}

}  // namespace introoutro_test
