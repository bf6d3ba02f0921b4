// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "surface/copy.h"

#include <cstring>
#include <functional>

#include "platform/stream_copy.h"

namespace zav {

// The C library's memcpy uses the processor's widest moves and streams large blocks, but it only
// sees single rows. The decision for a whole picture is made here.

void FastCopy(uint8_t* dest, const uint8_t* source, int64_t count) {
  CopyRows(dest, source, count, 1, count, count);
}

void CopyRows(uint8_t* dest, const uint8_t* source, int64_t row_bytes, int64_t rows,
              int64_t dest_pitch, int64_t source_pitch) {
  if (row_bytes < 1 || rows < 1) return;
  if (row_bytes == dest_pitch && row_bytes == source_pitch) {
    row_bytes *= rows;
    rows = 1;
  }
  const auto size = static_cast<size_t>(row_bytes);
  const uint8_t* const dest_end = dest + (rows - 1) * dest_pitch + row_bytes;
  const uint8_t* const source_end = source + (rows - 1) * source_pitch + row_bytes;
  const bool apart = !std::less<>()(source, dest_end) ||
                     !std::less<>()(static_cast<const uint8_t*>(dest), source_end);
  if (apart && StreamingPays(row_bytes, rows)) {
    for (int64_t i = 0; i < rows; ++i) {
      StreamCopy(dest + i * dest_pitch, source + i * source_pitch, size);
    }
    StreamFence();
    return;
  }
  // If the destination starts inside the source, start at the end: otherwise source rows would be
  // overwritten before they are read. memmove handles overlap within a row.
  const bool backwards =
      std::greater<>()(dest, source) &&
      std::less<>()(static_cast<const uint8_t*>(dest), source + rows * source_pitch);
  for (int64_t i = 0; i < rows; ++i) {
    const int64_t row = backwards ? rows - 1 - i : i;
    std::memmove(dest + row * dest_pitch, source + row * source_pitch, size);
  }
}

}  // namespace zav
