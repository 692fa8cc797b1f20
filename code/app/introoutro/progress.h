#pragma once
// Progress on standard error: one line that changes in place a few times a second
// when stderr is a terminal (a plain line every ten seconds when it is not), and one
// summary line at the end.

#include "introoutro/splice_plan.h"

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ns_introoutro {

// "120 of 240 frames, 301 frames/s, 0:02 elapsed"; "of about" when the total is an
// estimate, no total when none is known.
std::string progress_line(uint64_t written, const std::optional<frame_total>& expected, double elapsed_seconds);

struct job_summary {
  std::vector<std::pair<role, uint64_t>> frames_in;
  uint64_t frames_out = 0;
  ns_y4m::stream_header output;
  std::string output_name;
  uint64_t output_bytes = 0;
  double elapsed_seconds = 0;
};
// "intro 50 + main 120 frames in, 180 frames out (1920x1080 at 29.97 frames/s,
// 560.0 MB) to out.y4m in 0.62 s, 290 frames/s"
std::string summary_line(const job_summary& s);

class progress_reporter {
public:
  // Nothing at all is printed when `quiet`.
  progress_reporter(std::FILE* out, bool terminal, bool quiet);

  // Called often while the job runs; prints when a line is due.
  void update(uint64_t written, const std::optional<frame_total>& expected, double elapsed_seconds);
  // Replaces the progress line by the summary.
  void finish(const std::string& summary);
  // Clears the progress line before an error message.
  void abandon();

private:
  std::FILE* out;
  bool terminal;
  bool quiet;
  bool line_shown = false;
  double next_due = 0;
};

}  // namespace ns_introoutro
