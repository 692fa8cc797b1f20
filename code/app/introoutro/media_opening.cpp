#include "introoutro/media_opening.h"

#include "base/CException.h"
#include "introoutro/y4m_inputs.h"
#include "io/media_sink.h"
#include "io/media_source.h"
#include "io/stream_peek.h"

#include <cstdio>

namespace ns_introoutro {

namespace {

[[noreturn]] void fail(const std::string& message) {
  KX::CException::raise(__LINE__, __FILE__, "ns_introoutro::open_inputs", "%s", message.c_str());
}

struct opened {
  const input_request* request;
  std::unique_ptr<ns_y4m::y4m_reader> y4m;
  std::unique_ptr<ns_media::media_decoder> media;
};

}  // namespace

std::vector<job_input> open_media_inputs(const std::vector<input_request>& requests, bool quiet) {
  std::vector<opened> all;
  for (const input_request& r : requests) {
    opened o{&r, nullptr, nullptr};
    if (ns_media::looks_like_y4m(r.pictures)) {
      o.y4m = std::make_unique<ns_y4m::y4m_reader>(r.pictures);
    } else {
      o.media = std::make_unique<ns_media::media_decoder>(r.pictures);
      if (!r.matte.empty()) {
        fail(r.matte + ": a matte goes with a YUV4MPEG2 clip, and " + o.media->name() + " is a media file");
      }
    }
    all.push_back(std::move(o));
  }
  // The main source's layout is every media input's target.
  ns_y4m::chroma target = ns_y4m::chroma::c420mpeg2;
  for (const opened& o : all) {
    if (o.request->r != role::main) continue;
    target = o.y4m ? o.y4m->header().sampling : ns_media::own_chroma(o.media->properties());
  }
  ns_media::media_source::notice_sink notice;
  if (!quiet) notice = [](const std::string& text) { std::fprintf(stderr, "introoutro: %s\n", text.c_str()); };

  std::vector<job_input> inputs;
  for (opened& o : all) {
    const role r = o.request->r;
    if (o.y4m) {
      inputs.push_back(y4m_input(r, std::move(o.y4m), o.request->matte));
      continue;
    }
    input_info info{r, o.media->name(), {}, std::nullopt, true};
    if (const auto count = o.media->frames_in_file()) {
      info.frames = count->frames;
      info.frames_exact = count->exact;
    }
    KX::RPtr<ns_media::media_source> source(
        new ns_media::media_source(std::move(o.media), target, role_name(r), notice));
    info.header = source->header();
    inputs.push_back({std::move(info), source, o.request->pictures});
  }
  return inputs;
}

KX::RPtr<ns_y4m::output_sink> make_media_sink(const std::string& path, const ns_y4m::stream_header& header,
                                              const encoder_options& encoder, ns_y4m::output_sink::frame_tap tap) {
  const ns_media::encoder_settings settings{encoder.video_codec, encoder.crf, encoder.preset, encoder.video_bitrate};
  return new ns_media::media_sink(path, header, settings, std::move(tap));
}

}  // namespace ns_introoutro
