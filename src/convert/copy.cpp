// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/copy.h"

#include <cstring>
#include <functional>

namespace zav {

// The C library's memcpy picks the widest moves of the processor and turns to non-temporal stores
// by itself where a copy is larger than the cache serves.

void FastCopy(uint8_t* dest, const uint8_t* source, int64_t count) {
  if (count >= 1) std::memcpy(dest, source, static_cast<size_t>(count));
}

void CopyRows(uint8_t* dest, const uint8_t* source, int64_t row_bytes, int64_t rows,
              int64_t dest_pitch, int64_t source_pitch) {
  if (row_bytes < 1 || rows < 1) return;
  if (row_bytes == dest_pitch && row_bytes == source_pitch) {
    std::memmove(dest, source, static_cast<size_t>(row_bytes * rows));
    return;
  }
  // Where the destination starts inside the source, later source rows would be overwritten before
  // they are read: start at the end. memmove takes care of the overlap inside a row.
  const bool backwards =
      std::greater<>()(dest, source) &&
      std::less<>()(static_cast<const uint8_t*>(dest), source + rows * source_pitch);
  for (int64_t i = 0; i < rows; ++i) {
    const int64_t row = backwards ? rows - 1 - i : i;
    std::memmove(dest + row * dest_pitch, source + row * source_pitch,
                 static_cast<size_t>(row_bytes));
  }
}

}  // namespace zav
