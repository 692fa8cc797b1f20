// Float arithmetic compiled for SSE3: SSE2 unpacks and packs, LDDQU loads.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/arith_impl.h"

PK_DEFINE_ADD_MULTIPLY(sse3, f32x4)
PK_DEFINE_MULTIPLY_BY_CONSTANT(sse3, f32x4, plain_zero_fill)
