// Float arithmetic compiled for AVX2: 256-bit integer and float vectors throughout.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/arith_impl.h"

PK_DEFINE_ADD_MULTIPLY(avx2, f32x8)
PK_DEFINE_MULTIPLY_BY_CONSTANT(avx2, f32x8, streaming_zero_fill)
