#pragma once
// The part of the host that needs FFmpeg (media inputs, media outputs, sound) lives
// in a module of its own, loaded on first use, so that a Y4M-only job never maps
// FFmpeg's libraries. The module exports one C function that returns the table below;
// both sides are built together, so C++ types cross the boundary as they are.

#include "introoutro/media_inputs.h"
#include "introoutro/splice_job.h"

#include <memory>
#include <vector>

namespace ns_introoutro {

inline constexpr const char* media_module_file_name = "introoutro_media.so";
inline constexpr const char* media_module_entry = "introoutro_media_functions";

// The sound a job writes: into a media output's stream or a WAV file beside a Y4M one.
class job_sound {
public:
  virtual ~job_sound() = default;
  // True when every written picture must be shown to see().
  virtual bool sees_pictures() const = 0;
  virtual void see(const KX::ZM::RFrame& frame) = 0;
  // Before the graph starts: the sound stream of a media output.
  virtual void attach(ns_y4m::output_sink& sink) = 0;
  // After the video's end, with the frames written.
  virtual void finish(uint64_t frames) = 0;
};

struct media_functions {
  // As open_inputs(), for any mix of Y4M and media inputs.
  std::vector<job_input> (*open_inputs)(const std::vector<input_request>& requests, bool quiet);
  // The sink of a media container output.
  KX::RPtr<ns_y4m::output_sink> (*make_media_sink)(const std::string& path, const ns_y4m::stream_header& header,
                                                   const encoder_options& encoder, ns_y4m::output_sink::frame_tap tap);
  // Null when the job writes no sound. Its messages go to standard error.
  std::unique_ptr<job_sound> (*make_sound)(const std::vector<job_input>& inputs, const job_settings& settings,
                                           ns_y4m::ratio video_rate);
};

// <directory of this program>/../lib/introoutro_media.so, beside the plug-in.
std::string default_media_module_path();

// The module's table, loaded at the first call and kept for the life of the process
// (its objects may outlive any scope). Throws std::runtime_error naming the path and
// dlerror() when it cannot be loaded.
const media_functions& media_module();

}  // namespace ns_introoutro
