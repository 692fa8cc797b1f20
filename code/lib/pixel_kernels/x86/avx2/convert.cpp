// Conversions compiled for AVX2: 256-bit integer and float vectors throughout.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/convert_impl.h"

PK_DEFINE_CONVERT(avx2)
