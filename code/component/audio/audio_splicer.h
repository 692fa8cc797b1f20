#pragma once
// Joins the sound of the pieces (intro, main, outro; some absent) in step with the
// pictures, driven by the video sink as it writes frames. Each piece's sound is cut or
// padded with silence to end exactly at the sample where its last picture ends
// (sample_at_frame of the cumulative frame count), so sound and pictures stay in step
// at every join. A piece without sound is silence as long as its pictures; a piece's
// lead (its sound starting after or before its first picture) is kept. Optional
// linear fades at the joins. Everything runs on the caller's thread, decoding included.
//
// A sink calls, per written picture, picture(from_main) and then pull() as far as it
// wants the sound to go (ready() tells how far it can), and at the end of the video
// finish(frames) and pull() until done().

#include "audio/audio_format.h"
#include "audio/audio_source.h"
#include "audio/join_clock.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace ns_audio {

enum class piece_role { intro, main, outro };

struct piece {
  piece_role role;
  std::unique_ptr<audio_source> sound;  // null: the piece is silent
};

struct splice_options {
  // Each join fades the end of the piece before it out and the start of the piece
  // after it in, each this long; 0: a straight cut.
  uint32_t join_fade_ms = 0;
  // A piece whose sound fails to decode goes on as silence (reported once through
  // `warn`) instead of failing the job.
  bool ignore_errors = false;
  std::function<void(const std::string&)> warn;
};

class audio_splicer {
public:
  // `pieces` in output order: at most one intro, exactly one main, at most one outro,
  // each piece's sound already in `format`. Throws std::invalid_argument otherwise.
  audio_splicer(const audio_format& format, frame_rate video_rate, std::vector<piece> pieces,
                splice_options options = {});
  ~audio_splicer();

  // One written picture, in output order: whether it is from the main source.
  // Pictures before the first main one are the intro's, after the last main one the
  // outro's; a change ends the piece before it. Throws std::logic_error for a main
  // picture after the outro's, and for an intro or outro picture the splice has no
  // piece for.
  void picture(bool from_main);
  // Direct form of the same signal: the current piece's pictures end after `frames`
  // output pictures in all (at least as many as told so far).
  void end_piece(uint64_t frames);
  // The video ended after `frames` pictures in all: every piece not yet ended ends there.
  void finish(uint64_t frames);

  // The sample every sample before which is final now: the end of the ended pieces,
  // and within the current one up to its pictures so far less the fade to come.
  uint64_t ready() const;
  // Writes interleaved samples from position() up to min(until, ready()), at most
  // `capacity` sample frames, into `out`; returns how many. Throws audio_error when a
  // piece's sound fails (unless ignore_errors).
  size_t pull(uint64_t until, float* out, size_t capacity);
  // Sample frames pulled so far.
  uint64_t position() const { return pos; }
  // finish() was called and every sample was pulled.
  bool done() const;
  // Pictures told so far (by picture(), end_piece() or finish()).
  uint64_t frames() const { return video_frames; }

private:
  struct open_piece;

  // Produces samples [pos, pos + n) of the current piece, n within it.
  void render(float* out, size_t n);
  void read_sound(open_piece& p, float* out, size_t n);

  const audio_format format;
  const frame_rate rate;
  const splice_options options;
  const uint64_t fade;  // samples
  std::vector<std::unique_ptr<open_piece>> pieces;
  size_t main_index = 0;
  size_t ended = 0;    // pieces whose end is known
  size_t current = 0;  // the piece `pos` is in
  uint64_t video_frames = 0;
  uint64_t pos = 0;
  bool main_seen = false;
  bool finished = false;
};

}  // namespace ns_audio
