// Constant multiply compiled for SSE4.1. Add and multiply gain nothing from
// SSE4.1: their table slots reuse the SSE3 code.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/arith_impl.h"

PK_DEFINE_MULTIPLY_BY_CONSTANT(sse41, f32x4, plain_zero_fill)
