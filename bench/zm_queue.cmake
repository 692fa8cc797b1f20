introoutro_add_benchmark(zm_queue_bench
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/zm_queue_bench.cpp
  LIBS zm)
