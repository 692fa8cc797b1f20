introoutro_add_benchmark(ivtc_bench SOURCES ivtc_bench.cpp LIBS framerate)
