// Float arithmetic compiled for SSSE3: byte shuffles widen 8-bit samples.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/arith_impl.h"

PK_DEFINE_ADD_MULTIPLY(ssse3, f32x4)
PK_DEFINE_MULTIPLY_BY_CONSTANT(ssse3, f32x4, plain_zero_fill)
