# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT

option(ZAV_TRACE "Print the library's warnings to stderr" OFF)
option(ZAV_TOOL "Build the zav command (needs CLI11, fmt, nlohmann-json)" OFF)
option(ZAV_TESTS "Build the tests (needs GoogleTest)" OFF)
option(ZAV_FUZZ "Build the fuzzers (libFuzzer with clang; otherwise they replay files)" OFF)
option(ZAV_BENCH "Build the benchmarks (needs Google Benchmark)" OFF)
option(ZAV_VECTOR "Use Highway for the vectorised kernels if it is installed" ON)
option(ZAV_JPEG "Use libjpeg-turbo for JPEG data if it is installed" ON)
set(ZAV_SANITIZE "" CACHE STRING "Sanitizers for every target, as -fsanitize takes them")

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

# Highway's targets. Machines below SSE4 use the plain code. Left out are the AVX-512 variants that
# only add instructions no kernel uses, and vectors of unknown size, because kernels keep vectors in
# structures; ARM machines that have those have NEON too.
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
      "HWY_DISABLED_TARGETS=(HWY_SSSE3|HWY_AVX3_DL|HWY_SVE|HWY_SVE2|HWY_SVE_256|HWY_SVE2_128|HWY_RVV)")
  endif()
endif()
if(ZAV_HAVE_HIGHWAY)
  message(STATUS "zav: Highway found, kernels are vectorised")
else()
  message(STATUS "zav: without Highway, only the plain kernels are built")
endif()

# Only libjpeg-turbo, not other libraries with its interface, has extended color spaces such as BGR.
add_library(zav_jpeg INTERFACE)
set(ZAV_HAVE_JPEG FALSE)
if(ZAV_JPEG)
  find_package(JPEG QUIET)
  if(TARGET JPEG::JPEG)
    include(CheckCXXSourceCompiles)
    set(CMAKE_REQUIRED_LIBRARIES JPEG::JPEG)
    check_cxx_source_compiles("#include <cstdio>
      #include <jpeglib.h>
      int main() { return JCS_EXT_BGRA + JDCT_ISLOW; }" ZAV_JPEG_IS_TURBO)
    unset(CMAKE_REQUIRED_LIBRARIES)
  endif()
  if(ZAV_JPEG_IS_TURBO)
    set(ZAV_HAVE_JPEG TRUE)
    list(APPEND ZAV_PRIVATE_LIBRARIES JPEG::JPEG)
    target_link_libraries(zav_jpeg INTERFACE JPEG::JPEG)
    target_compile_definitions(zav_jpeg INTERFACE ZAV_HAVE_JPEG)
  endif()
endif()
if(ZAV_HAVE_JPEG)
  message(STATUS "zav: libjpeg-turbo found")
else()
  message(STATUS "zav: without libjpeg-turbo, JPEG operations fail")
endif()

# Sanitizers apply to every target and to everything that links one.
if(ZAV_SANITIZE)
  add_compile_options(-fsanitize=${ZAV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZAV_SANITIZE})
endif()

function(zav_target_defaults target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_compile_definitions(${target} PRIVATE _FILE_OFFSET_BITS=64)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wconversion)
  if(ZAV_TRACE)
    target_compile_definitions(${target} PRIVATE ZAV_TRACE)
  endif()
endfunction()
