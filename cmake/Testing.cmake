# vantacore_compile_quickly(target)
#
# Compiling a suite takes longer than running it: it is not optimised, and the headers of googletest
# and of the standard library are read once for all suites (test_headers in tests/support).
function(vantacore_compile_quickly target)
  target_compile_options(${target} PRIVATE -O0)
  target_precompile_headers(${target} REUSE_FROM test_headers)
endfunction()

# vantacore_add_test(NAME name SOURCES file... [APART file...] [LIBS target...] [LABELS label...]
#                    [ISOLATED] [OPTIMISED] [UNLISTED] [TIMEOUT seconds] [RUNNER word...])
#
# One executable and one ctest entry. It is linked with googletest, the library, the software device
# and tests/support. ISOLATED runs each test in a process of its own (tests/support/isolated_main.cpp),
# which every test needs that touches a singleton of the library. OPTIMISED is for suites that compute
# much themselves. APART are those of the SOURCES that are never joined: they give a name in their
# unnamed namespace to something else than another file of the suite does. RUNNER is a command that runs
# the suite, whose path is appended, and judges it. UNLISTED has no ctest entry: the machine that builds
# the suite may not be able to run it.
function(vantacore_add_test)
  cmake_parse_arguments(PARSE_ARGV 0 TEST "ISOLATED;OPTIMISED;UNLISTED" "NAME;TIMEOUT"
    "SOURCES;APART;LIBS;LABELS;RUNNER")
  if(NOT TEST_NAME OR NOT TEST_SOURCES OR TEST_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "vantacore_add_test: NAME and SOURCES are required, "
      "and nothing else than named arguments is understood: ${ARGV}")
  endif()
  if(NOT TEST_TIMEOUT)
    set(TEST_TIMEOUT 300)
    if(CMAKE_CROSSCOMPILING)  # an emulator, perhaps with sanitizers
      set(TEST_TIMEOUT 1200)
    endif()
  endif()
  add_executable(${TEST_NAME} ${TEST_SOURCES})
  if(NOT TEST_OPTIMISED)
    vantacore_compile_quickly(${TEST_NAME})
  endif()
  if(VANTACORE_JOIN_SOURCES)
    vantacore_join_sources(${TEST_NAME} ${TEST_APART})
  endif()
  target_link_libraries(${TEST_NAME} PRIVATE
    ${TEST_LIBS} test_support
    $<IF:$<BOOL:${TEST_ISOLATED}>,vantacore_isolated_main,GTest::gtest_main>
    GTest::gmock GTest::gtest vantacore_system)
  if(TEST_UNLISTED)
    return()
  endif()
  set(command ${TEST_NAME})
  if(TEST_RUNNER)
    set(command ${TEST_RUNNER} $<TARGET_FILE:${TEST_NAME}>)
  endif()
  add_test(NAME ${TEST_NAME} COMMAND ${command} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  set_tests_properties(${TEST_NAME} PROPERTIES TIMEOUT ${TEST_TIMEOUT} LABELS "${TEST_LABELS}")
endfunction()

# vantacore_add_benchmark(NAME name SOURCES file... [LIBS target...] [PREPARED])
#
# An executable of google benchmark, built on demand by the target `benchmarks`. PREPARED links the
# stack that does nothing instead of the software stack.
function(vantacore_add_benchmark)
  cmake_parse_arguments(PARSE_ARGV 0 BENCH "PREPARED" "NAME" "SOURCES;LIBS")
  if(NOT BENCH_NAME OR NOT BENCH_SOURCES OR BENCH_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "vantacore_add_benchmark: NAME and SOURCES are required, "
      "and nothing else than named arguments is understood: ${ARGV}")
  endif()
  add_executable(${BENCH_NAME} EXCLUDE_FROM_ALL ${BENCH_SOURCES})
  target_link_libraries(${BENCH_NAME} PRIVATE
    ${BENCH_LIBS} test_support benchmark::benchmark_main benchmark::benchmark
    $<IF:$<BOOL:${BENCH_PREPARED}>,prepared_system,vantacore_system>)
  add_dependencies(benchmarks ${BENCH_NAME})
endfunction()
