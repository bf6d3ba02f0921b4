// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "surface/surface.h"

namespace zav {

// A squiz picture is a grid of square blocks. A block whose pixels all have the background colour
// of its row of blocks is left out; the others stand side by side in a strip that is one block
// high.
//
// Colours are compared as keys: the pixel, or the palette entry that an index selects, as a
// ZAV_FMT_BGRA32 word; 0 whatever its colour where its alpha is 0.

/// The blocks of a picture, and the row records: for every row of blocks the background's key, the
/// number of stored blocks, and a mask that has a bit for each block, the highest of a byte first,
/// set where the block is stored. The mask takes a byte for every block nevertheless, rounded up to
/// a multiple of 8, of which only the first eighth is used.
class SquizGrid {
 public:
  /// Sides and block size from 1 on.
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

/// What a picture is stored as. Owns both.
struct SquizParts {
  SquizParts() = default;
  SquizParts(const SquizParts&) = delete;
  SquizParts& operator=(const SquizParts&) = delete;
  ~SquizParts();

  uint8_t* records = nullptr;  ///< as many bytes as the grid says
  /// No pixels where nothing is stored. The palette is the picture's.
  ZAV_SURFACE strip{};
};

/// Parts a picture, which is ZAV_FMT_BGRA32 or ZAV_FMT_PAL8 with a palette. False when memory runs
/// out or the strip would be too large.
bool EncodeSquiz(const ZAV_SURFACE& picture, const SquizGrid& grid, SquizParts& parts);

/// How many blocks the masks call stored. The records' own counts are not looked at.
int64_t CountStoredBlocks(const uint8_t* records, const SquizGrid& grid);

/// Fills the picture, which has the strip's format, ZAV_FMT_BGRA32 or ZAV_FMT_PAL8, and its
/// palette. The strip must have a cell for each stored block. A palette without the background's
/// key gives its nearest entry.
void DecodeSquiz(const ZAV_SURFACE& strip, const uint8_t* records, const SquizGrid& grid,
                 const ZAV_SURFACE& picture);

}  // namespace zav
