// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <cstring>

#include "base/endian.h"
#include "encodings/quantizer_rows.h"
#include "platform/vector_table.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "encodings/quantizer_vector.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which includes this file once per target.
#include <hwy/highway.h>

#include "platform/target_namespace.h"

ZAV_BEGIN_TARGET();

// SSE2 multiplies 32-bit lanes in several steps.
#if HWY_TARGET == HWY_EMU128 || HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_SSE2

const QuantizerRows& TargetQuantizerRows() { return PlainQuantizerRows(); }

#else

// Look-ups are made one at a time. Vectors compute the places for a block of pixels, skip blocks
// that repeat the pixel before them, and add a pixel's four sums at once.
constexpr size_t kBlock = 8;
using Block = hn::CappedTag<uint32_t, kBlock>;
using Bytes = hn::Repartition<uint8_t, Block>;
using Sum = hn::FixedTag<uint32_t, 4>;
using SumBytes = hn::Rebind<uint8_t, Sum>;

hn::Vec<Block> LoadPixels(const uint8_t* pixels) {
  return hn::BitCast(Block(), hn::LoadU(Bytes(), pixels));
}

bool RepeatsPrevious(const uint8_t* pixels) {
  const Block d;
  auto differing = hn::Zero(d);
  for (size_t i = 0; i < kBlock; i += hn::Lanes(d)) {
    const uint8_t* part = pixels + i * 4;
    differing = hn::Or(differing, hn::Xor(LoadPixels(part), LoadPixels(part - 4)));
  }
  return hn::AllTrue(d, hn::Eq(differing, hn::Zero(d)));
}

struct Places {
  alignas(32) uint32_t cell[kBlock];
  alignas(32) uint32_t subcell[kBlock];

  HWY_INLINE explicit Places(const uint8_t* pixels) {
    const Block d;
    for (size_t i = 0; i < kBlock; i += hn::Lanes(d)) {
      const auto colors = LoadPixels(pixels + i * 4);
      hn::Store(Of<kCell.mask, kCell.factor, kCell.shift>(colors), d, cell + i);
      hn::Store(Of<kSubcell.mask, kSubcell.factor, kSubcell.shift>(colors), d, subcell + i);
    }
  }

 private:
  template <uint32_t kMask, uint32_t kFactor, int kShift>
  static HWY_INLINE hn::Vec<Block> Of(hn::Vec<Block> colors) {
    const Block d;
    return hn::ShiftRight<kShift>(hn::Mul(hn::And(colors, hn::Set(d, kMask)), hn::Set(d, kFactor)));
  }
};

size_t FindUncovered(const CoveredColors& covered, const uint8_t* pixels, size_t count) {
  const uint64_t* cells = covered.cells();
  size_t done = 0;
  for (; count - done >= kBlock; done += kBlock) {
    const uint8_t* block = pixels + done * 4;
    if (done != 0 && RepeatsPrevious(block)) continue;
    const Places places(block);
    uint64_t all = 1;
    for (size_t i = 0; i < kBlock; ++i) all &= cells[places.cell[i]] >> places.subcell[i];
    if (all != 0) continue;
    // With leaves of single colors, most blocks are still covered.
    all = 1;
    for (size_t i = 0; i < kBlock; ++i) {
      all &= cells[places.cell[i]] >> places.subcell[i] |
             uint64_t{covered.Seen(LoadLe32(block + i * 4))};
    }
    if (all != 0) continue;
    return done + PlainQuantizerRows().find_uncovered(covered, block, kBlock);
  }
  return done + PlainQuantizerRows().find_uncovered(covered, pixels + done * 4, count - done);
}

void AddRun(LeafSum& sum, uint32_t color) {
  std::array<uint32_t, 4>& lanes = sum.halves[0];
  lanes[0] += (color & 0xFF) * uint32_t{kBlock};
  lanes[1] += (color >> 8 & 0xFF) * uint32_t{kBlock};
  lanes[2] += (color >> 16 & 0xFF) * uint32_t{kBlock};
  lanes[3] += uint32_t{kBlock};
}

HWY_INLINE void MapBlock(const IndexTable& table, LeafSums& sums, const uint8_t* pixels,
                         uint8_t* dest) {
  const Sum d;
  const auto one = hn::Set(d, 1);
  const auto count_lane = hn::Eq(hn::Iota(d, 0), hn::Set(d, 3));
  const Places places(pixels);
  for (size_t i = 0; i < kBlock; ++i) {
    const uint32_t cell = table.cells()[places.cell[i]];
    uint32_t index = table.subcells()[(cell >> 6) + (places.subcell[i] & cell)];
    if (index >= kMaxColors) index = table.Fine(LoadLe32(pixels + i * 4), index);
    dest[i] = static_cast<uint8_t>(index);
    const auto channels = hn::PromoteTo(d, hn::LoadU(SumBytes(), pixels + i * 4));
    uint32_t* sum = sums[index].halves[i % 2].data();
    hn::Store(hn::Add(hn::Load(d, sum), hn::IfThenElse(count_lane, one, channels)), d, sum);
  }
}

void Map(const IndexTable& table, LeafSums& sums, const uint8_t* pixels, uint8_t* dest,
         size_t count) {
  size_t done = 0;
  for (; count - done >= kBlock; done += kBlock) {
    const uint8_t* block = pixels + done * 4;
    if (done != 0 && RepeatsPrevious(block)) {
      const uint8_t index = dest[done - 1];
      std::memset(dest + done, index, kBlock);
      AddRun(sums[index], LoadLe32(block));
    } else {
      MapBlock(table, sums, block, dest + done);
    }
  }
  PlainQuantizerRows().map(table, sums, pixels + done * 4, dest + done, count - done);
}

const QuantizerRows& TargetQuantizerRows() {
  static const QuantizerRows kRows = {
      .target = hwy::TargetName(HWY_TARGET), .find_uncovered = FindUncovered, .map = Map};
  return kRows;
}

#endif

ZAV_END_TARGET();

#endif  // ZAV_HAVE_HIGHWAY

#if ZAV_ONCE
ZAV_SELECT_TABLE(QuantizerRows, QuantizerRows);
#endif
