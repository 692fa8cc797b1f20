// Conversions compiled for SSSE3: byte shuffles widen 8-bit samples.
#include "pixel_kernels/dispatch/tables.h"
#include "pixel_kernels/x86/convert_impl.h"

PK_DEFINE_CONVERT(ssse3)
