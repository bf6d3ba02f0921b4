// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/color_tree.h"

#include <algorithm>
#include <bit>
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

/// The path to a color: three bits (red, green, blue) for each depth, the root's topmost.
uint32_t PathOf(uint32_t color) {
  return Spread(color >> 16 & 0xFF) << 2 | Spread(color >> 8 & 0xFF) << 1 | Spread(color & 0xFF);
}

size_t ChildIndex(uint32_t path, int depth) { return path >> (21 - 3 * depth) & 7; }

}  // namespace

void CoveredColors::AddLeaf(uint32_t color, int depth) {
  if (depth <= 4) {
    FillCube(cells_.data(), kCell.Of(color), 4, 4 - depth, ~uint64_t{0});
  } else if (depth <= 6) {
    // The places of the 8 subcells differ only in the lowest bit of each of the three fields.
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
  Node* node = new (block) Node;  // children are not initialised
  node->next_reducible = nullptr;
  node->color = color;
  node->leaf = leaf;
  node->present = 0;
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
  covered_.AddColor(color);
  const uint32_t path = PathOf(color);
  int depth = 0;
  if (root_ == nullptr) {
    root_ = NewNode(color, depth, false);
    if (root_ == nullptr) return false;
  }
  Node* node = root_;
  for (; !node->leaf; ++depth) {
    const size_t child = ChildIndex(path, depth);
    if ((node->present >> child & 1) == 0) break;
    node = node->children[child];
  }
  if (node->leaf) return true;

  // With all leaves taken, a chain of new nodes down to depth 8 would at once be reduced from its
  // lower end, node by node, up to the depth of the deepest inner node before. So the leaf is made
  // there.
  const int leaf_depth = leaf_count_ < kMaxColors ? kLeafDepth : std::max(depth + 1, deepest_);
  while (depth < leaf_depth) {
    const size_t child = ChildIndex(path, depth);
    ++depth;
    Node* made = NewNode(color, depth, depth == leaf_depth);
    if (made == nullptr) return false;
    node->present = static_cast<uint8_t>(node->present | 1u << child);
    node->children[child] = made;
    node = made;
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
  for (uint32_t left = node->present; left != 0; left &= left - 1) {
    pool_.Free(node->children[std::countr_zero(left)]);
    --leaf_count_;
  }
  node->leaf = true;
  ++leaf_count_;
  covered_.AddLeaf(node->color, depth);
}

}  // namespace zav
