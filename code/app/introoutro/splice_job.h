#pragma once
// One splice run: the host graph of sources, the filter plug-in and the sink (Y4M or media),
// with progress on standard error while it runs, the preview afterwards and a
// summary at the end.
//
//   intro source --"intro"--+
//   main source  --"main"----+--> filter (plug-in) --"out"--> sink (-> join tap)
//   outro source --"outro"--+
//
// The queue names give the filter its roles; its "system_informat" and
// "system_outformat" are the main source's FourCC. A clip that must be fitted or
// fed whole passes a pre-stage on its way, and --matte adds a second reader of
// "out" (host_stages.h).

#include "introoutro/options.h"
#include "introoutro/interrupts.h"
#include "introoutro/splice_plan.h"
#include "zm/ZMComponent.h"

#include <string>
#include <vector>

namespace ns_introoutro {

struct job_input {
  input_info info;
  KX::RPtr<KX::ZM::RComponent> source;  // writes one queue
  // The media file its sound is read from: "" for none (a Y4M stream, a demo clip),
  // "-" for standard input.
  std::string sound_from;
};

struct job_settings {
  std::string output;   // path, "-" for standard output
  std::string preview;  // PNG path or ""
  std::string plugin;   // path of the plug-in
  std::string matte;    // Cmono Y4M path of the output's alpha, or ""
  fit_mode fit = fit_mode::pad;
  uint32_t queue_frames = 8;
  bool quiet = false;
  interrupt_watch* interrupts = nullptr;  // polled while the graph runs, when set
  encoder_options encoder;  // for a media output
  audio_options audio;
};

// Runs to the end. Throws (KX::CException, plan_error, std::runtime_error) with a
// message naming the file and the cause when anything fails, `interrupted` once a
// signal came; the caller's output_files removes what the run wrote.
void run_splice(const std::vector<job_input>& inputs, const job_settings& settings);

}  // namespace ns_introoutro
