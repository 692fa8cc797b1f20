#pragma once
// VideoIntroOutroFilter: writes the intro clip, then the main source, then the outro
// clip to output 0 as one stream, clips conformed to the main source's frame rate and
// picture size, every frame renumbered and re-timed from one count and one clock.
//
// Threading: configure runs on the host's thread before the component's thread
// starts; runloop, process and flush run only on the component's thread. No locks:
// the only waiting is inside the queues' nextFrame and put.

#include "base/CTimeStamp.h"
#include "base/RPtr.h"
#include "zm/ZMComponent.h"

#include <cstdint>
#include <vector>

namespace ns_video_framerate {
class framerate_filter;
}
namespace ns_video_resize {
class kx_resize;
}

namespace ns_video_introoutro {

using video_descriptions = std::vector<KX::RPtr<const KX::ZM::RVideoDescription>>;

class VideoIntroOutroFilter : public KX::ZM::RFilter {
public:
  VideoIntroOutroFilter() = default;
  // Releases the converters, then the resizers, then conv_buffer; also after a
  // failed configure.
  ~VideoIntroOutroFilter() override;
  VideoIntroOutroFilter(const VideoIntroOutroFilter&) = delete;
  VideoIntroOutroFilter& operator=(const VideoIntroOutroFilter&) = delete;

  // The frame-pushing form stays the base's, which throws: frames are pulled.
  using KX::ZM::ZMMultipleQueueComponent::process;
  // One routing step: serves the first open source of intro, main, outro. True when
  // it wrote a frame.
  bool process() override;
  void flush() override;
  // Steps while any open source has frames, then flush() and end() on output 0.
  int runloop(ulbase::object_refcount* argument) override;
  // Formats, queue roles, output description, clip preparation. 0 ready; -1 when a
  // clip's frame-rate converter cannot be made or refuses the clip; configuration
  // errors are thrown.
  int configure(const KX::ZM::RComponentConfiguration& config) override;

private:
  // Makes the clip's resizer and converter where its size or rate differs from the
  // main source's. False when the converter cannot be made or refuses the clip.
  bool configure_xtro_queue(int32_t& index, ns_video_framerate::framerate_filter*& rate,
                            ns_video_resize::kx_resize*& resize, const video_descriptions& descriptions);
  // One clip step: reads one frame and writes what it becomes (none, one or several).
  bool process_xtro_queue(int32_t& index, ns_video_framerate::framerate_filter* rate,
                          ns_video_resize::kx_resize* resize);
  bool process_main_queue();
  // The frame's picture scaled to the main source's size, through conv_buffer.
  void resize_picture(KX::ZM::RFrame& frame, ns_video_resize::kx_resize& resize);

  // Every input's video description, in input order; throws naming a queue without one.
  video_descriptions input_descriptions() const;
  bool has_frames_to_read(int32_t index) const;
  // The clock starts at the play time of the first frame read from any source.
  void start_clock(const KX::ZM::RFrame& frame);
  // The output stamp (sequence, play and decode time), then the frame goes out.
  void put_stamped(KX::RPtr<KX::ZM::RFrame> frame);

  uint32_t next_sequence = 0;
  int32_t main_index = -1;  // -1: absent or finished, like the two below
  int32_t intro_index = -1;
  int32_t outro_index = -1;
  KX::CTimeStamp next_time;
  ns_video_framerate::framerate_filter* intro_rate = nullptr;
  ns_video_framerate::framerate_filter* outro_rate = nullptr;
  ns_video_resize::kx_resize* intro_resize = nullptr;
  ns_video_resize::kx_resize* outro_resize = nullptr;
  uint8_t* conv_buffer = nullptr;  // both resizers write here; the intro ends before the outro starts
  uint32_t in_fourcc = 0;
  uint32_t out_fourcc = 0;
  bool time_started = false;
  uint32_t intro_width = 0;
  uint32_t intro_height = 0;
  uint32_t outro_width = 0;
  uint32_t outro_height = 0;
  uint32_t main_width = 0;
  uint32_t main_height = 0;
};

}  // namespace ns_video_introoutro
