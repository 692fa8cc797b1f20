#pragma once
// One piece's sound in the output format, by pull: what the splicer joins.

#include <cstddef>
#include <cstdint>
#include <string>

namespace ns_audio {

class audio_source {
public:
  virtual ~audio_source() = default;

  // Up to `max_frames` sample frames (max_frames * channels interleaved floats) into
  // `out`; fewer only at the end, 0 once there are no more. Throws audio_error; a
  // failure after some samples returns those first and throws at the next call.
  virtual size_t read(float* out, size_t max_frames) = 0;
  // Where the first sample plays relative to the piece's first picture, in output
  // samples: above 0 the sound starts later (silence first), below 0 earlier (those
  // samples are dropped).
  virtual int64_t lead() const = 0;
  // What to call the sound in messages: "show.mov: audio stream #1".
  virtual const std::string& name() const = 0;
};

}  // namespace ns_audio
