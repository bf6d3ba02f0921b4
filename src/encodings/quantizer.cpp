// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/quantizer.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <new>

#include "base/endian.h"
#include "base/heap.h"
#include "encodings/color_tree.h"
#include "encodings/quantizer_rows.h"
#include "surface/row_walker.h"

namespace zav {

void IndexTable::AddLeaf(uint32_t color, int depth, uint32_t index) {
  subcells_[index] = static_cast<uint16_t>(index);
  if (depth <= 4) {
    FillCube(cells_.data(), kCell.Of(color), 4, 4 - depth, index << 6);
    return;
  }
  uint32_t& cell = cells_[kCell.Of(color)];
  if (cell == 0) {
    cell = (kMaxColors + 64 * subcell_blocks_++) << 6 | 63;
    std::fill_n(subcells_.data() + (cell >> 6), 64, uint16_t{0});
  }
  uint16_t* subcells = subcells_.data() + (cell >> 6);
  if (depth <= 6) {
    FillCube(subcells, kSubcell.Of(color), 2, 6 - depth, static_cast<uint16_t>(index));
    return;
  }
  uint16_t& subcell = subcells[kSubcell.Of(color)];
  if (subcell == 0) {
    subcell = static_cast<uint16_t>(kMaxColors + fine_blocks_);
    std::fill_n(fine_.data() + fine_blocks_++ * 64, 64, uint8_t{0});
  }
  FillCube(fine_.data() + ptrdiff_t{subcell - kMaxColors} * 64, kFine.Of(color), 2, 8 - depth,
           static_cast<uint8_t>(index));
}

namespace {

// The picture is walked twice. The first walk only builds the tree, which changes only at a pixel
// whose color has no leaf yet. The second gives each pixel its index in the finished tree and sums
// the leaves' colors; the sums are those that merging leaves would have collected.

struct FreeOnExit {
  void operator()(void* bytes) const { FreeBytes(bytes); }
};

/// Allocates a table too large for a host thread's stack; null when memory runs out.
template <typename T>
std::unique_ptr<T, FreeOnExit> NewTable() {
  uint8_t* bytes = AllocateBytes(sizeof(T));
  return std::unique_ptr<T, FreeOnExit>(bytes != nullptr ? new (bytes) T : nullptr);
}

struct Leaf {
  uint32_t color;
  int depth;
};

/// In palette order.
struct Leaves {
  std::array<Leaf, kMaxColors> list;
  size_t count = 0;
};

/// After an uncovered pixel, this many are tried one at a time: new colors come in clusters.
constexpr size_t kCluster = 8;

bool AddRow(const uint8_t* pixels, size_t count, const CoveredColors& covered, ColorTree& tree) {
  const QuantizerRows& rows = SelectedQuantizerRows();
  for (size_t i = 0; i < count;) {
    i += rows.find_uncovered(covered, pixels + i * 4, count - i);
    for (const size_t end = std::min(count, i + kCluster); i < end; ++i) {
      const uint32_t color = LoadLe32(pixels + i * 4);
      if (!covered.Contains(color) && !tree.Add(color)) return false;
    }
  }
  return true;
}

bool FindLeaves(const ZAV_CONVERTER& converter, Leaves& leaves) {
  const auto covered = NewTable<CoveredColors>();
  if (covered == nullptr) return false;
  ColorTree tree(*covered);
  bool built = true;
  ReadRows(converter, [&](const uint8_t* pixels, size_t count) {
    built = built && AddRow(pixels, count, *covered, tree);
  });
  tree.ForEachLeaf([&](uint32_t color, int depth) {
    leaves.list[leaves.count++] = {color, depth};
  });
  return built;
}

/// How many levels down from the root two colors share their path.
int SharedDepth(const Leaf& a, const Leaf& b) {
  const uint32_t differing = a.color ^ b.color;
  return std::countl_zero(static_cast<uint8_t>(differing | differing >> 8 | differing >> 16));
}

void FillTable(const Leaves& leaves, IndexTable& table) {
  int shared_before = -1;
  for (size_t i = 0; i < leaves.count; ++i) {
    const Leaf& leaf = leaves.list[i];
    const int shared_after = i + 1 < leaves.count ? SharedDepth(leaf, leaves.list[i + 1]) : -1;
    // At this depth the leaf is alone. Above depth 4, where a cube is more than one entry, filling
    // more than the leaf's cube gains nothing.
    const int alone = std::max(shared_before, shared_after) + 1;
    table.AddLeaf(leaf.color, std::max(alone, std::min(leaf.depth, 4)), static_cast<uint32_t>(i));
    shared_before = shared_after;
  }
}

struct Totals {
  std::array<uint64_t, 4> lanes;
};

struct Mapping {
  IndexTable table;
  LeafSums sums{};
  std::array<Totals, kMaxColors> totals{};
  size_t pending = 0;  ///< pixels in `sums`

  /// The pixels that 32-bit sums certainly hold.
  static constexpr size_t kMostPending = size_t{1} << 24;

  void MapRow(const uint8_t* pixels, uint8_t* dest, size_t count);
  void Flush();
};

void Mapping::MapRow(const uint8_t* pixels, uint8_t* dest, size_t count) {
  while (count != 0) {
    if (pending == kMostPending) Flush();
    const size_t part = std::min(count, kMostPending - pending);
    SelectedQuantizerRows().map(table, sums, pixels, dest, part);
    pending += part;
    pixels += part * 4;
    dest += part;
    count -= part;
  }
}

void Mapping::Flush() {
  for (size_t i = 0; i < sums.size(); ++i) {
    for (size_t lane = 0; lane < 4; ++lane) {
      for (const auto& half : sums[i].halves) totals[i].lanes[lane] += half[lane];
    }
  }
  sums = LeafSums{};
  pending = 0;
}

void StorePalette(const Mapping& mapping, size_t colors, uint8_t* palette) {
  std::memset(palette, 0xFF, ZAV_PALETTE_BYTES);
  for (size_t i = 0; i < colors; ++i) {
    const auto& lanes = mapping.totals[i].lanes;
    for (size_t c = 0; c < 3; ++c) palette[i * 4 + c] = static_cast<uint8_t>(lanes[c] / lanes[3]);
  }
}

}  // namespace

bool QuantizeToPal8(ZAV_CONVERTER& converter) {
  Leaves leaves;
  if (!FindLeaves(converter, leaves)) return false;
  const auto mapping = NewTable<Mapping>();
  if (mapping == nullptr) return false;
  FillTable(leaves, mapping->table);
  WalkRows(converter, [&](const uint8_t* pixels, uint8_t* dest, size_t count) {
    mapping->MapRow(pixels, dest, count);
  });
  mapping->Flush();
  StorePalette(*mapping, leaves.count, converter.dest.palette);
  return true;
}

}  // namespace zav
