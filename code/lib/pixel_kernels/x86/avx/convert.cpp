// Conversions compiled for AVX: 256-bit float arithmetic and conversion over 128-bit integer halves.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/convert_impl.h"

PK_DEFINE_CONVERT(avx)
