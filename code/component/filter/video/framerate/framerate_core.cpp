#include "filter/video/framerate/framerate_core.h"

#include <cstring>

#include "filter/video/framerate/cadence.h"
#include "filter/video/framerate/time_grid.h"

namespace ns_video_framerate {

framerate_core::framerate_core() = default;

framerate_core::~framerate_core() {
  for (framerate_frame* f : in_queue_) release(f);
}

framerate_frame* framerate_core::pop_frame() { return out_queue_.pop(); }

void framerate_core::adopt(const rate_plan& plan) {
  params_ = plan.params;
  layout_ = layout_of(params_.format, params_.width, params_.height);
  frame_period_ = plan.frame_period;
  output_rate_ = plan.output_rate;
  src_base_ = plan.src_base;
  dst_base_ = plan.dst_base;
  src_ntsc_ = plan.src_ntsc;
  dst_ntsc_ = plan.dst_ntsc;
  dst_step_ = plan.dst_step;
  timecode_mode_ = plan.timecode_mode;
  decimation_ = plan.decimation;
  configured_ = true;
}

bool framerate_core::accept(framerate_frame* f) {
  at_end_ = f == nullptr;
  if (!f) return configured_;
  if (!configured_ || f->size < layout_.bytes()) {
    release(f);
    ++rejected_;
    return false;
  }
  in_queue_.push_back(f);
  return true;
}

framerate_frame* framerate_core::new_record(const framerate_frame& src, uint32_t bytes) {
  framerate_frame* f = allocate_record(bytes, src.alpha, layout_.luma_samples());
  stamp_times(f);
  return f;
}

void framerate_core::stamp_times(framerate_frame* f) { stamp_clock(*f, out_count_++, frame_period_, first_time_); }

bool framerate_core::timecode_steps() const {
  return !params_.keep_timecode && timecode_mode_ != ulbase::timecode::mode_none;
}

void framerate_core::stamp_source_timecode(framerate_frame* f, const framerate_frame& src) {
  if (params_.keep_timecode) {
    running_timecode_ = src.timecode;
  }
  f->timecode = running_timecode_;
  if (timecode_steps()) running_timecode_.increment();
}

void framerate_core::emit_repeats(const std::shared_ptr<const framerate_frame>& picture, uint64_t count) {
  if (count == 0) return;
  if (params_.keep_timecode) running_timecode_ = picture->timecode;
  const repeat_stamp first{out_count_, frame_period_, first_time_, running_timecode_, timecode_steps()};
  out_queue_.push_repeats(picture, layout_.luma_samples(), first, count);
  // The numbers and codes of every queued repeat are spent now, as their stamps
  // would have been.
  out_count_ += static_cast<uint32_t>(count);
  for (uint64_t i = 0; first.timecode_steps && i < count; ++i) running_timecode_.increment();
}

framerate_frame* framerate_core::stamp_output(const framerate_frame& src) {
  framerate_frame* f = new_record(src, src.size);
  std::memcpy(f->data, src.data, src.size);
  stamp_source_timecode(f, src);
  return f;
}

framerate_frame* framerate_core::restamp(framerate_frame* f) {
  stamp_times(f);
  stamp_source_timecode(f, *f);
  return f;
}

framerate_frame* framerate_core::stamp_rebuilt(const framerate_frame& src) {
  framerate_frame* f = new_record(src, src.size);
  const size_t picture = layout_.bytes();
  std::memcpy(f->data + picture, src.data + picture, src.size - picture);
  stamp_source_timecode(f, src);
  return f;
}

framerate_frame* framerate_core::stamp_built(const framerate_frame& src, uint32_t bytes) {
  framerate_frame* f = new_record(src, bytes);
  f->timecode = running_timecode_;
  running_timecode_.increment();
  return f;
}

ulbase::timecode framerate_core::seed_timecode(const framerate_frame& first, ulbase::timecode::mode_type mode,
                                               uint32_t step) const {
  return ulbase::timecode_with_timestamp(mode, first.timecode.stream_time(), step);
}

void framerate_core::withdraw(framerate_frame* f) {
  --out_count_;
  release(f);
}

framerate_frame* framerate_core::take_front() {
  framerate_frame* f = in_queue_.front();
  in_queue_.pop_front();
  return f;
}

void framerate_core::seed_cadence(ulbase::timecode::mode_type mode) {
  if (push_count_ != 0 || in_queue_.empty()) return;
  running_timecode_ = seed_timecode(*in_queue_.front(), mode, 1);
  first_time_ = in_queue_.front()->play_time;
}

void framerate_core::run_time_grid() {
  const uint32_t mode = params_.time_mode;
  // Emits `f` for every grid instant before `limit`. A grid so far out that adding a
  // period no longer moves it ends the run instead of spinning.
  auto fill_until = [&](const std::shared_ptr<const framerate_frame>& f, int64_t limit) {
    uint64_t instants = 0;
    while (grid_before(grid_ms(next_time_), limit, mode)) {
      ++instants;
      const double next = next_time_ + frame_period_;
      if (next == next_time_) break;
      next_time_ = next;
    }
    emit_repeats(f, instants);
  };

  if (at_end_) {
    if (!held_frame_) return;
    fill_until(held_frame_, grid_ms(held_frame_->play_time + held_frame_->duration));
    held_frame_.reset();
    return;
  }
  if (push_count_ == 0) {
    const framerate_frame& first = *in_queue_.front();
    if (params_.keep_timecode) {
      running_timecode_ = first.timecode;
    } else if (timecode_mode_ != ulbase::timecode::mode_none) {
      running_timecode_ = seed_timecode(first, timecode_mode_, dst_step_);
    } else {
      running_timecode_ = ulbase::timecode(ulbase::timecode::mode_none);
    }
    first_time_ = grid_first_time(output_rate_, first.play_time, params_.src_rate);
    next_time_ = grid_start(first_time_, frame_period_, mode, next_time_);
  }
  // Shared with the repeats queued from it, which may outlive its turn as the held
  // picture.
  const std::shared_ptr<const framerate_frame> f(take_front(), record_deleter());
  fill_until(f, grid_ms(f->play_time + f->duration * 0.5));
  held_frame_ = f;
}

void framerate_core::run_decimation() {
  if (in_queue_.empty()) return;
  framerate_frame* f = take_front();
  if (!decimation_keeps(f->sequence, decimation_)) {
    release(f);
    return;
  }
  // Kept pictures travel on as they are: only their numbering and span change.
  f->sequence = out_count_++;
  f->duration *= static_cast<double>(decimation_);
  f->timecode.words[3] *= static_cast<uint32_t>(decimation_);
  emit(f);
}

void framerate_core::run_pal_to_film() {
  seed_cadence(ulbase::timecode::mode_24);
  if (at_end_ || in_queue_.empty()) return;
  if (pal_to_film_drops(in_queue_.front()->sequence)) {
    release(take_front());
    return;
  }
  emit_front();
}

}  // namespace ns_video_framerate
