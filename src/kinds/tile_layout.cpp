// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "kinds/tile_layout.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace zav {
namespace {

constexpr int64_t CeilDivide(int64_t value, int64_t divisor) {
  return (value + divisor - 1) / divisor;
}

constexpr int32_t PowerOfTwo(int64_t least) {
  return static_cast<int32_t>(std::bit_ceil(static_cast<uint64_t>(least)));
}

}  // namespace

TileLayout::TileLayout(int32_t width, int32_t height, int32_t tile_size)
    : wide_(width >= height),
      length_(std::max(width, height)),
      breadth_(std::min(width, height)),
      tile_size_(tile_size),
      bands_(CeilDivide(length_, tile_size)),
      parts_(CeilDivide(breadth_, tile_size)),
      bands_per_tile_(std::max(tile_size / breadth_, 1)),
      tile_count_(CeilDivide(bands_, bands_per_tile_) * parts_) {}

bool TileLayout::NextTile() {
  if (next_tile_ == tile_count_) return false;
  first_band_ = next_tile_ / parts_ * bands_per_tile_;
  pieces_ = std::min(bands_per_tile_, bands_ - first_band_);
  next_piece_ = 0;
  part_start_ = next_tile_ % parts_ * tile_size_;
  part_breadth_ = static_cast<int32_t>(std::min<int64_t>(tile_size_, breadth_ - part_start_));
  // The first band is the longest of a tile: only the picture's last one may be shorter.
  tile_length_ = PowerOfTwo(std::min<int64_t>(tile_size_, length_ - first_band_ * tile_size_));
  tile_breadth_ = PowerOfTwo((pieces_ - 1) * breadth_ + part_breadth_);
  ++next_tile_;
  return true;
}

bool TileLayout::NextPiece(TilePiece& piece) {
  if (next_piece_ == pieces_) return false;
  const int64_t start = (first_band_ + next_piece_) * tile_size_;
  piece.tile_x = 0;
  piece.tile_y = static_cast<int32_t>(next_piece_ * breadth_);
  piece.x = static_cast<int32_t>(start);
  piece.y = static_cast<int32_t>(part_start_);
  piece.width = static_cast<int32_t>(std::min<int64_t>(tile_size_, length_ - start));
  piece.height = part_breadth_;
  if (!wide_) {
    std::swap(piece.tile_x, piece.tile_y);
    std::swap(piece.x, piece.y);
    std::swap(piece.width, piece.height);
  }
  ++next_piece_;
  return true;
}

}  // namespace zav
