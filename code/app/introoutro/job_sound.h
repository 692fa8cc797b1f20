#pragma once
// Inside the media module: the job's sound (sound_track.h) behind the job_sound
// interface the host drives.

#include "introoutro/media_module.h"

namespace ns_introoutro {

std::unique_ptr<job_sound> make_job_sound(const std::vector<job_input>& inputs, const job_settings& settings,
                                          ns_y4m::ratio video_rate);

}  // namespace ns_introoutro
