// Conversions compiled for SSE3: SSE2 unpacks and packs, LDDQU loads.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/convert_impl.h"

PK_DEFINE_CONVERT(sse3)
