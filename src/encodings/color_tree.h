// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/block_pool.h"
#include "encodings/color_cubes.h"

namespace zav {

/// Which colors have a leaf. Leaves only grow, so an entry stays true when leaves merge.
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
  /// The leaf of this depth that holds the color.
  void AddLeaf(uint32_t color, int depth);

 private:
  static uint32_t SeenPlace(uint32_t color) { return ((color & 0xFFFFFF) * 0x9E3779B1u) >> 20; }

  std::array<uint64_t, 4096> cells_{};
  std::array<uint32_t, 4096> seen_{};  ///< the latest colors added, opaque; 0: none
};

/// The octree of a picture's colors, with at most kMaxColors leaves.
///
/// The tree depends on the order in which colors first appear: one leaf too many makes the newest
/// of the deepest inner nodes a leaf in place of its children. The number of pixels in a leaf does
/// not matter, so nodes carry no sums.
class ColorTree {
 public:
  struct Node {
    Node* next_reducible;
    uint32_t color;  ///< of one pixel in the cube
    bool leaf;
    uint8_t present;    ///< a bit for each child that exists
    Node* children[8];  ///< the others are not initialised
  };

  /// Every leaf is also added to `covered`.
  explicit ColorTree(CoveredColors& covered);
  ColorTree(const ColorTree&) = delete;
  ColorTree& operator=(const ColorTree&) = delete;
  ~ColorTree() { pool_.ReleaseAll(); }

  /// Makes sure that the color has a leaf. False when memory runs out; the tree is then unusable.
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
  int deepest_ = 0;                            ///< the lists of reducible nodes below it are empty
  std::array<Node*, kLeafDepth> reducible_{};  ///< inner nodes by depth, newest first
};

}  // namespace zav
