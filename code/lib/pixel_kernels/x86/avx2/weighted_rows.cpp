// Weighted rows compiled for AVX2: 256-bit integer and float vectors throughout.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/weighted_rows_impl.h"

PK_DEFINE_WEIGHTED_ROWS(avx2, f32x8)
