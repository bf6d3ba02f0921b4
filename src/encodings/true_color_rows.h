// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace zav {

/// Converts `count` consecutive pixels. Swaps may work in place; otherwise the buffers do not
/// overlap.
using PixelRow = void (*)(const uint8_t* source, uint8_t* dest, size_t count);
/// Looks `count` indices up in a palette of 256 4-byte entries.
using PaletteRow = void (*)(const uint8_t* source, const uint8_t* palette, uint8_t* dest,
                            size_t count);

/// The row functions of the true-color kernels.
struct TrueColorRows {
  PixelRow swap_red_blue_32;
  PixelRow swap_red_blue_24;
  PixelRow narrow_32_to_24;
  PixelRow narrow_32_to_24_swap;
  PixelRow widen_24_to_32;
  PixelRow widen_24_to_32_swap;
  PaletteRow lookup_32;  ///< entry bytes 0 to 3
  PaletteRow lookup_24;  ///< entry bytes 0 to 2
};

/// One implementation: rows for any picture, and streaming ones (platform/stream_copy.h). The
/// latter need what StreamRow guarantees: a destination that starts a cache line, a multiple of 64
/// pixels, not in place, and at least one more source pixel on both sides.
struct TrueColorTables {
  const char* target;  ///< "plain" or the instruction set's name
  TrueColorRows rows, streaming;
};

/// The reference: one pixel at a time, ordinary stores.
const TrueColorTables& PlainTrueColor();

/// The fastest for this processor, or the ones that a test forced (platform/vector_target.h).
const TrueColorTables& SelectedTrueColor();

}  // namespace zav
