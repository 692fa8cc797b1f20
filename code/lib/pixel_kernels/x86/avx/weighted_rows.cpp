// Weighted rows compiled for AVX: 256-bit float vectors over 128-bit integer halves.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/weighted_rows_impl.h"

PK_DEFINE_WEIGHTED_ROWS(avx, f32x8)
