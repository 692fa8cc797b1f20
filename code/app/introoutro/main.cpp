// introoutro: the command-line host of the intro/outro filter plug-in.

#include "introoutro/demo_clips.h"
#include "introoutro/file_inputs.h"
#include "introoutro/help_text.h"
#include "introoutro/interrupts.h"
#include "introoutro/options.h"
#include "introoutro/output_files.h"
#include "introoutro/picture_memory.h"
#include "introoutro/plugin_loader.h"
#include "introoutro/splice_job.h"
#include "base/CException.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstdio>
#include <exception>

namespace {

using namespace ns_introoutro;

std::vector<job_input> demo_inputs() {
  std::vector<job_input> inputs;
  for (const demo_clip& clip : demo_clips()) {
    inputs.push_back({{clip.role, std::string("the demo ") + role_name(clip.role), clip.header(), clip.frames, true},
                      new demo_source(clip), ""});
  }
  return inputs;
}

// Every path the job writes, before anything is read.
void claim_outputs(const options& o, output_files& outputs) {
  outputs.add("the output", o.output);
  outputs.add("the preview", o.preview);
  outputs.add("the matte", o.matte);
  outputs.add("the sound output", o.audio.wav_output);
  outputs.claim({o.intro, o.main, o.outro, o.intro_alpha, o.outro_alpha});
}

void run(const options& o, output_files& outputs, interrupt_watch& interrupts) {
  claim_outputs(o, outputs);
  job_settings settings{o.output, o.preview, o.plugin.empty() ? default_plugin_path() : o.plugin, o.matte, o.fit,
                        o.queue_frames, o.quiet, &interrupts, o.encoder, o.audio};
  if (o.command == command::demo) {
    run_splice(demo_inputs(), settings);
    if (!o.quiet && o.output != "-") std::fprintf(stderr, "introoutro: the demo splice is in %s\n", o.output.c_str());
  } else {
    run_splice(open_file_inputs(o), settings);
  }
  outputs.keep();
  if (!o.quiet && !o.preview.empty()) std::fprintf(stderr, "introoutro: the joins are shown in %s\n", o.preview.c_str());
}

void report_interrupt(uint64_t frames) {
  std::fprintf(stderr, "introoutro: interrupted after %llu frames\n", static_cast<unsigned long long>(frames));
}

// A stopped job is ended promptly but in order; this is for one that cannot be, such
// as one still waiting to open an input.
constexpr std::chrono::milliseconds interrupt_grace(500);

}  // namespace

int main(int argc, char** argv) {
  prepare_picture_memory();
  // A closed pipe on standard output is reported as an error (EPIPE), not a silent death.
  std::signal(SIGPIPE, SIG_IGN);
  options o;
  try {
    o = parse_options(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const usage_error& e) {
    std::fprintf(stderr, "introoutro: %s\nTry 'introoutro --help' for more information.\n", e.what());
    return 2;
  }
  if (o.command == command::help) {
    std::fputs(help_text(), stdout);
    return 0;
  }
  if (o.command == command::version) {
    std::fputs(version_text(), stdout);
    return 0;
  }
  try {
    output_files outputs;
    interrupt_watch interrupts(interrupt_grace, [&outputs, &interrupts](int signal) {
      outputs.discard();
      report_interrupt(interrupts.frames_written());
      std::_Exit(128 + signal);
    });
    try {
      run(o, outputs, interrupts);
      return 0;
    } catch (const interrupted& e) {
      report_interrupt(e.frames);
      return e.exit_status();
    } catch (const std::exception& e) {
      if (const int signal = interrupts.signal()) {
        report_interrupt(interrupts.frames_written());
        return 128 + signal;
      }
      std::fprintf(stderr, "introoutro: error: %s\n", e.what());
    }
  } catch (const std::exception& e) {
    std::fprintf(stderr, "introoutro: error: %s\n", e.what());
  }
  return 1;
}
