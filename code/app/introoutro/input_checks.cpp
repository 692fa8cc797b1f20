#include "introoutro/input_checks.h"

#include <algorithm>

namespace ns_introoutro {

namespace {

constexpr std::string_view range_tag = "COLORRANGE=";

const input_info& main_input(const std::vector<input_info>& inputs) {
  const auto it = std::find_if(inputs.begin(), inputs.end(), [](const input_info& i) { return i.role == role::main; });
  if (it == inputs.end()) throw plan_error("no main source");
  return *it;
}

// "limited range (XCOLORRANGE=LIMITED)"; video is limited range unless it says not.
struct colour_range {
  std::string value;
  bool given = false;
  std::string text() const {
    std::string name = value == "FULL" ? "full" : value == "LIMITED" ? "limited" : value;
    return name + " range (" + (given ? "XCOLORRANGE=" + value : "no XCOLORRANGE") + ")";
  }
};

colour_range range_of(const ns_y4m::stream_header& h) {
  for (const std::string& x : h.extensions) {
    if (x.rfind(range_tag, 0) == 0) return {x.substr(range_tag.size()), true};
  }
  return {"LIMITED", false};
}

std::string field_order_text(char interlacing) {
  switch (interlacing) {
    case 't': return "top field first (It)";
    case 'b': return "bottom field first (Ib)";
    default: return "of mixed field orders (Im)";
  }
}

bool interlaced(const std::optional<char>& i) { return i == 't' || i == 'b'; }

}  // namespace

std::vector<std::string> check_clips_against_main(const std::vector<input_info>& inputs) {
  const input_info& main = main_input(inputs);
  if (main.frames == uint64_t{0} && main.frames_exact) {
    throw plan_error(main.name + ": the main source has no frames");
  }
  const colour_range main_range = range_of(main.header);
  std::vector<std::string> warnings;
  for (const input_info& clip : inputs) {
    if (clip.role == role::main) continue;
    const std::string what = std::string("the ") + role_name(clip.role);
    const colour_range range = range_of(clip.header);
    if (range.value != main_range.value) {
      throw plan_error(clip.name + ": " + what + " is " + range.text() + " but the main source " + main.name +
                       " is " + main_range.text() + ": convert one of them to the other's range first");
    }
    const std::optional<char> fields = clip.header.interlacing;
    if (interlaced(main.header.interlacing) && (interlaced(fields) || fields == 'm') &&
        fields != main.header.interlacing) {
      warnings.push_back(clip.name + ": " + what + " is " + field_order_text(*fields) + " but the main source " +
                         main.name + " is " + field_order_text(*main.header.interlacing) + ": " + what +
                         "'s fields may play in the wrong order");
    }
  }
  return warnings;
}

std::vector<std::string> check_frames_read(const std::vector<input_info>& inputs,
                                           const std::vector<std::pair<role, uint64_t>>& frames_read) {
  std::vector<std::string> warnings;
  for (const auto& [r, frames] : frames_read) {
    if (frames != 0) continue;
    const auto it = std::find_if(inputs.begin(), inputs.end(), [r = r](const input_info& i) { return i.role == r; });
    const std::string name = it == inputs.end() ? role_name(r) : it->name;
    if (r == role::main) throw plan_error(name + ": the main source has no frames");
    warnings.push_back(name + ": the " + role_name(r) + " has no frames: the splice goes on without it");
  }
  return warnings;
}

}  // namespace ns_introoutro
