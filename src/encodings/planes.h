// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace zav {

/// Makes `count` pixels of the bytes of red, green, blue and, for four channels, alpha planes, in
/// the order blue, green, red, alpha. Nothing overlaps.
using PlaneRow = void (*)(const uint8_t* const* planes, uint8_t* dest, size_t count);

/// One implementation.
struct PlaneRows {
  const char* target;  ///< "plain" or the instruction set's name
  PlaneRow three, four;
};

/// The reference: one pixel at a time.
const PlaneRows& PlainPlaneRows();

/// The fastest for this processor, or the one that a test forced (platform/vector_target.h).
const PlaneRows& SelectedPlaneRows();

inline PlaneRow PlaneRowOf(int32_t channels) {
  const PlaneRows& rows = SelectedPlaneRows();
  return channels == 3 ? rows.three : rows.four;
}

}  // namespace zav
