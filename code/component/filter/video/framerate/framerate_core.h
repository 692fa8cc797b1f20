#pragma once
// The converter's sample-independent part: configuration state, the queues, output
// stamping and the methods that never look inside a picture (time grid, decimation,
// 25 -> 24). framerate_impl<T> adds the methods that build pictures.

#include <cstdint>
#include <deque>
#include <memory>

#include "filter/video/framerate/framerate_filter.h"
#include "filter/video/framerate/framerate_record.h"
#include "filter/video/framerate/output_queue.h"
#include "filter/video/framerate/picture_layout.h"
#include "filter/video/framerate/rate_plan.h"

namespace ns_video_framerate {

class framerate_core : public framerate_filter {
public:
  ~framerate_core() override;
  framerate_frame* pop_frame() override;
  uint64_t rejected_frames() const override { return rejected_; }

protected:
  framerate_core();
  framerate_core(const framerate_core&) = delete;
  framerate_core& operator=(const framerate_core&) = delete;

  // Applies a plan to the state; the caller picks the method from plan.method.
  void adopt(const rate_plan& plan);

  // Queues f (or marks the end for null) when it is a usable record; false when the
  // record was refused and the method must not run.
  bool accept(framerate_frame* f);
  void finish_step() { ++push_count_; }

  // A new output record holding a copy of src's picture, stamped as the next output.
  framerate_frame* stamp_output(const framerate_frame& src);
  // The same stamp around src.size bytes the caller fills with a picture built from
  // src (the part of a longer record beyond the picture is copied from src).
  framerate_frame* stamp_rebuilt(const framerate_frame& src);
  // The same stamp around a `bytes`-sized picture buffer the caller fills; the time
  // code is the running one, which always advances (woven and mixed pictures).
  framerate_frame* stamp_built(const framerate_frame& src, uint32_t bytes);
  ulbase::timecode seed_timecode(const framerate_frame& first, ulbase::timecode::mode_type mode,
                                 uint32_t step) const;
  static void release(framerate_frame* f) { release_record(f); }
  // Queues `count` stamps of `picture` as the next outputs, as `count` stamp_output
  // calls would, leaving the copies to be made as they are popped.
  void emit_repeats(const std::shared_ptr<const framerate_frame>& picture, uint64_t count);
  // Stamps f itself as the next output, picture untouched: a picture's last
  // appearance leaves in the record it came in, so only repeats and built pictures
  // cost a copy.
  framerate_frame* restamp(framerate_frame* f);
  // Drops the newest output f and gives its number back, so sequences and play times
  // show no gap. Its time code stays spent: the codes keep counting decisions.
  void withdraw(framerate_frame* f);

  framerate_frame* take_front();
  void emit(framerate_frame* f) { out_queue_.push(f); }
  // Emits the front picture as the next output and returns it.
  framerate_frame* emit_front() {
    framerate_frame* f = restamp(take_front());
    emit(f);
    return f;
  }
  // Both cadence methods that seed on their first step: time code and clock.
  void seed_cadence(ulbase::timecode::mode_type mode);

  void run_time_grid();
  void run_decimation();
  void run_pal_to_film();

  framerate_params params_{};
  picture_layout layout_{};
  bool configured_ = false;
  std::deque<framerate_frame*> in_queue_;
  output_queue out_queue_;
  std::shared_ptr<const framerate_frame> held_frame_;
  double frame_period_ = 0.0;
  double output_rate_ = 0.0;
  uint32_t src_base_ = 0, dst_base_ = 0;
  uint32_t dst_step_ = 0;
  bool src_ntsc_ = false, dst_ntsc_ = false;
  uint64_t decimation_ = 0;
  bool at_end_ = false;
  uint32_t push_count_ = 0;
  uint32_t out_count_ = 0;
  double first_time_ = 0.0;
  ulbase::timecode running_timecode_{ulbase::timecode::mode_none};
  ulbase::timecode::mode_type timecode_mode_ = ulbase::timecode::mode_none;
  double next_time_ = 0.0;
  uint32_t telecine_count_ = 0;
  uint64_t rejected_ = 0;

private:
  framerate_frame* new_record(const framerate_frame& src, uint32_t bytes);
  void stamp_times(framerate_frame* f);
  void stamp_source_timecode(framerate_frame* f, const framerate_frame& src);
  // Generated time codes step on with every output.
  bool timecode_steps() const;
};

}  // namespace ns_video_framerate
