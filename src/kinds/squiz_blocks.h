// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "surface/surface.h"

namespace zav {

// A squiz picture is a grid of square blocks. Each row of blocks has a background color. Blocks
// that are all background are left out; the others are placed side by side in a strip one block
// high.
//
// Colors are compared by key: the pixel, or the palette entry of its index, as a ZAV_FMT_BGRA32
// word, or 0 if its alpha is 0.

/// The blocks of a picture and the layout of the row records. A record has the row's background
/// key, the number of stored blocks, and a mask with a bit for each block, most significant first,
/// that is set if the block is stored. The mask's size is one byte for each block, rounded up to a
/// multiple of 8, though only the first eighth is used.
class SquizGrid {
 public:
  /// Sides and block size are at least 1.
  SquizGrid(int32_t width, int32_t height, int32_t block_size);

  int32_t block_size() const { return block_size_; }
  int64_t columns() const { return columns_; }
  int64_t rows() const { return rows_; }
  int64_t row_record_bytes() const { return row_record_bytes_; }
  int64_t record_bytes() const { return rows_ * row_record_bytes_; }

 private:
  int32_t block_size_;
  int64_t columns_;
  int64_t rows_;
  int64_t row_record_bytes_;
};

/// The stored form of a picture. Owns its buffers.
struct SquizParts {
  SquizParts() = default;
  SquizParts(const SquizParts&) = delete;
  SquizParts& operator=(const SquizParts&) = delete;
  ~SquizParts();

  uint8_t* records = nullptr;  ///< SquizGrid::record_bytes() of them
  /// Without pixels if no block is stored. The palette is the picture's.
  ZAV_SURFACE strip{};
};

/// Divides a picture, which is ZAV_FMT_BGRA32 or ZAV_FMT_PAL8 with a palette. False when memory
/// runs out or the strip would be too large.
bool EncodeSquiz(const ZAV_SURFACE& picture, const SquizGrid& grid, SquizParts& parts);

/// The number of stored blocks by the masks. The counts in the records are not used.
int64_t CountStoredBlocks(const uint8_t* records, const SquizGrid& grid);

/// Fills the picture, which has the strip's format (ZAV_FMT_BGRA32 or ZAV_FMT_PAL8) and palette.
/// The strip must have a cell for each stored block. If the palette lacks the background's key, the
/// nearest entry is used.
void DecodeSquiz(const ZAV_SURFACE& strip, const uint8_t* records, const SquizGrid& grid,
                 const ZAV_SURFACE& picture);

}  // namespace zav
