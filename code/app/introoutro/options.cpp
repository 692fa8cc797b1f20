#include "introoutro/options.h"

#include <charconv>
#include <map>

namespace ns_introoutro {

namespace {

struct value_option {
  std::string options::*field;
  const char* placeholder;
  bool demo;  // also an option of `demo`
};

const std::map<std::string, value_option>& value_options() {
  static const std::map<std::string, value_option> table = {
      {"--intro", {&options::intro, "FILE", false}},
      {"--main", {&options::main, "FILE", false}},
      {"--outro", {&options::outro, "FILE", false}},
      {"--intro-alpha", {&options::intro_alpha, "FILE", false}},
      {"--outro-alpha", {&options::outro_alpha, "FILE", false}},
      {"-o", {&options::output, "FILE", true}},
      {"--output", {&options::output, "FILE", true}},
      {"--preview", {&options::preview, "FILE.png", true}},
      {"--plugin", {&options::plugin, "PATH", true}},
  };
  return table;
}

uint32_t parse_queue_frames(const std::string& text) {
  uint32_t n = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), n);
  if (error != std::errc() || end != text.data() + text.size() || n < 1 || n > max_queue_frames) {
    throw usage_error("--queue-frames: '" + text + "' is not a number of frames from 1 to " +
                      std::to_string(max_queue_frames));
  }
  return n;
}

void check_splice(const options& o) {
  if (o.main.empty()) throw usage_error("--main FILE is required (the main source)");
  if (o.intro.empty() && o.outro.empty()) throw usage_error("give --intro FILE, --outro FILE or both");
  if (o.output.empty()) throw usage_error("-o FILE is required ('-' for standard output)");
  if (!o.intro_alpha.empty() && o.intro.empty()) throw usage_error("--intro-alpha needs --intro");
  if (!o.outro_alpha.empty() && o.outro.empty()) throw usage_error("--outro-alpha needs --outro");
  int from_stdin = 0;
  for (const std::string* in : {&o.intro, &o.main, &o.outro, &o.intro_alpha, &o.outro_alpha}) {
    from_stdin += *in == "-";
  }
  if (from_stdin > 1) throw usage_error("only one input can be '-' (standard input)");
}

}  // namespace

options parse_options(const std::vector<std::string>& args) {
  options o;
  size_t i = 0;
  if (!args.empty() && args[0] == "demo") {
    o.command = command::demo;
    ++i;
  }
  std::map<std::string, bool> given;
  bool queue_given = false;
  for (; i < args.size(); ++i) {
    std::string name = args[i];
    std::string value;
    bool inline_value = false;
    if (const size_t eq = name.find('='); name.rfind("--", 0) == 0 && eq != std::string::npos) {
      value = name.substr(eq + 1);
      name.resize(eq);
      inline_value = true;
    }
    if (name == "-h" || name == "--help" || name == "--version") {
      options asked;
      asked.command = name == "--version" ? command::version : command::help;
      return asked;
    }
    if (name == "-q" || name == "--quiet") {
      o.quiet = true;
      continue;
    }
    const auto option = value_options().find(name);
    const bool is_queue = name == "--queue-frames";
    if (option == value_options().end() && !is_queue) {
      if (name.size() > 1 && name[0] == '-') throw usage_error("unknown option '" + name + "'");
      throw usage_error("unexpected argument '" + name + "'");
    }
    const char* placeholder = is_queue ? "N" : option->second.placeholder;
    if (!inline_value) {
      // An option in the place of the value means the value was left out; a file
      // whose name starts with '-' can be given as ./-name.
      const bool missing = i + 1 >= args.size() || (args[i + 1].size() > 1 && args[i + 1][0] == '-');
      if (missing) throw usage_error(name + " needs a value: " + name + " " + placeholder);
      value = args[++i];
    }
    if (value.empty()) throw usage_error(name + " needs a value: " + name + " " + placeholder);
    if (is_queue) {
      if (queue_given) throw usage_error("--queue-frames is given twice");
      queue_given = true;
      o.queue_frames = parse_queue_frames(value);
      continue;
    }
    if (o.command == command::demo && !option->second.demo) throw usage_error(name + " is not an option of demo");
    std::string& field = o.*(option->second.field);
    if (!field.empty()) throw usage_error(name + " is given twice");
    field = value;
  }
  if (o.command == command::splice) {
    check_splice(o);
  } else if (o.output.empty()) {
    o.output = default_demo_output;
  }
  return o;
}

}  // namespace ns_introoutro
