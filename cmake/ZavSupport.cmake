# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT

# Shared by tests, fuzzers and benchmarks: guarded buffers, pictures, plain twins, forced targets.
# The recorder and the failing heap replace library code, so only the tests link them.
if(TARGET zav_support)
  return()
endif()
file(GLOB ZAV_SUPPORT_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/support/*.cpp)
list(FILTER ZAV_SUPPORT_SOURCES EXCLUDE REGEX "trace_recorder|failing_heap")
# The baseline for straightforward code; -O3 would vectorise its byte loops.
set_source_files_properties(${PROJECT_SOURCE_DIR}/tests/support/plain_packer.cpp
  PROPERTIES COMPILE_OPTIONS -O2)
add_library(zav_support STATIC ${ZAV_SUPPORT_SOURCES})
zav_target_defaults(zav_support)
target_include_directories(zav_support PUBLIC ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(zav_support PUBLIC zav_static zav_vector zav_jpeg)
