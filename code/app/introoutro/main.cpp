// introoutro: the command-line host of the intro/outro filter plug-in.

#include "introoutro/demo_clips.h"
#include "introoutro/file_inputs.h"
#include "introoutro/help_text.h"
#include "introoutro/options.h"
#include "introoutro/picture_memory.h"
#include "introoutro/plugin_loader.h"
#include "introoutro/splice_job.h"
#include "base/CException.h"

#include <csignal>
#include <cstdio>
#include <exception>

namespace {

using namespace ns_introoutro;

std::vector<job_input> demo_inputs() {
  std::vector<job_input> inputs;
  for (const demo_clip& clip : demo_clips()) {
    inputs.push_back({{clip.role, std::string("the demo ") + role_name(clip.role), clip.header(), clip.frames, true},
                      new demo_source(clip)});
  }
  return inputs;
}

int run(const options& o) {
  job_settings settings{o.output, o.preview, o.plugin.empty() ? default_plugin_path() : o.plugin, o.queue_frames,
                        o.quiet};
  if (o.command == command::demo) {
    run_splice(demo_inputs(), settings);
    if (!o.quiet && o.output != "-") std::fprintf(stderr, "introoutro: the demo splice is in %s\n", o.output.c_str());
  } else {
    run_splice(open_file_inputs(o), settings);
  }
  if (!o.quiet && !o.preview.empty()) std::fprintf(stderr, "introoutro: the joins are shown in %s\n", o.preview.c_str());
  return 0;
}

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
    return run(o);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "introoutro: error: %s\n", e.what());
  }
  return 1;
}
