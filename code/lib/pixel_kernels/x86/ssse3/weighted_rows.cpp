// Weighted rows compiled for SSSE3: byte shuffles widen, 128-bit float vectors.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/weighted_rows_impl.h"

PK_DEFINE_WEIGHTED_ROWS(ssse3, f32x4)
