# introoutro_add_test(<name> SOURCES <files...> LIBS <targets...> [THREADED])
#   One GoogleTest program; each of its tests becomes a CTest test. THREADED labels
#   the tests "threaded" (the ThreadSanitizer run covers them), the others "unit".
if(INTROOUTRO_BUILD_TESTS)
  find_package(GTest REQUIRED)
  include(GoogleTest)
endif()

function(introoutro_add_test name)
  cmake_parse_arguments(T "THREADED" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gtest GTest::gmock GTest::gtest_main Threads::Threads)
  set(label unit)
  if(T_THREADED)
    set(label threaded)
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
                       PROPERTIES LABELS ${label} TIMEOUT 300)
endfunction()
