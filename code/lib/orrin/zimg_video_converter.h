#pragma once
// Internal: the library's 'vrc ' converter. It scales with zimg on the processor's
// fastest path (64-byte vectors where AVX-512 is present), one graph per Prepare (and
// one per plane kind when vrc.threads > 1), and produces each output picture
// synchronously in PutSample. A picture equal byte for byte to the previous one is
// not scaled again: its sample shares the previous output block. Output rows are
// padded to 64-byte chroma strides; an output block is reused once every sample that
// used it has been released.

#include "orrin/video_converter.h"

namespace Quorvane::Orrin {

CVideoConverter* CreateZimgVideoConverter();

}  // namespace Quorvane::Orrin
