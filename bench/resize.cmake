pkg_check_modules(ZIMG_FOR_BENCH REQUIRED IMPORTED_TARGET zimg)
introoutro_add_benchmark(resize_bench
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/resize_bench.cpp
  LIBS resize PkgConfig::ZIMG_FOR_BENCH)
