#include "introoutro/splice_job.h"

#include "introoutro/contact_sheet.h"
#include "introoutro/host_stages.h"
#include "introoutro/input_checks.h"
#include "introoutro/join_tap.h"
#include "introoutro/media_inputs.h"
#include "introoutro/media_module.h"
#include "introoutro/plugin_loader.h"
#include "introoutro/png_writer.h"
#include "introoutro/progress.h"
#include "io/frame_clock.h"
#include "io/output_kind.h"
#include "zm/ZMGraph.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>

namespace ns_introoutro {

namespace {

constexpr std::chrono::milliseconds poll_interval(100);
constexpr role role_order[] = {role::intro, role::main, role::outro};

std::string fourcc_text(uint32_t code) {
  return {static_cast<char>(code >> 24), static_cast<char>(code >> 16 & 0xFF), static_cast<char>(code >> 8 & 0xFF),
          static_cast<char>(code & 0xFF)};
}

const input_info& main_info(const std::vector<job_input>& inputs) {
  return std::find_if(inputs.begin(), inputs.end(), [](const job_input& i) { return i.info.role == role::main; })->info;
}

// Warnings are for the user whatever -q says: each is about the result.
void warn(const std::vector<std::string>& warnings) {
  for (const std::string& w : warnings) std::fprintf(stderr, "introoutro: warning: %s\n", w.c_str());
}

void write_preview(const std::string& path, const join_tap& tap, const ns_y4m::stream_header& format) {
  const ns_y4m::frame_clock clock(format.rate);
  std::vector<sheet_tile> tiles;
  for (const join_tap::join_frame& j : tap.frames()) {
    const uint32_t n = j.frame->getSequence();
    std::string when;
    if (clock.timecode_mode() != ulbase::timecode::mode_none) {
      when = clock.timecode_of(n).to_string();
    } else {
      char seconds[32];
      std::snprintf(seconds, sizeof seconds, "%.3f S", clock.time_of(n));
      when = seconds;
    }
    std::string caption = "#";
    caption.append(std::to_string(n)).append("  ").append(when);
    tiles.push_back({j.title, caption, j.frame->getData()});
  }
  if (tiles.empty()) throw std::runtime_error(path + ": no preview: the output has no frames");
  write_png(path, render_contact_sheet(tiles, format));
}

// The job's sound, from the media module, or none without loading it when nothing
// could have sound to write: Y4M inputs carry none, and a Y4M output without
// --audio-out writes none.
std::unique_ptr<job_sound> sound_to_write(const std::vector<job_input>& inputs, const job_settings& settings,
                                          ns_y4m::ratio video_rate) {
  if (!settings.audio.enabled) return nullptr;
  const bool media_input =
      std::any_of(inputs.begin(), inputs.end(), [](const job_input& i) { return !i.sound_from.empty(); });
  if (!media_input && settings.audio.wav_output.empty() && ns_media::writes_y4m(settings.output)) return nullptr;
  return media_module().make_sound(inputs, settings, video_rate);
}

}  // namespace

void run_splice(const std::vector<job_input>& inputs, const job_settings& settings) {
  std::vector<input_info> infos;
  for (const job_input& i : inputs) infos.push_back(i.info);
  check_inputs(infos);
  warn(check_clips_against_main(infos));
  const input_info& main = main_info(inputs);
  const std::optional<frame_total> expected = expected_output(infos);

  plugin_loader plugin(settings.plugin);
  join_tap tap;
  {
    const std::unique_ptr<job_sound> sound = sound_to_write(inputs, settings, main.header.rate);
    job_sound* const wav = sound && sound->sees_pictures() ? sound.get() : nullptr;
    ns_y4m::output_sink::frame_tap see;
    if (!settings.preview.empty() || wav) {
      see = [&tap, wav, preview = !settings.preview.empty()](const KX::RPtr<KX::ZM::RFrame>& f) {
        if (preview) tap.see(f);
        if (wav) wav->see(*f);
      };
    }
    const KX::RPtr<ns_y4m::output_sink> sink = make_output_sink(settings.output, main.header, settings.encoder, see);
    const std::string output_name = sink->name();
    if (sound) sound->attach(*sink);

    KX::RPtr<KX::ZM::RComponentConfiguration> filter_config(new KX::ZM::RComponentConfiguration);
    const std::string format = fourcc_text(ns_y4m::picture_fourcc(main.header.sampling));
    filter_config->set("system_informat", format);
    filter_config->set("system_outformat", format);

    KX::ZM::ZMGraph graph(settings.queue_frames);
    std::vector<std::string> filter_inputs;
    for (const role r : role_order) {
      for (const job_input& i : inputs) {
        if (i.info.role == r) filter_inputs.push_back(add_input_stages(graph, i, main.header, settings.fit));
      }
    }
    graph.addComponent("filter", plugin.create_filter(), filter_inputs, {"out"}, filter_config);
    graph.addComponent("output", sink, {"out"}, {});
    add_matte_output(graph, settings.matte, "out", inputs, main.header, settings.fit);

    progress_reporter progress(stderr, ::isatty(STDERR_FILENO) == 1, settings.quiet);
    const auto started = std::chrono::steady_clock::now();
    const auto elapsed = [started] {
      return std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    };
    try {
      graph.start();
      while (!graph.waitFor(poll_interval)) {
        const uint64_t written = sink->frames_written();
        progress.update(written, expected, elapsed());
        if (settings.interrupts != nullptr && settings.interrupts->requested(written)) graph.cancel("interrupted");
      }
      graph.wait();
    } catch (...) {
      progress.abandon();
      // Whatever failed once a signal came (a pipe its sender closed on the same
      // Ctrl-C, the cancelled graph) is that signal's doing.
      if (settings.interrupts != nullptr && settings.interrupts->signal() != 0) {
        throw interrupted(settings.interrupts->signal(), sink->frames_written());
      }
      throw;
    }
    const uint64_t put = graph.getQueue("out")->getTotalNodes();
    if (sink->frames_written() != put) {
      throw std::runtime_error(output_name + ": " + std::to_string(sink->frames_written()) + " of " +
                               std::to_string(put) + " frames were written");
    }

    if (sound) sound->finish(sink->frames_written());

    job_summary summary;
    for (const role r : role_order) {
      if (const KX::RPtr<KX::ZM::RQueue> q = graph.getQueue(role_name(r))) summary.frames_in.emplace_back(r, q->getTotalNodes());
    }
    warn(check_frames_read(infos, summary.frames_in));
    summary.frames_out = sink->frames_written();
    summary.output = main.header;
    summary.output_name = output_name;
    summary.output_bytes = sink->bytes_written();
    summary.elapsed_seconds = elapsed();
    if (!settings.preview.empty()) write_preview(settings.preview, tap, main.header);
    progress.finish(summary_line(summary));
  }
}

}  // namespace ns_introoutro
