# Build rules shared by every target.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

option(INTROOUTRO_BUILD_TESTS "Build the GoogleTest suite" ON)
option(INTROOUTRO_BUILD_BENCHMARKS "Build the Google Benchmark programs" ON)
option(INTROOUTRO_WERROR "Treat compiler warnings as errors" ON)
set(INTROOUTRO_SANITIZE "" CACHE STRING "Sanitizers to build with: 'address,undefined' or 'thread'")

# The pixel kernels are compiled once per instruction-set level with exactly that
# level's flags; global -march/-mavx flags would turn the generic reference into
# vector code (making the equivalence tests vacuous) and crash older processors.
if(CMAKE_CXX_FLAGS MATCHES "-march=|-mavx|-msse[34]|-mssse3|-mfma")
  message(FATAL_ERROR "Do not put instruction-set flags in CMAKE_CXX_FLAGS ('${CMAKE_CXX_FLAGS}'): "
                      "each pixel-kernel level sets its own.")
endif()

# -ffp-contract=off everywhere: a fused multiply-add changes the bits, and the kernels
# and scalers must give identical results on every level.
add_compile_options(-Wall -Wextra -ffp-contract=off)
if(INTROOUTRO_WERROR)
  add_compile_options(-Werror)
endif()

if(INTROOUTRO_SANITIZE)
  add_compile_options(-fsanitize=${INTROOUTRO_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${INTROOUTRO_SANITIZE})
  if(INTROOUTRO_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

# Executables in bin/, libraries and the plug-in in lib/, both in the build tree and
# when installed; programs find their libraries through $ORIGIN/../lib.
include(GNUInstallDirs)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_BUILD_RPATH "$ORIGIN/../lib")
set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
