// Weighted rows compiled for SSE3: SSE2 unpacks and packs, 128-bit float vectors.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/weighted_rows_impl.h"

PK_DEFINE_WEIGHTED_ROWS(sse3, f32x4)
