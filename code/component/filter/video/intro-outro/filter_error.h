#pragma once
// The filter's own errors: KX::CException of type "KX::CException" carrying the
// source name the host's logs know this filter by.

#include "base/CString.h"

namespace ns_video_introoutro {

[[noreturn]] void raise_filter_error(int line, const char* where, const KX::CString& message);

}  // namespace ns_video_introoutro
