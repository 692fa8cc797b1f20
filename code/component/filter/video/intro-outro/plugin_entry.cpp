// The plug-in's one exported symbol, under its plain C name; everything else in the
// module is hidden.

#include "filter/video/intro-outro/VideoIntroOutroFilter.h"

#include <new>

extern "C" __attribute__((visibility("default"))) KX::ZM::RComponent* getComponentInstance() {
  return new (std::nothrow) ns_video_introoutro::VideoIntroOutroFilter;
}
