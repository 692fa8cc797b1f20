introoutro_add_benchmark(filter_bench
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/filter_bench.cpp
  LIBS zm framerate resize PkgConfig::ZIMG_FOR_BENCH ${CMAKE_DL_LIBS})
target_compile_definitions(filter_bench PRIVATE INTROOUTRO_FILTER_MODULE="$<TARGET_FILE:kx_filter_video_introoutro>")
add_dependencies(filter_bench kx_filter_video_introoutro)
