# What every target of this project is compiled with. Nothing here reaches a user's own targets.

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)

# Stops where the library would be wrong without a word: sizes that pass 32 bits, doubles held in wider registers, and
# arithmetic that the compiler may reorder.
function(modelcore_check_platform)
  if(CMAKE_SIZEOF_VOID_P LESS 8)
    message(FATAL_ERROR "modelcore needs a 64-bit target: the sizes of its matrices pass 32 bits "
      "(a pointer has ${CMAKE_SIZEOF_VOID_P} bytes here).")
  endif()
  # Looked at anew each time, with the flags of the build type: they may have changed since.
  unset(MODELCORE_DOUBLES_ARE_DOUBLES CACHE)
  unset(MODELCORE_TARGET_FUSES CACHE)
  set(CMAKE_REQUIRED_QUIET ON)
  if(CMAKE_BUILD_TYPE)
    set(CMAKE_TRY_COMPILE_CONFIGURATION ${CMAKE_BUILD_TYPE})
  endif()
  check_cxx_source_compiles("
    #ifndef __FP_FAST_FMA
    #error
    #endif
    int main() {}" MODELCORE_TARGET_FUSES)
  check_cxx_source_compiles("
    #include <cfloat>
    #include <limits>
    static_assert(std::numeric_limits<double>::is_iec559 && FLT_EVAL_METHOD == 0);
    #ifdef __FAST_MATH__
    #error
    #endif
    int main() {}" MODELCORE_DOUBLES_ARE_DOUBLES)
  if(NOT MODELCORE_DOUBLES_ARE_DOUBLES)
    message(FATAL_ERROR "modelcore needs IEEE doubles that are evaluated as doubles: its results are defined to the "
      "last bit. Leave out -mfpmath=387, fast-math and what else changes arithmetic (CMAKE_CXX_FLAGS is "
      "'${CMAKE_CXX_FLAGS}'); x87 and other extended-precision targets are not supported.")
  endif()
endfunction()

# Results must not depend on the compiler's freedom: multiply and add are rounded separately everywhere.
function(modelcore_target_defaults target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  if(WIN32)
    # For every source alike; some compilers define it themselves, and a second #define in a source would clash.
    target_compile_definitions(${target} PRIVATE NOMINMAX)
  endif()
  if(MSVC)
    target_compile_options(${target} PRIVATE /fp:precise /utf-8 /W4)
  else()
    target_compile_options(${target} PRIVATE -ffp-contract=off
      -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion)
    if(MODELCORE_TARGET_FUSES AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # Where straight-line code becomes vectors, GCC 12 fuses neighbours a*b + c and a*b - c all the same.
      target_compile_options(${target} PRIVATE -fno-tree-slp-vectorize)
    endif()
    if(MODELCORE_WERROR)
      target_compile_options(${target} PRIVATE -Werror)
    endif()
  endif()
  if(MODELCORE_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${MODELCORE_SANITIZE} -fno-sanitize-recover=all
      -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${MODELCORE_SANITIZE})
  endif()
endfunction()

# One test program per folder of tests/: modelcore_add_tests(matrix MCSymMatrixTest.cpp ...). After THREADS stand the
# tests that use threads, Suite.Test each; they get the label "threads", by which the thread sanitizer's run finds them.
function(modelcore_add_tests folder)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "THREADS")
  set(target test-${folder})
  add_executable(${target} ${arg_UNPARSED_ARGUMENTS})
  modelcore_target_defaults(${target})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  target_compile_definitions(${target} PRIVATE MODELCORE_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data")
  target_link_libraries(${target} PRIVATE modelcore::modelcore GTest::gmock GTest::gtest_main)
  # Values of parameters would make names of 200 characters, and every line of ctest as wide.
  set(how TEST_PREFIX "${folder}." NO_PRETTY_TYPES NO_PRETTY_VALUES DISCOVERY_TIMEOUT 60)
  list(JOIN arg_THREADS ":" threads)
  gtest_discover_tests(${target} ${how} TEST_FILTER "-${threads}" PROPERTIES TIMEOUT 300)
  if(threads)
    gtest_discover_tests(${target} ${how} TEST_FILTER "${threads}" TEST_LIST ${target}_THREADS
      PROPERTIES TIMEOUT 300 LABELS threads)
    set_property(GLOBAL APPEND PROPERTY MODELCORE_THREADED_TESTS ${target})
  endif()
endfunction()

# One benchmark program: modelcore_add_benchmark(LinpackBench openblas ...) builds benchmarks/LinpackBench.cpp with the
# peers it names; the source defines RegisterContenders (benchmarks/support/PeerTable.h). Peers are header-only or linked here; the library never sees them.
function(modelcore_add_benchmark name)
  add_executable(${name} ${name}.cpp)
  modelcore_target_defaults(${name})
  # Peers' headers are full of conversions; the warnings of ours are seen in the other programs.
  target_compile_options(${name} PRIVATE -Wno-conversion -Wno-sign-conversion -Wno-shadow -march=native)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE modelcore::modelcore peer_table ${ARGN})
  add_dependencies(benchmarks ${name})
endfunction()
