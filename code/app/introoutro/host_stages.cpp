#include "introoutro/host_stages.h"

#include "introoutro/clip_prestage.h"
#include "introoutro/matte_frames.h"
#include "io/y4m_sink.h"
#include "io/frame_clock.h"

namespace ns_introoutro {

namespace {

double fps_of(const ns_y4m::stream_header& h) { return ns_y4m::frame_clock(h.rate).frames_per_second(); }

}  // namespace

ns_y4m::stream_header filter_view(const ns_y4m::stream_header& clip, const ns_y4m::stream_header& main, fit_mode fit) {
  ns_y4m::stream_header seen = clip;
  if (plan_fit(clip, main, fit)) {
    seen.width = main.width;
    seen.height = main.height;
  }
  return seen;
}

std::string add_input_stages(KX::ZM::ZMGraph& graph, const job_input& input, const ns_y4m::stream_header& main,
                             fit_mode fit) {
  const std::string queue = role_name(input.info.role);
  const ns_y4m::stream_header& clip = input.info.header;
  std::unique_ptr<clip_fitter> fitter;
  std::unique_ptr<clip_ending> ending;
  if (input.info.role != role::main) {
    if (const auto place = plan_fit(clip, main, fit)) {
      fitter = std::make_unique<clip_fitter>(clip, main, *place, input.info.name);
    }
    if (needs_rate_conversion(fps_of(clip), fps_of(main))) {
      ending = std::make_unique<clip_ending>(fps_of(clip), fps_of(main));
    }
  }
  graph.addComponent(queue, input.source, {}, {queue});
  if (!fitter && !ending) return queue;
  // The name still holds the role, which is how the filter tells its inputs apart.
  const std::string conformed = queue + ".conformed";
  graph.addComponent(queue + " pre-stage", new clip_prestage(std::move(fitter), std::move(ending)), {queue},
                     {conformed});
  return conformed;
}

void add_matte_output(KX::ZM::ZMGraph& graph, const std::string& path, const std::string& output,
                    const std::vector<job_input>& inputs, const ns_y4m::stream_header& main, fit_mode fit) {
  if (path.empty()) return;
  std::optional<plane_size> intro, outro;
  for (const job_input& i : inputs) {
    if (i.info.role == role::main) continue;
    const ns_y4m::stream_header seen = filter_view(i.info.header, main, fit);
    (i.info.role == role::intro ? intro : outro) = plane_size{seen.width, seen.height};
  }
  graph.addComponent("matte", new matte_frames({main.width, main.height}, intro, outro), {output}, {"matte"});
  graph.addComponent("matte output",
                     new ns_y4m::y4m_sink(std::make_unique<ns_y4m::y4m_writer>(path), matte_header(main)), {"matte"},
                     {});
}

}  // namespace ns_introoutro
