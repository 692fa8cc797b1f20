introoutro_add_benchmark(resize_bench
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/resize_bench.cpp
  LIBS resize PkgConfig::ZIMG_FOR_BENCH)
