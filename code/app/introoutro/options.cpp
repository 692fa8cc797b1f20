#include "introoutro/options.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <map>

namespace ns_introoutro {

namespace {

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

void check_common(const options& o) {
  if (!o.audio.enabled && !o.audio.wav_output.empty()) throw usage_error("--no-audio and --audio-out exclude each other");
  if (o.encoder.crf && o.encoder.video_bitrate) throw usage_error("--crf and --bitrate exclude each other");
  if (o.matte == "-" && o.output == "-") throw usage_error("--matte and -o cannot both be '-' (standard output)");
  // A WAV file's sizes are written into its header at the end.
  if (o.audio.wav_output == "-") throw usage_error("--audio-out needs a file, not '-' (standard output)");
}

void add_file(CLI::App& app, const char* names, std::string& field, const char* what, const char* type = "FILE") {
  app.add_option(names, field, what)->type_name(type);
}

void add_bit_rate(CLI::App& app, const char* name, std::optional<int64_t>& field) {
  app.add_option_function<std::string>(
      name,
      [&field, name](const std::string& text) {
        field = parse_bit_rate(text);
        if (!field) throw CLI::ValidationError(std::string(name) + ": '" + text + "' is not a bit rate (e.g. 8M, 192k)");
      },
      "bits per second")->type_name("RATE");
}

// Options both the splice and the demo take: where the output goes and how it is written.
void add_output_options(CLI::App& app, options& o) {
  add_file(app, "-o,--output", o.output, "output file ('-': standard output)");
  add_file(app, "--preview", o.preview, "contact sheet of the joins", "FILE.png");
  add_file(app, "--matte", o.matte, "the output's alpha as a Cmono Y4M stream");
  add_file(app, "--plugin", o.plugin, "the filter plug-in", "PATH");
  app.add_option("--queue-frames", o.queue_frames)->type_name("N")->check(CLI::Range(1u, max_queue_frames));
  app.add_flag("-q,--quiet", o.quiet);
  app.add_option("--vcodec", o.encoder.video_codec)->type_name("NAME");
  app.add_option("--crf", o.encoder.crf)->type_name("N")->check(CLI::Range(0, 63));
  app.add_option("--preset", o.encoder.preset)->type_name("NAME");
  add_bit_rate(app, "--bitrate", o.encoder.video_bitrate);
  app.add_option("--acodec", o.encoder.audio_codec)->type_name("NAME");
  add_bit_rate(app, "--abitrate", o.encoder.audio_bitrate);
  app.add_flag_function("--no-audio", [&o](int64_t) { o.audio.enabled = false; });
  add_file(app, "--audio-out", o.audio.wav_output, "the sound beside a Y4M output", "FILE.wav");
  app.add_option("--join-fade", o.audio.join_fade_ms)->type_name("MS")->check(CLI::Range(0u, max_join_fade_ms));
  app.add_flag("--ignore-audio-errors", o.audio.ignore_errors);
}

// The shape of the line, checked before CLI11 reads the values, so that each mistake
// is named in the user's terms: CLI11 would take "--main --intro x" as a main source
// called "--intro", and it lists leftovers without saying which was the first.
void check_shape(const CLI::App& app, const CLI::App& demo, const std::vector<std::string>& args) {
  const CLI::App* current = &app;
  std::map<const CLI::Option*, int> seen;
  for (size_t i = 0; i < args.size(); ++i) {
    if (i == 0 && args[i] == "demo") {
      current = &demo;
      continue;
    }
    std::string name = args[i];
    const size_t eq = name.find('=');
    const bool inline_value = name.rfind("--", 0) == 0 && eq != std::string::npos;
    if (inline_value) name.resize(eq);
    if (name.size() < 2 || name[0] != '-') throw usage_error("unexpected argument '" + name + "'");
    const CLI::Option* option = current->get_option_no_throw(name);
    if (option == nullptr) {
      if (current == &demo && app.get_option_no_throw(name) != nullptr) {
        throw usage_error(name + " is not an option of demo");
      }
      throw usage_error("unknown option '" + name + "'");
    }
    if (option->get_expected_max() == 0) continue;  // a flag
    if (++seen[option] > 1) throw usage_error(name + " is given twice");
    const std::string needs = name + " needs a value: " + name + " " + option->get_type_name();
    if (inline_value) {
      if (eq + 1 == args[i].size()) throw usage_error(needs);
      continue;
    }
    // An option in the place of the value means the value was left out; a file whose
    // name starts with '-' can be given as ./-name.
    if (i + 1 >= args.size() || args[i + 1].empty() || (args[i + 1].size() > 1 && args[i + 1][0] == '-')) {
      throw usage_error(needs);
    }
    ++i;
  }
}

}  // namespace

std::optional<int64_t> parse_bit_rate(const std::string& text) {
  int64_t value = 0;
  const char* first = text.data();
  const char* last = first + text.size();
  const auto [end, error] = std::from_chars(first, last, value);
  if (error != std::errc() || value <= 0) return std::nullopt;
  int64_t scale = 1;
  if (end + 1 == last && (*end == 'k' || *end == 'K')) {
    scale = 1000;
  } else if (end + 1 == last && (*end == 'm' || *end == 'M')) {
    scale = 1000000;
  } else if (end != last) {
    return std::nullopt;
  }
  if (value > INT64_MAX / scale) return std::nullopt;
  return value * scale;
}

options parse_options(const std::vector<std::string>& args) {
  // --help and --version win over anything else on the line, as they do for most tools.
  for (const std::string& a : args) {
    if (a == "-h" || a == "--help" || a == "--version") {
      options asked;
      asked.command = a == "--version" ? command::version : command::help;
      return asked;
    }
  }
  options o;
  CLI::App app("introoutro", "introoutro");
  app.set_help_flag();
  add_file(app, "--intro", o.intro, "the bumper");
  add_file(app, "--main", o.main, "the main source");
  add_file(app, "--outro", o.outro, "the trailer");
  add_file(app, "--intro-alpha", o.intro_alpha, "a Cmono matte for the intro");
  add_file(app, "--outro-alpha", o.outro_alpha, "a Cmono matte for the outro");
  static const std::map<std::string, fit_mode> fits = {
      {"pad", fit_mode::pad}, {"crop", fit_mode::crop}, {"stretch", fit_mode::stretch}};
  app.add_option("--fit", o.fit)->type_name("pad|crop|stretch")->transform(CLI::CheckedTransformer(fits));
  add_output_options(app, o);
  CLI::App* demo = app.add_subcommand("demo", "splice the built-in demo clips");
  demo->set_help_flag();
  add_output_options(*demo, o);

  check_shape(app, *demo, args);
  std::vector<std::string> reversed(args.rbegin(), args.rend());  // CLI11 takes them last first
  try {
    app.parse(reversed);
  } catch (const CLI::ParseError& e) {
    throw usage_error(e.what());
  }
  if (demo->parsed()) {
    o.command = command::demo;
    if (o.output.empty()) o.output = default_demo_output;
  } else {
    check_splice(o);
  }
  check_common(o);
  return o;
}

}  // namespace ns_introoutro
