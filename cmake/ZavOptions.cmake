# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT

option(ZAV_TRACE "Print the library's warnings to stderr" OFF)
option(ZAV_TOOL "Build the zav command (needs CLI11, fmt, nlohmann-json)" OFF)
option(ZAV_TESTS "Build the tests (needs GoogleTest)" OFF)
option(ZAV_FUZZ "Build the fuzzers (libFuzzer with clang; elsewhere they replay files)" OFF)
option(ZAV_BENCH "Build the benchmarks (needs Google Benchmark)" OFF)
option(ZAV_VECTOR "Use Highway for the vectorised kernels when it is there" ON)
set(ZAV_SANITIZE "" CACHE STRING "Sanitizers for every target, as -fsanitize takes them")

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

# Highway's targets: the plain code serves machines below SSE4, and the AVX-512 variants that only
# add instructions which no kernel uses are left out.
add_library(zav_vector INTERFACE)
set(ZAV_PRIVATE_LIBRARIES "")
set(ZAV_HAVE_HIGHWAY FALSE)
if(ZAV_VECTOR)
  find_package(hwy CONFIG QUIET)
  if(TARGET hwy::hwy)
    set(ZAV_HAVE_HIGHWAY TRUE)
    list(APPEND ZAV_PRIVATE_LIBRARIES hwy::hwy)
    target_link_libraries(zav_vector INTERFACE hwy::hwy)
    target_compile_definitions(zav_vector INTERFACE ZAV_HAVE_HIGHWAY
      HWY_DISABLED_TARGETS=HWY_SSSE3|HWY_AVX3_DL)
  endif()
endif()
if(ZAV_HAVE_HIGHWAY)
  message(STATUS "zav: Highway found, kernels are vectorised")
else()
  message(STATUS "zav: Highway not found or not wanted, the plain kernels serve")
endif()

# Sanitizers concern every target and everything that links them.
if(ZAV_SANITIZE)
  add_compile_options(-fsanitize=${ZAV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZAV_SANITIZE})
endif()

function(zav_target_defaults target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wconversion)
  if(ZAV_TRACE)
    target_compile_definitions(${target} PRIVATE ZAV_TRACE)
  endif()
endfunction()
