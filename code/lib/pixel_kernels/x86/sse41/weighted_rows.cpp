// Weighted rows compiled for SSE4.1: zero-extending loads widen, 128-bit float vectors.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/weighted_rows_impl.h"

PK_DEFINE_WEIGHTED_ROWS(sse41, f32x4)
