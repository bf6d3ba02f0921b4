// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "kinds/color_tree.h"

#include <algorithm>
#include <new>

namespace zav {
namespace {

constexpr int32_t kNodesPerChunk = 256;

/// Bits of one channel, three places apart.
constexpr uint32_t Spread(uint32_t value) {
  value = (value | value << 8) & 0x00F00F;
  value = (value | value << 4) & 0x0C30C3;
  return (value | value << 2) & 0x249249;
}

/// The path to a colour: three bits (red, green, blue) for each depth, the root's topmost.
uint32_t PathOf(uint32_t color) {
  return Spread(color >> 16 & 0xFF) << 2 | Spread(color >> 8 & 0xFF) << 1 | Spread(color & 0xFF);
}

size_t ChildIndex(uint32_t path, int depth) { return path >> (21 - 3 * depth) & 7; }

}  // namespace

void CoveredColors::AddLeaf(uint32_t color, int depth) {
  if (depth <= 4) {
    FillCube(cells_.data(), kCell.Of(color), 4, 4 - depth, ~uint64_t{0});
  } else if (depth <= 6) {
    // 8 subcells agree in all but the lowest bits of their places' three fields.
    const uint32_t subcell = kSubcell.Of(color);
    cells_[kCell.Of(color)] |=
        depth == 6 ? uint64_t{1} << subcell : uint64_t{0x330033} << (subcell & ~0x15u);
  }
}

ColorTree::ColorTree(CoveredColors& covered) : covered_(covered) {
  pool_.Init(kNodesPerChunk, sizeof(Node));
}

ColorTree::Node* ColorTree::NewNode(uint32_t color, int depth, bool leaf) {
  void* block = pool_.Alloc();
  if (block == nullptr) return nullptr;
  Node* node = new (block) Node{};
  node->color = color;
  node->leaf = leaf;
  if (leaf) {
    ++leaf_count_;
    covered_.AddLeaf(color, depth);
  } else {
    node->next_reducible = reducible_[static_cast<size_t>(depth)];
    reducible_[static_cast<size_t>(depth)] = node;
    deepest_ = std::max(deepest_, depth);
  }
  return node;
}

bool ColorTree::Add(uint32_t color) {
  const uint32_t path = PathOf(color);
  Node** slot = &root_;
  int depth = 0;
  for (; *slot != nullptr && !(*slot)->leaf; ++depth) {
    slot = &(*slot)->children[ChildIndex(path, depth)];
  }
  covered_.AddColor(color);
  if (*slot != nullptr) return true;

  // With all leaves taken, a chain of new nodes down to depth 8 would be reduced from its lower end
  // at once, one node with a single child after the other, up to the depth of the deepest inner
  // node that was there before. So the leaf is made there.
  const int leaf_depth = leaf_count_ < kMaxColors ? kLeafDepth : std::max(depth, deepest_);
  for (;; ++depth) {
    *slot = NewNode(color, depth, depth == leaf_depth);
    if (*slot == nullptr) return false;
    if (depth == leaf_depth) break;
    slot = &(*slot)->children[ChildIndex(path, depth)];
  }
  while (leaf_count_ > kMaxColors) Reduce();
  return true;
}

void ColorTree::Reduce() {
  // Never the root: it has at most eight children, and eight leaves are not too many.
  Node* node = reducible_[static_cast<size_t>(deepest_)];
  reducible_[static_cast<size_t>(deepest_)] = node->next_reducible;
  const int depth = deepest_;
  while (deepest_ > 0 && reducible_[static_cast<size_t>(deepest_)] == nullptr) --deepest_;
  for (Node*& child : node->children) {
    if (child == nullptr) continue;
    pool_.Free(child);
    child = nullptr;
    --leaf_count_;
  }
  node->leaf = true;
  ++leaf_count_;
  covered_.AddLeaf(node->color, depth);
}

}  // namespace zav
