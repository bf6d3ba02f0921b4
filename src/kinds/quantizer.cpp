// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "kinds/quantizer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "base/endian.h"
#include "base/heap.h"
#include "convert/row_walker.h"
#include "kinds/color_tree.h"

namespace zav {
namespace {

// The picture is walked twice. The first walk only builds the tree, for which a pixel counts when
// its colour has no leaf yet: nearly all are passed over after two look-ups. The second gives each
// pixel its index in the finished tree and sums the leaves' colours, which adds up to what leaves
// that grow by merging would have summed.

struct FreeOnExit {
  void operator()(void* bytes) const { FreeBytes(bytes); }
};

/// Zeroed memory for tables that would burden a host thread's stack.
template <typename T>
std::unique_ptr<T, FreeOnExit> AllocateTable() {
  return std::unique_ptr<T, FreeOnExit>(reinterpret_cast<T*>(AllocateZeroed(sizeof(T))));
}

/// Runs of equal pixels are passed over in blocks.
constexpr size_t kBlock = 8;

/// Whether a block of pixels repeats the pixel before it.
bool RepeatsPrevious(const uint8_t* block) {
  std::array<uint64_t, kBlock / 2> pixels;
  std::array<uint64_t, kBlock / 2> shifted;
  std::memcpy(pixels.data(), block, sizeof(pixels));
  std::memcpy(shifted.data(), block - 4, sizeof(shifted));
  uint64_t differing = 0;
  for (size_t i = 0; i < pixels.size(); ++i) differing |= pixels[i] ^ shifted[i];
  return differing == 0;
}

bool AddRow(const uint8_t* pixels, size_t count, const CoveredColors& covered, ColorTree& tree) {
  for (size_t i = 0; i < count;) {
    if (i != 0 && count - i >= kBlock && RepeatsPrevious(pixels + i * 4)) {
      i += kBlock;
      continue;
    }
    for (const size_t end = std::min(count, i + kBlock); i < end; ++i) {
      const uint32_t color = LoadLe32(pixels + i * 4);
      if (!covered.Contains(color) && !tree.Add(color)) return false;
    }
  }
  return true;
}

/// From a colour to its leaf's index in two look-ups, or three where leaves are deeper than 6.
class IndexTable {
 public:
  void AddLeaf(uint32_t color, int depth, uint32_t index);

  uint32_t IndexOf(uint32_t color) const {
    const uint32_t cell = cells_[CellOf(color)];
    const uint32_t place = subcells_[(cell >> 6) + (SubcellOf(color) & cell)];
    return place < kMaxColors ? place : fine_[(place - kMaxColors) * 64 + FineOf(color)];
  }

 private:
  /// A place in subcells_ times 64, plus a mask: 63 where it is the start of a block of 64, and 0
  /// where it is one entry, so that both are looked up without a branch.
  std::array<uint32_t, 4096> cells_;
  /// One entry for each index, then blocks. Below kMaxColors: an index. From there on: a block in
  /// fine_. There are no more blocks than leaves.
  std::array<uint16_t, kMaxColors + kMaxColors * 64> subcells_;
  std::array<uint8_t, kMaxColors * 64> fine_;
  uint32_t subcell_blocks_;
  uint32_t fine_blocks_;
};

void IndexTable::AddLeaf(uint32_t color, int depth, uint32_t index) {
  subcells_[index] = static_cast<uint16_t>(index);
  uint32_t& cell = cells_[CellOf(color)];
  if (depth <= 4) {
    FillCube(cells_.data(), CellOf(color), 4, 4 - depth, index << 6);
    return;
  }
  if (cell == 0) cell = (kMaxColors + 64 * subcell_blocks_++) << 6 | 63;
  uint16_t* subcells = subcells_.data() + (cell >> 6);
  uint16_t& subcell = subcells[SubcellOf(color)];
  if (depth <= 6) {
    FillCube(subcells, SubcellOf(color), 2, 6 - depth, static_cast<uint16_t>(index));
    return;
  }
  if (subcell == 0) subcell = static_cast<uint16_t>(kMaxColors + fine_blocks_++);
  FillCube(fine_.data() + (subcell - kMaxColors) * 64, FineOf(color), 2, 8 - depth,
           static_cast<uint8_t>(index));
}

/// Sums of the pixels of each leaf.
class LeafSums {
 public:
  void Add(uint32_t index, uint32_t color, uint32_t times) {
    Packed& sum = packed_[index];
    sum.blue_green += ((color & 0xFF) | uint64_t{color & 0xFF00} << 24) * times;
    sum.red_count += ((color >> 16 & 0xFF) | uint64_t{1} << 32) * times;
  }

