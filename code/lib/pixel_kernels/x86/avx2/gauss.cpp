// Gaussian filters compiled for AVX2: 256-bit integer and float vectors throughout.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/gauss_impl.h"

PK_DEFINE_GAUSS(avx2, i256, i128)
