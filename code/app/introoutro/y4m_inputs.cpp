#include "introoutro/y4m_inputs.h"

#include "io/y4m_source.h"

namespace ns_introoutro {

job_input y4m_input(role r, std::unique_ptr<ns_y4m::y4m_reader> reader, const std::string& matte) {
  auto matte_reader = matte.empty() ? nullptr : std::make_unique<ns_y4m::y4m_reader>(matte);
  input_info info{r, reader->name(), reader->header(), std::nullopt, true};
  if (const auto count = reader->frames_in_file()) {
    info.frames = count->frames;
    info.frames_exact = count->exact;
  }
  return {std::move(info), new ns_y4m::y4m_source(std::move(reader), std::move(matte_reader), role_name(r)), ""};
}

}  // namespace ns_introoutro
