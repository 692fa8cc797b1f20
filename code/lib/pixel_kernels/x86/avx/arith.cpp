// Float arithmetic compiled for AVX: 256-bit float arithmetic and conversion over 128-bit integer halves.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/arith_impl.h"

PK_DEFINE_ADD_MULTIPLY(avx, f32x8)
PK_DEFINE_MULTIPLY_BY_CONSTANT(avx, f32x8, streaming_zero_fill)
