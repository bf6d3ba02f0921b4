// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/block_pool.h"

namespace zav {

// Colours here are BGRA32 pixels as words (0xAARRGGBB); the alpha byte is ignored. A node at depth
// d of the tree covers the colours that agree in the top d bits of red, green and blue: a cube.

inline constexpr int32_t kMaxColors = 256;
inline constexpr int kLeafDepth = 8;

// A colour's place within a table over cubes is the concatenation of some bits of blue, green and
// red. One multiplication gathers them at the top of a 32-bit word: it adds three shifted copies of
// the masked colour, of which only the wanted fields reach the top without overlapping.

/// The cube of depth 4 (12 bits).
inline uint32_t CellOf(uint32_t color) { return ((color & 0xF0F0F0) * 0x01001001u) >> 20; }
/// The cube of depth 6 within its cell (6 bits).
inline uint32_t SubcellOf(uint32_t color) { return ((color & 0x0C0C0C) * 0x10040100u) >> 26; }
/// The colour within its subcell (6 bits).
inline uint32_t FineOf(uint32_t color) { return ((color & 0x030303) * 0x40100400u) >> 26; }

/// Sets the entries of a cube with sides of 2^free_bits in a table over 2^channel_bits values of
/// each channel; `place` is any place within the cube.
template <typename T>
void FillCube(T* table, uint32_t place, int channel_bits, int free_bits, T value) {
  const uint32_t side = 1u << free_bits;
  const uint32_t green = 1u << channel_bits;
  const uint32_t blue = green << channel_bits;
  T* cube = table + (place & ~((side - 1) * (1 + green + blue)));
  for (uint32_t b = 0; b < side; ++b) {
    for (uint32_t g = 0; g < side; ++g) {
      for (uint32_t r = 0; r < side; ++r) cube[b * blue + g * green + r] = value;
    }
  }
}

/// Which colours have a leaf. Leaves only ever grow, so that what is known once stays true: nothing
/// is taken back when leaves merge.
class CoveredColors {
 public:
  /// False where the answer is not known without a walk down the tree.
  bool Contains(uint32_t color) const {
    return (cells_[CellOf(color)] >> SubcellOf(color) & 1) != 0 ||
           seen_[SeenPlace(color)] == (color | 0xFF000000);
  }
  void AddColor(uint32_t color) { seen_[SeenPlace(color)] = color | 0xFF000000; }
  /// The leaf of this depth that holds the colour.
  void AddLeaf(uint32_t color, int depth);

 private:
  static uint32_t SeenPlace(uint32_t color) { return ((color & 0xFFFFFF) * 0x9E3779B1u) >> 20; }

  std::array<uint64_t, 4096> cells_;  ///< a bit per subcell
  std::array<uint32_t, 4096> seen_;   ///< the latest colours added, opaque; 0: none
};

/// The octree of a picture's colours, with at most kMaxColors leaves.
///
/// What decides the tree is the order in which colours come first: a leaf too many makes the newest
/// of the deepest inner nodes a leaf in place of its children. How many pixels a leaf stands for
/// plays no part, so nodes carry no sums.
class ColorTree {
 public:
  struct Node {
    std::array<Node*, 8> children;
    Node* next_reducible;
    uint32_t color;  ///< of one pixel in the cube
    bool leaf;
  };

  /// `covered` is told of every leaf.
  explicit ColorTree(CoveredColors& covered);
  ColorTree(const ColorTree&) = delete;
  ColorTree& operator=(const ColorTree&) = delete;
  ~ColorTree() { pool_.ReleaseAll(); }

  /// Makes sure that the colour has a leaf. False when memory runs out; the tree is then of no more
  /// use.
  bool Add(uint32_t color);

  int32_t leaf_count() const { return leaf_count_; }

  /// Calls `visit(color, depth)` for every leaf, in palette order: by the interleaved bits of red,
  /// green and blue.
  template <typename Visit>
  void ForEachLeaf(Visit&& visit) const {
    if (root_ != nullptr) VisitLeaves(*root_, 0, visit);
  }

 private:
  template <typename Visit>
  static void VisitLeaves(const Node& node, int depth, Visit& visit) {
    if (node.leaf) {
      visit(node.color, depth);
      return;
    }
    for (const Node* child : node.children) {
      if (child != nullptr) VisitLeaves(*child, depth + 1, visit);
    }
  }

  Node* NewNode(uint32_t color, int depth, bool leaf);
  void Reduce();

  BlockPool pool_;
  CoveredColors& covered_;
  Node* root_ = nullptr;
  int32_t leaf_count_ = 0;
  int deepest_ = 0;                            ///< no list of reducible nodes below it holds any
  std::array<Node*, kLeafDepth> reducible_{};  ///< inner nodes by depth, newest first
};

}  // namespace zav
