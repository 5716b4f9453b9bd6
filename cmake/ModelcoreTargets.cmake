# What every target of this project is compiled with. Nothing here reaches a user's own targets.

include(CheckCXXCompilerFlag)

# Results must not depend on the compiler's freedom: multiply and add are rounded separately everywhere.
function(modelcore_target_defaults target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  if(MSVC)
    target_compile_options(${target} PRIVATE /fp:precise /utf-8 /W4)
  else()
    target_compile_options(${target} PRIVATE -ffp-contract=off
      -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion)
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

# One test program per folder of tests/: modelcore_add_tests(matrix MCSymMatrixTest.cpp ...).
function(modelcore_add_tests folder)
  set(target test-${folder})
  add_executable(${target} ${ARGN})
  modelcore_target_defaults(${target})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  target_compile_definitions(${target} PRIVATE MODELCORE_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data")
  target_link_libraries(${target} PRIVATE modelcore::modelcore GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${target} TEST_PREFIX "${folder}." DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
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
endfunction()
