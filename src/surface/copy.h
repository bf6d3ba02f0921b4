// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// Copies `count` bytes between buffers that do not overlap; nothing for a count below 1.
void FastCopy(uint8_t* dest, const uint8_t* source, int64_t count);

/// Copies `rows` rows of `row_bytes`, each side stepping by its own pitch, which may be
/// negative where they do not overlap; with positive pitches they may. Nothing unless there is a
/// row and a byte.
void CopyRows(uint8_t* dest, const uint8_t* source, int64_t row_bytes, int64_t rows,
              int64_t dest_pitch, int64_t source_pitch);

}  // namespace zav
