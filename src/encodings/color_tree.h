// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/block_pool.h"
#include "encodings/color_cubes.h"

namespace zav {

/// Which colours have a leaf. Leaves only ever grow, so that what is known once stays true: nothing
/// is taken back when leaves merge.
class CoveredColors {
 public:
  /// False where the answer is not known without a walk down the tree.
  bool Contains(uint32_t color) const {
    return (cells_[kCell.Of(color)] >> kSubcell.Of(color) & 1) != 0 || Seen(color);
  }
  bool Seen(uint32_t color) const { return seen_[SeenPlace(color)] == (color | 0xFF000000); }
  /// A bit per subcell, for each cell.
  const uint64_t* cells() const { return cells_.data(); }
  void AddColor(uint32_t color) { seen_[SeenPlace(color)] = color | 0xFF000000; }
  /// The leaf of this depth that holds the colour.
  void AddLeaf(uint32_t color, int depth);

 private:
  static uint32_t SeenPlace(uint32_t color) { return ((color & 0xFFFFFF) * 0x9E3779B1u) >> 20; }

  std::array<uint64_t, 4096> cells_{};
  std::array<uint32_t, 4096> seen_{};  ///< the latest colours added, opaque; 0: none
};

/// The octree of a picture's colours, with at most kMaxColors leaves.
///
/// What decides the tree is the order in which colours come first: a leaf too many makes the newest
/// of the deepest inner nodes a leaf in place of its children. How many pixels a leaf stands for
/// plays no part, so nodes carry no sums.
class ColorTree {
 public:
  struct Node {
    Node* next_reducible;
    uint32_t color;  ///< of one pixel in the cube
    bool leaf;
    uint8_t present;    ///< a bit for each child that there is
    Node* children[8];  ///< the others are not initialised
  };

  /// `covered` is told of every leaf.
  explicit ColorTree(CoveredColors& covered);
  ColorTree(const ColorTree&) = delete;
  ColorTree& operator=(const ColorTree&) = delete;
  ~ColorTree() { pool_.ReleaseAll(); }

  /// Makes sure that the colour has a leaf. False when memory runs out; the tree is then of no more
  /// use.
  bool Add(uint32_t color);

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
    for (size_t k = 0; k < 8; ++k) {
      if ((node.present >> k & 1) != 0) VisitLeaves(*node.children[k], depth + 1, visit);
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
