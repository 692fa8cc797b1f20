// configure: formats, queue roles by name, the checks of the input set, the output
// description and the clips' preparation.

#include "filter/video/intro-outro/VideoIntroOutroFilter.h"
#include "filter/video/intro-outro/filter_error.h"

#include <cstring>

namespace ns_video_introoutro {

namespace {

using KX::CString;

constexpr const char* kWhere = "VideoIntroOutroFilter::configure";

enum class queue_role { intro, main, outro };

// Case-sensitive substring test, intro first: "introoutro" is an intro, "Intro" and
// the empty name are main sources.
queue_role role_of(const char* queue_name) {
  if (std::strstr(queue_name, "intro") != nullptr) return queue_role::intro;
  if (std::strstr(queue_name, "outro") != nullptr) return queue_role::outro;
  return queue_role::main;
}

}  // namespace

int VideoIntroOutroFilter::configure(const KX::ZM::RComponentConfiguration& config) {
  in_fourcc = config.getFourCC("system_informat", 0);
  out_fourcc = config.getFourCC("system_outformat", 0);
  if (in_fourcc != out_fourcc) {
    raise_filter_error(225, kWhere, CString::createWithFormat("*** ERROR ***: Can't change colorspace in this filter."));
  }

  // A later queue of the same role replaces an earlier one; that one is never read.
  for (int32_t i = 0; i < inReaderCount; ++i) {
    switch (role_of(inReaders[i]->getQueue()->getName().desc())) {
      case queue_role::intro: intro_index = i; break;
      case queue_role::outro: outro_index = i; break;
      case queue_role::main: main_index = i; break;
    }
  }

  if (inReaderCount != 2 && inReaderCount != 3) {
    if (main_index == -1) {
      raise_filter_error(
          253, kWhere,
          CString::createWithFormat("*** ERROR ***: Main source does not contain video, but bumper/trailer does."));
    }
    raise_filter_error(
        257, kWhere, CString::createWithFormat("*** ERROR ***: Main source contains video, but bumper/trailer does not."));
  }
  if (inReaderCount == 2 && ((intro_index != -1 && outro_index != -1) || main_index == -1)) {
    raise_filter_error(
        270, kWhere,
        CString::createWithFormat("*** ERROR ***: VideoIntroOutroFilter couldn't find intro, outro or original queue"));
  }
  if (inReaderCount == 3 && (intro_index == -1 || outro_index == -1 || main_index == -1)) {
    raise_filter_error(
        280, kWhere,
        CString::createWithFormat("*** ERROR ***: VideoIntroOutroFilter couldn't find intro, outro and original queue"));
  }
  if (outWriters.empty()) {
    raise_filter_error(284, kWhere,
                       CString::createWithFormat("*** ERROR ***: VideoIntroOutroFilter has no output queue."));
  }

  // Every description is checked before the output is described, so a bad clip
  // leaves the output untouched.
  const video_descriptions descriptions = input_descriptions();
  outWriters[0]->setDescription(descriptions[main_index]);
  main_width = descriptions[main_index]->getWidth();
  main_height = descriptions[main_index]->getHeight();

  if (intro_index != -1) {
    intro_width = descriptions[intro_index]->getWidth();
    intro_height = descriptions[intro_index]->getHeight();
    if (!configure_xtro_queue(intro_index, intro_rate, intro_resize, descriptions)) return -1;
  }
  if (outro_index != -1) {
    outro_width = descriptions[outro_index]->getWidth();
    outro_height = descriptions[outro_index]->getHeight();
    if (!configure_xtro_queue(outro_index, outro_rate, outro_resize, descriptions)) return -1;
  }
  return 0;
}

video_descriptions VideoIntroOutroFilter::input_descriptions() const {
  video_descriptions descriptions;
  descriptions.reserve(inReaders.size());
  for (const auto& reader : inReaders) {
    KX::RPtr<const KX::ZM::RDescription> description = reader->getDescription();
    const auto* video = dynamic_cast<const KX::ZM::RVideoDescription*>(description.get());
    if (video == nullptr) {
      raise_filter_error(286, kWhere,
                         CString::createWithFormat("*** ERROR ***: Input queue '%s' has no video description.",
                                                   reader->getQueue()->getName().desc()));
    }
    descriptions.emplace_back(video);
  }
  return descriptions;
}

}  // namespace ns_video_introoutro
