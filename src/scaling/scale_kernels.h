// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace zav {

/// One scaling: pictures of the same bytes per pixel, with all sides at least 1. Positions are
/// 16.16: destination column i lies at i * step_x, row j at j * step_y. The row below the last
/// position, and the column right of it, exist wherever the fraction is not zero.
struct ScaleJob {
  const uint8_t* source;
  uint8_t* dest;
  int64_t source_pitch;
  int64_t dest_pitch;
  int64_t source_row_bytes;  ///< of pixels: what may be read
  int64_t dest_width;
  int64_t dest_height;
  int64_t step_x;
  int64_t step_y;
  int32_t bytes;  ///< per pixel; 1 to 4, for the filter 3 or 4
};

/// One implementation of a scaling loop.
struct ScaleKernel {
  const char* target;  ///< "plain" or the instruction set's name
  void (*run)(const ScaleJob& job);
};

/// The references: one pixel at a time.
const ScaleKernel& PlainPointKernel();
const ScaleKernel& PlainBilinearKernel();

/// The fastest for this processor, or the ones that a test forced (platform/vector_target.h).
const ScaleKernel& SelectedPointKernel();
const ScaleKernel& SelectedBilinearKernel();

}  // namespace zav
