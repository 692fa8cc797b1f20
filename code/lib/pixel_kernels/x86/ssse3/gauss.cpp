// Gaussian filters compiled for SSSE3: byte shuffles widen 8-bit samples.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/gauss_impl.h"

PK_DEFINE_GAUSS(ssse3, i128)
