#include "introoutro/progress.h"

#include "io/frame_clock.h"

#include <cmath>

namespace ns_introoutro {

namespace {

constexpr double terminal_interval = 0.25;
constexpr double log_interval = 10.0;

std::string format(const char* pattern, double value) {
  char text[64];
  std::snprintf(text, sizeof text, pattern, value);
  return text;
}

double per_second(uint64_t frames, double seconds) { return seconds > 0.001 ? frames / seconds : 0.0; }

}  // namespace

std::string progress_line(uint64_t written, const std::optional<frame_total>& expected, double elapsed_seconds) {
  std::string line = std::to_string(written);
  if (expected) line += (expected->exact ? " of " : " of about ") + std::to_string(expected->frames);
  line += " frames, " + format("%.0f", per_second(written, elapsed_seconds)) + " frames/s, ";
  const auto whole = static_cast<long long>(elapsed_seconds);
  char clock[32];
  std::snprintf(clock, sizeof clock, "%lld:%02lld", whole / 60, whole % 60);
  return line + clock + " elapsed";
}

std::string summary_line(const job_summary& s) {
  std::string line;
  for (const auto& [r, frames] : s.frames_in) {
    line += (line.empty() ? "" : " + ") + std::string(role_name(r)) + " " + std::to_string(frames);
  }
  const double fps = ns_y4m::frame_clock(s.output.rate).frames_per_second();
  line += " frames in, " + std::to_string(s.frames_out) + " frames out (" + std::to_string(s.output.width) + "x" +
          std::to_string(s.output.height) + " at " + format("%.5g", fps) + " frames/s, " +
          format("%.1f", static_cast<double>(s.output_bytes) / 1e6) + " MB) to " + s.output_name + " in " +
          format("%.2f", s.elapsed_seconds) + " s, " + format("%.0f", per_second(s.frames_out, s.elapsed_seconds)) +
          " frames/s";
  return line;
}

progress_reporter::progress_reporter(std::FILE* out, bool terminal, bool quiet)
    : out(out), terminal(terminal), quiet(quiet), next_due(terminal ? terminal_interval : log_interval) {}

void progress_reporter::update(uint64_t written, const std::optional<frame_total>& expected, double elapsed_seconds) {
  if (quiet || elapsed_seconds < next_due) return;
  next_due = elapsed_seconds + (terminal ? terminal_interval : log_interval);
  const std::string line = "introoutro: " + progress_line(written, expected, elapsed_seconds);
  if (terminal) {
    std::fprintf(out, "\r%s\x1b[K", line.c_str());
    line_shown = true;
  } else {
    std::fprintf(out, "%s\n", line.c_str());
  }
  std::fflush(out);
}

void progress_reporter::abandon() {
  if (line_shown) std::fputs("\r\x1b[K", out);
  line_shown = false;
}

void progress_reporter::finish(const std::string& summary) {
  abandon();
  if (!quiet) std::fprintf(out, "introoutro: %s\n", summary.c_str());
  std::fflush(out);
}

}  // namespace ns_introoutro
