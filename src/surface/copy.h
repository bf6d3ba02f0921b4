// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// Copies `count` bytes between buffers that do not overlap. A count below 1 copies nothing.
void FastCopy(uint8_t* dest, const uint8_t* source, int64_t count);

/// Copies `rows` rows of `row_bytes` bytes. Each side has a pitch, which may be negative if the two
/// do not overlap; with positive pitches they may overlap. Counts below 1 copy nothing.
void CopyRows(uint8_t* dest, const uint8_t* source, int64_t row_bytes, int64_t rows,
              int64_t dest_pitch, int64_t source_pitch);

}  // namespace zav
