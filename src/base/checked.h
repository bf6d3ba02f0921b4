// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// The largest buffer: record fields that hold byte counts are signed 32-bit.
inline constexpr int64_t kMaxBytes = 0x7FFFFFFF;

/// Whether a buffer can have this many bytes.
constexpr bool IsBufferSize(int64_t bytes) { return bytes >= 1 && bytes <= kMaxBytes; }

constexpr int64_t RoundUp(int64_t value, int64_t multiple) {
  return (value + multiple - 1) / multiple * multiple;
}

}  // namespace zav
