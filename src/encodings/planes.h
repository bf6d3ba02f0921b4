// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace zav {

// Plane c holds byte c of every pixel. Planes and pixels may start anywhere, but must not overlap.

/// Interleaves `count` bytes of each plane into pixels.
using InterleaveRow = void (*)(const uint8_t* const* planes, uint8_t* pixels, size_t count);

/// Splits `count` pixels into planes.
using SplitRow = void (*)(const uint8_t* pixels, uint8_t* const* planes, size_t count);

/// One implementation.
struct PlaneRows {
  const char* target;  ///< "plain" or the instruction set's name
  InterleaveRow interleave3, interleave4;
  SplitRow split4;
};

/// The reference: one pixel at a time.
const PlaneRows& PlainPlaneRows();

/// The fastest for this processor, or the one that a test forced (platform/vector_target.h).
const PlaneRows& SelectedPlaneRows();

/// For 3 or 4 planes.
inline InterleaveRow InterleaveRowOf(int32_t planes) {
  const PlaneRows& rows = SelectedPlaneRows();
  return planes == 3 ? rows.interleave3 : rows.interleave4;
}

}  // namespace zav
