// The sound of a three-piece splice, alone, as bench/audio_vs_ffmpeg.sh times it
// beside ffmpeg: each file's first audio stream decoded and conformed to the main's
// rate and layout, joined in step with N pictures per piece at 30000/1001 as a video
// sink would drive it, and written as 24-bit WAV.
// Usage: audio_splice_bench INTRO MAIN OUTRO PICTURES_PER_PIECE OUT.wav

#include "audio/audio_decoder.h"
#include "audio/audio_splicer.h"
#include "audio/wav_writer.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

int main(int argc, char** argv) {
  using namespace ns_audio;
  if (argc != 6) {
    std::fprintf(stderr, "usage: %s INTRO MAIN OUTRO PICTURES_PER_PIECE OUT.wav\n", argv[0]);
    return 2;
  }
  try {
    const std::string files[] = {argv[1], argv[2], argv[3]};
    const uint64_t pictures = std::strtoull(argv[4], nullptr, 10);
    const std::optional<audio_format> clips[] = {probe_audio(files[0]), probe_audio(files[2])};
    const std::optional<audio_format> format = choose_output_format(probe_audio(files[1]), clips);
    if (!format) throw std::runtime_error("no input has sound");
    std::vector<piece> pieces;
    const piece_role roles[] = {piece_role::intro, piece_role::main, piece_role::outro};
    for (int i = 0; i < 3; ++i) pieces.push_back({roles[i], open_audio(files[i], *format)});
    audio_splicer splicer(*format, {30000, 1001}, std::move(pieces));
    wav_writer out(argv[5], *format, wav_sample::pcm24);
    std::vector<float> part(4096 * format->channels());
    const auto drain = [&] {
      while (const size_t n = splicer.pull(UINT64_MAX, part.data(), 4096)) out.write(part.data(), n);
    };
    for (int i = 0; i < 3; ++i) {
      for (uint64_t p = 0; p < pictures; ++p) {
        splicer.picture(i == 1);
        drain();
      }
    }
    splicer.finish(splicer.frames());
    drain();
    out.close();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
    return 1;
  }
  return 0;
}
