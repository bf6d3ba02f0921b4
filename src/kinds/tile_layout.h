// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// A rectangle of the picture and its position in its tile.
struct TilePiece {
  int32_t tile_x, tile_y;
  int32_t x, y;
  int32_t width, height;
};

/// The division of a picture into tiles. It is not stored, so writers and readers must agree, and
/// this is the only place that defines it.
///
/// A picture that is at least as wide as high is cut across its width into bands of `tile_size`
/// columns. A tile takes as many whole bands as fit, one below the other. A band higher than the
/// tile size is cut into parts, each in a separate tile; they follow the band from top to bottom.
/// For pictures that are higher than wide, exchange the directions. Tiles are as small as powers of
/// two allow.
///
///   for (TileLayout layout(width, height, 256); layout.NextTile();) {
///     for (TilePiece piece; layout.NextPiece(piece);) ...
///   }
class TileLayout {
 public:
  /// Sides are at least 1; the tile size is a power of two.
  TileLayout(int32_t width, int32_t height, int32_t tile_size);

  int64_t tile_count() const { return tile_count_; }

  /// Moves to the next tile, initially the first. No later tile is wider or higher than the first.
  bool NextTile();
  int32_t tile_width() const { return wide_ ? tile_length_ : tile_breadth_; }
  int32_t tile_height() const { return wide_ ? tile_breadth_ : tile_length_; }

  /// The next piece of the current tile.
  bool NextPiece(TilePiece& piece);

 private:
  // "Length" runs along the picture's longer side, "breadth" along the other.
  const bool wide_;
  const int32_t length_;
  const int32_t breadth_;
  const int32_t tile_size_;
  const int64_t bands_;
  const int64_t parts_;           ///< tiles of a band
  const int64_t bands_per_tile_;  ///< 1 if a band has several tiles
  const int64_t tile_count_;

  int64_t next_tile_ = 0;
  int64_t first_band_ = 0;
  int64_t pieces_ = 0;
  int64_t next_piece_ = 0;
  int64_t part_start_ = 0;  ///< of the tile's part, along the breadth
  int32_t part_breadth_ = 0;
  int32_t tile_length_ = 0;
  int32_t tile_breadth_ = 0;
};

}  // namespace zav
