#pragma once
// The sound of a media file: its first audio stream decoded with libavcodec and
// resampled and remixed with libswresample to one output format, a frame at a time
// (memory does not grow with the file). Errors are audio_error naming the file and
// the stream: not a media file, a codec that cannot be decoded (named), a layout that
// cannot be conformed, a decode failure (with its time in the stream).

#include "audio/audio_format.h"
#include "audio/audio_source.h"

#include <memory>
#include <optional>
#include <string>

namespace ns_audio {

// The rate and layout of the first audio stream of `path`, to choose the output
// format from; nullopt when the file has no audio stream.
std::optional<audio_format> probe_audio(const std::string& path);

// The sound of `path` conformed to `format`, its lead taken from the container's
// start times of its first audio and first video streams; nullptr when the file has
// no audio stream (the piece is silent).
std::unique_ptr<audio_source> open_audio(const std::string& path, const audio_format& format);

}  // namespace ns_audio