  /// No 32-bit half may pass its end: to be called before that many pixels more have been added.
  static constexpr size_t kFlushPixels = size_t{1} << 24;
  void Flush();

  /// Writes the average of a leaf, after Flush.
  void StoreAverage(uint32_t index, uint8_t* entry) const;

 private:
  struct Packed {
    uint64_t blue_green;  ///< low half, high half
    uint64_t red_count;
  };
  struct Totals {
    uint64_t blue, green, red, count;
  };
  std::array<Packed, kMaxColors> packed_;
  std::array<Totals, kMaxColors> totals_;
};

void LeafSums::Flush() {
  for (size_t i = 0; i < packed_.size(); ++i) {
    totals_[i].blue += packed_[i].blue_green & 0xFFFFFFFF;
    totals_[i].green += packed_[i].blue_green >> 32;
    totals_[i].red += packed_[i].red_count & 0xFFFFFFFF;
    totals_[i].count += packed_[i].red_count >> 32;
    packed_[i] = Packed{};
  }
}

void LeafSums::StoreAverage(uint32_t index, uint8_t* entry) const {
  const Totals& totals = totals_[index];
  entry[0] = static_cast<uint8_t>(totals.blue / totals.count);
  entry[1] = static_cast<uint8_t>(totals.green / totals.count);
  entry[2] = static_cast<uint8_t>(totals.red / totals.count);
  entry[3] = 0xFF;
}

struct Mapping {
  IndexTable table;
  LeafSums sums;
};

void MapRow(const uint8_t* pixels, uint8_t* dest, size_t count, Mapping& mapping) {
  for (size_t i = 0; i < count;) {
    if (i != 0 && count - i >= kBlock && RepeatsPrevious(pixels + i * 4)) {
      const uint8_t index = dest[i - 1];
      std::memset(dest + i, index, kBlock);
      mapping.sums.Add(index, LoadLe32(pixels + i * 4), kBlock);
      i += kBlock;
      continue;
    }
    for (const size_t end = std::min(count, i + kBlock); i < end; ++i) {
      const uint32_t color = LoadLe32(pixels + i * 4);
      const uint32_t index = mapping.table.IndexOf(color);
      dest[i] = static_cast<uint8_t>(index);
      mapping.sums.Add(index, color, 1);
    }
  }
}

/// Maps rows of any length, and sees to the sums.
class RowMapper {
 public:
  explicit RowMapper(Mapping& mapping) : mapping_(mapping) {}
  void operator()(const uint8_t* pixels, uint8_t* dest, size_t count) {
    while (count != 0) {
      if (pending_ == LeafSums::kFlushPixels) {
        mapping_.sums.Flush();
        pending_ = 0;
      }
      const size_t part = std::min(count, LeafSums::kFlushPixels - pending_);
      MapRow(pixels, dest, part, mapping_);
      pixels += part * 4;
      dest += part;
      count -= part;
      pending_ += part;
    }
  }

 private:
  Mapping& mapping_;
  size_t pending_ = 0;
};

bool BuildTree(const ZAV_CONVERTER& converter, const CoveredColors& covered, ColorTree& tree) {
  bool built = true;
  WalkRows(converter, [&](const uint8_t* pixels, uint8_t*, size_t count) {
    built = built && AddRow(pixels, count, covered, tree);
  });
  return built;
}

}  // namespace

bool QuantizeToPal8(ZAV_CONVERTER& converter) {
  const auto covered = AllocateTable<CoveredColors>();
  const auto mapping = AllocateTable<Mapping>();
  if (covered == nullptr || mapping == nullptr) return false;
  ColorTree tree(*covered);
  if (!BuildTree(converter, *covered, tree)) return false;

  uint32_t leaves = 0;
  tree.ForEachLeaf(
      [&](uint32_t color, int depth) { mapping->table.AddLeaf(color, depth, leaves++); });
  WalkRows(converter, RowMapper(*mapping));
  mapping->sums.Flush();
  uint8_t* palette = converter.dest.palette;
  for (uint32_t i = 0; i < leaves; ++i) mapping->sums.StoreAverage(i, palette + i * size_t{4});
  std::memset(palette + leaves * size_t{4}, 0xFF, ZAV_PALETTE_BYTES - leaves * size_t{4});
  return true;
}

}  // namespace zav
