#include "introoutro/job_sound.h"

#include "introoutro/sound_track.h"

#include <cstdio>

namespace ns_introoutro {

namespace {

void print_note(const std::string& text) { std::fprintf(stderr, "introoutro: %s\n", text.c_str()); }

// Warnings are for the user whatever -q says: each is about the result.
void print_warning(const std::string& text) { std::fprintf(stderr, "introoutro: warning: %s\n", text.c_str()); }

// Where the sound comes from and its format; no format when there is no sound to
// write. A Y4M output holds pictures only: its sound goes to --audio-out (silence
// when no input has any), and without that option the user is told once that it was
// not written.
sound_plan sound_to_write(const std::vector<job_input>& inputs, const job_settings& settings) {
  if (!settings.audio.enabled) return {};
  const message_sink note = settings.quiet ? message_sink([](const std::string&) {}) : message_sink(print_note);
  sound_plan plan = plan_sound(inputs, settings.audio, note, print_warning);
  if (!ns_media::writes_y4m(settings.output)) return plan;
  if (!settings.audio.wav_output.empty()) {
    plan.format = plan.format.value_or(ns_audio::default_format());
  } else if (plan.format) {
    print_warning("the sound of the inputs is not written: a YUV4MPEG2 output holds pictures only (--audio-out FILE.wav "
                  "writes it beside, --no-audio leaves it out without this warning)");
    plan.format.reset();
  }
  return plan;
}

class planned_sound : public job_sound {
public:
  planned_sound(sound_plan plan, const job_settings& settings, ns_y4m::ratio video_rate)
      : plan(std::move(plan)), settings(settings), rate(video_rate) {
    if (ns_media::writes_y4m(settings.output)) {
      wav = std::make_unique<sound_file>(settings.audio.wav_output, this->plan, *this->plan.format, rate,
                                         settings.audio, print_warning);
    }
  }
  bool sees_pictures() const override { return wav != nullptr; }
  void see(const KX::ZM::RFrame& frame) override { wav->see(frame); }
  void attach(ns_y4m::output_sink& sink) override {
    if (wav) return;
    add_sound_stream(dynamic_cast<ns_media::media_sink&>(sink), plan, *plan.format, rate, settings.audio,
                     settings.encoder, print_warning);
  }
  void finish(uint64_t frames) override {
    if (wav) wav->finish(frames);
  }

private:
  sound_plan plan;
  const job_settings& settings;
  ns_y4m::ratio rate;
  std::unique_ptr<sound_file> wav;
};

}  // namespace

std::unique_ptr<job_sound> make_job_sound(const std::vector<job_input>& inputs, const job_settings& settings,
                                          ns_y4m::ratio video_rate) {
  sound_plan plan = sound_to_write(inputs, settings);
  if (!plan.format) return nullptr;
  return std::make_unique<planned_sound>(std::move(plan), settings, video_rate);
}

}  // namespace ns_introoutro
