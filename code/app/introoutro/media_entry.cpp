// The media module's one exported function.

#include "introoutro/job_sound.h"
#include "introoutro/media_opening.h"

extern "C" {
#include <libavutil/log.h>
}

extern "C" __attribute__((visibility("default"))) const ns_introoutro::media_functions* introoutro_media_functions() {
  // Our messages name the file, the stream and the frame; FFmpeg's own chatter
  // would only repeat them less clearly.
  av_log_set_level(AV_LOG_FATAL);
  static const ns_introoutro::media_functions table{ns_introoutro::open_media_inputs, ns_introoutro::make_media_sink,
                                                    ns_introoutro::make_job_sound};
  return &table;
}
