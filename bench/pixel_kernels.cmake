introoutro_add_benchmark(pixel_kernels_bench
  SOURCES pixel_kernels_bench.cpp
  LIBS pixel_kernels)
