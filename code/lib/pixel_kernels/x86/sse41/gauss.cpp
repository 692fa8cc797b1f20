// Gaussian filters compiled for SSE4.1: zero-extending moves widen, PACKUSDW and PMULLD narrow and multiply.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/gauss_impl.h"

PK_DEFINE_GAUSS(sse41, i128)
