// Gaussian filters compiled for SSE3: SSE2 unpacks and packs, LDDQU loads.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/gauss_impl.h"

PK_DEFINE_GAUSS(sse3, i128)
