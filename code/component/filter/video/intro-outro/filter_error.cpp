#include "filter/video/intro-outro/filter_error.h"

#include "base/CException.h"

namespace ns_video_introoutro {

void raise_filter_error(int line, const char* where, const KX::CString& message) {
  throw KX::CException("KX::CException", line, "code\\component\\filter\\video\\intro-outro\\VideoIntroOutroFilter",
                       where, message);
}

}  // namespace ns_video_introoutro
