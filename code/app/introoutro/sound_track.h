#pragma once
// The sound of a splice job, beside the pictures: each input's first audio stream
// conformed to the output format (the main source's, or 48 kHz stereo when only a
// clip has sound) and joined in step with the pictures the sink writes, into a media
// output's sound stream or a WAV file beside a Y4M output.
//
// A sink's thread drives it: picture() after every written picture (main or not,
// by its source tag), finish() at the end of the video. The sound is decoded, joined
// and written on a thread of its own, so that it does not hold up the pictures; a
// failure there is raised by the next picture() or by finish().

#include "audio/audio_splicer.h"
#include "audio/wav_writer.h"
#include "io/media_sink.h"
#include "introoutro/options.h"
#include "introoutro/splice_job.h"

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace ns_introoutro {

using message_sink = std::function<void(const std::string&)>;

// Where each piece's sound comes from, and the format they are joined in.
struct sound_plan {
  struct source {
    role r;
    std::string path;  // "": the piece is silent
  };
  std::vector<source> pieces;  // in output order
  std::optional<ns_audio::audio_format> format;  // none: no input has sound
};

// The plan for `inputs`. An input read from standard input is silent (it cannot be
// opened a second time for its sound), said through `note`. A file whose sound
// cannot be read throws ns_audio::audio_error naming it, unless audio.ignore_errors
// (then it is said through `warn`, once, and the piece is silent).
sound_plan plan_sound(const std::vector<job_input>& inputs, const audio_options& audio, const message_sink& note,
                      const message_sink& warn);

class sound_track {
public:
  using writer = std::function<void(const float* samples, size_t frames)>;

  // Opens every input's sound in `format`; `write` takes the joined samples, on the
  // track's own thread.
  sound_track(const sound_plan& plan, const ns_audio::audio_format& format, ns_y4m::ratio video_rate,
              const audio_options& audio, const message_sink& warn, writer write);
  // Stops the thread, without writing the rest, unless finish() was called.
  ~sound_track();

  void picture(bool from_main);
  // The video ended after `frames` pictures: returns once the rest is written.
  void finish(uint64_t frames);

private:
  void run();
  void pass_on();
  void raise_failure();

  ns_audio::audio_splicer splicer;  // the thread's alone once it runs
  writer write;
  std::vector<float> chunk;

  std::mutex lock;
  std::condition_variable wake;
  std::vector<bool> told;         // pictures not yet taken by the thread
  std::optional<uint64_t> end;    // the video's frame count, once it ended
  bool stop = false;
  std::exception_ptr failure;
  std::thread worker;  // last: starts once everything above is ready
};

// The sound as a media output's second stream, encoded as `encoder` says
// (--acodec, --abitrate), driven by the sink. Before the graph starts.
void add_sound_stream(ns_media::media_sink& sink, const sound_plan& plan,
                      const ns_audio::audio_format& format, ns_y4m::ratio video_rate, const audio_options& audio,
                      const encoder_options& encoder, const message_sink& warn);

// The sound beside a Y4M output as a 24-bit WAV file: see() every written picture,
// finish() after the video's end.
class sound_file {
public:
  sound_file(const std::string& path, const sound_plan& plan, const ns_audio::audio_format& format,
             ns_y4m::ratio video_rate, const audio_options& audio, const message_sink& warn);
  void see(const KX::ZM::RFrame& frame);
  void finish(uint64_t frames);

private:
  ns_audio::wav_writer wav;
  sound_track track;
};

}  // namespace ns_introoutro
