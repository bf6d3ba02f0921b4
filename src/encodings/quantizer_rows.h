// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "encodings/color_cubes.h"
#include "encodings/color_tree.h"

namespace zav {

/// Maps a color to the index of its leaf. Valid only for colors in the picture.
class IndexTable {
 public:
  /// Call once for each leaf, with indices from 0 up. A leaf that is alone in a larger cube may be
  /// given that cube's depth, so that fewer look-ups find it.
  void AddLeaf(uint32_t color, int depth, uint32_t index);

  /// An entry for each cell: a place in subcells() times 64, plus a mask. The mask is 63 where a
  /// block of 64 entries is at that place, and 0 where it is a single one, so both are looked up
  /// without a branch.
  const uint32_t* cells() const { return cells_.data(); }
  /// Values below kMaxColors are indices, others blocks of fine entries.
  const uint16_t* subcells() const { return subcells_.data(); }
  uint8_t Fine(uint32_t color, uint32_t subcell) const {
    return fine_[(subcell - kMaxColors) * 64 + kFine.Of(color)];
  }

 private:
  std::array<uint32_t, 4096> cells_{};
  uint32_t subcell_blocks_ = 0;
  size_t fine_blocks_ = 0;
  // One entry for each index, then blocks, at most one per leaf. Blocks are cleared when they are
  // taken.
  std::array<uint16_t, size_t{kMaxColors} * 65> subcells_;
  std::array<uint8_t, size_t{kMaxColors} * 64> fine_;
};

/// Sums over a leaf's pixels: bytes 0, 1 and 2, and the count. Kept in two halves that are added at
/// the end: neighbours often share a leaf, and a single sum would wait for the previous store.
struct alignas(16) LeafSum {
  std::array<std::array<uint32_t, 4>, 2> halves;
};
using LeafSums = std::array<LeafSum, kMaxColors>;

/// The two walks of the quantizer over consecutive pixels.
struct QuantizerRows {
  const char* target;  ///< "plain" or the instruction set's name
  /// Returns the first pixel that is not known to be covered, or `count`.
  size_t (*find_uncovered)(const CoveredColors& covered, const uint8_t* pixels, size_t count);
  /// Writes the pixels' indices and adds the pixels to their sums.
  void (*map)(const IndexTable& table, LeafSums& sums, const uint8_t* pixels, uint8_t* dest,
              size_t count);
};

/// The reference: one pixel at a time.
const QuantizerRows& PlainQuantizerRows();

/// The fastest for this processor, or the one that a test forced (platform/vector_target.h).
const QuantizerRows& SelectedQuantizerRows();

}  // namespace zav
