// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/scale_kernels.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/scale_vector.cpp"
#include <hwy/foreach_target.h>
// After foreach_target, which includes this file once per target.
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "platform/vector_target.h"

// Which source pixels a destination column takes, and with which weights, is the same in every row.
// So the destination is worked off in tiles of columns, each with a table on the stack that says
// for every block of destination bytes where its source bytes lie: a 16-byte load and a byte
// shuffle. Loads are moved left where they would pass the end of the row, and the shuffles account
// for it; rows of fewer than 16 bytes are read from a copy.

HWY_BEFORE_NAMESPACE();
namespace zav {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128 || HWY_TARGET == HWY_SSE2 || \
    HWY_HAVE_SCALABLE

// No byte shuffle, or lanes that the tables do not describe.
const ScaleKernels& Kernels() { return PlainScaleKernels(); }

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<uint8_t>;
using Words = hn::ScalableTag<int16_t>;
constexpr size_t kVectorBytes = HWY_LANES(uint8_t);
constexpr size_t kBlock = 16;  // bytes of a load
constexpr size_t kVectorBlocks = kVectorBytes / kBlock;
constexpr int64_t kOne = 0x10000;

/// A row of at least kBlock readable bytes.
class SourceRow {
 public:
  const uint8_t* Get(const ScaleJob& job, int64_t y) {
    const uint8_t* row = job.source + y * job.source_pitch;
    if (job.source_row_bytes >= int64_t{kBlock}) return row;
    std::memcpy(copy_, row, static_cast<size_t>(job.source_row_bytes));
    return copy_;
  }

 private:
  uint8_t copy_[kBlock] = {};
};

/// Bytes that Get's rows have.
size_t RowBytes(const ScaleJob& job) {
  return std::max(static_cast<size_t>(job.source_row_bytes), kBlock);
}

/// A vector of 16-byte blocks from the given offsets.
template <class D>
HWY_INLINE hn::Vec<D> LoadBlocks(D d, const uint8_t* row, const uint32_t* offsets) {
  if constexpr (hn::MaxLanes(D()) == kBlock) {
    return hn::LoadU(d, row + offsets[0]);
  } else {
    const hn::Half<D> half;
    return hn::Combine(d, LoadBlocks(half, row, offsets + hn::MaxLanes(D()) / 2 / kBlock),
                       LoadBlocks(half, row, offsets));
  }
}

/// The same, each block from two loads of 8 bytes.
template <class D>
HWY_INLINE hn::Vec<D> LoadHalfBlocks(D d, const uint8_t* row, const uint32_t* offsets) {
  const hn::Half<D> half;
  if constexpr (hn::MaxLanes(D()) == kBlock) {
    return hn::Combine(d, hn::LoadU(half, row + offsets[1]), hn::LoadU(half, row + offsets[0]));
  } else {
    return hn::Combine(d, LoadHalfBlocks(half, row, offsets + hn::MaxLanes(D()) / kBlock),
                       LoadHalfBlocks(half, row, offsets));
  }
}

/// Two vectors whose blocks are to alternate in the result: the first takes the even ones of 2 *
/// kVectorBlocks, the second the odd ones.
constexpr size_t AlternatingSlot(size_t block) {
  const size_t in_group = block % (2 * kVectorBlocks);
  return block - in_group + in_group % 2 * kVectorBlocks + in_group / 2;
}

// --- Point sampling ------------------------------------------------------------------------------

constexpr size_t kPointTile = 4096;  // destination bytes
constexpr size_t kPointPixels = 1024;

/// How far apart the source pixels of neighbouring destination pixels lie.
enum class Reach {
  kBlock,      // 16 destination bytes come from 16 source bytes
  kHalfBlock,  // 8 do
  kPixel       // farther: pixels are copied singly
};

template <size_t kBytes>
Reach ReachOf(int64_t step) {
  if (step <= kOne) return Reach::kBlock;
  // The first and the last pixel of 8 destination bytes are at most this far apart.
  constexpr int64_t kApart = kBytes == 3 ? 3 : 8 / int64_t{kBytes} - 1;
  const int64_t source_apart = (kApart * step + kOne - 1) >> 16;
  return (source_apart - kApart) * int64_t{kBytes} <= 8 ? Reach::kHalfBlock : Reach::kPixel;
}

struct PointTable {
  HWY_ALIGN uint8_t shuffle[kPointTile / 8 * kBlock];
  uint32_t load[kPointTile / 8];
  uint32_t pixel[kPointPixels];  // source offset of each destination pixel
};

template <size_t kBytes>
void FillPointTable(const ScaleJob& job, Reach reach, int64_t first, size_t count,
                    PointTable& table) {
  int64_t x = first * job.step_x;
  for (size_t i = 0; i < count; ++i, x += job.step_x) {
    table.pixel[i] = static_cast<uint32_t>(x >> 16) * uint32_t{kBytes};
  }
  if (reach == Reach::kPixel) return;
  const size_t taken = reach == Reach::kBlock ? kBlock : kBlock / 2;
  const auto last_load = static_cast<uint32_t>(RowBytes(job) - kBlock);
  // Whole vectors, so that the last one's blocks are defined; they repeat the last pixel.
  const size_t bytes = (count * kBytes + kVectorBytes - 1) / kVectorBytes * kVectorBytes;
  for (size_t block = 0; block * taken < bytes; ++block) {
    const auto offset = [&](size_t byte) {
      return table.pixel[std::min(byte / kBytes, count - 1)] + static_cast<uint32_t>(byte % kBytes);
    };
    const size_t slot = reach == Reach::kBlock ? block : AlternatingSlot(block);
    const uint32_t load = std::min(offset(block * taken), last_load);
    uint8_t* shuffle = table.shuffle + slot * kBlock;
    table.load[slot] = load;
    for (size_t i = 0; i < kBlock; ++i) {
      // Modulo for the unused bytes only: indices stay within the block.
      shuffle[i] = static_cast<uint8_t>((offset(block * taken + i % taken) - load) % kBlock);
    }
  }
}

/// One vector of destination bytes, `at` a multiple of its size.
template <Reach kReach>
HWY_INLINE hn::Vec<Bytes> PointVector(const PointTable& table, const uint8_t* row, size_t at) {
  const Bytes d;
  if constexpr (kReach == Reach::kBlock) {
    return hn::TableLookupBytes(LoadBlocks(d, row, table.load + at / kBlock),
                                hn::Load(d, table.shuffle + at));
  } else {
    const hn::Repartition<uint64_t, Bytes> d64;
    const uint32_t* load = table.load + at / (kBlock / 2);
    const uint8_t* shuffle = table.shuffle + 2 * at;
    const auto even = hn::TableLookupBytes(LoadBlocks(d, row, load), hn::Load(d, shuffle));
    const auto odd = hn::TableLookupBytes(LoadBlocks(d, row, load + kVectorBlocks),
                                          hn::Load(d, shuffle + kVectorBytes));
    return hn::BitCast(d, hn::InterleaveLower(d64, hn::BitCast(d64, even), hn::BitCast(d64, odd)));
  }
}

template <Reach kReach>
void PointBlocks(const PointTable& table, const uint8_t* row, uint8_t* dest, size_t bytes) {
  const Bytes d;
  size_t at = 0;
  for (; at + kVectorBytes <= bytes; at += kVectorBytes) {
    hn::StoreU(PointVector<kReach>(table, row, at), d, dest + at);
  }
  if (at == bytes) return;
  HWY_ALIGN uint8_t tail[kVectorBytes];
  hn::Store(PointVector<kReach>(table, row, at), d, tail);
  std::memcpy(dest + at, tail, bytes - at);
}

template <size_t kBytes>
void PointPixels(const PointTable& table, const uint8_t* row, uint8_t* dest, size_t count) {
  size_t i = 0;
  for (; i + 4 <= count; i += 4) {
    for (size_t k = i; k < i + 4; ++k) {
      std::memcpy(dest + k * kBytes, row + table.pixel[k], kBytes);
    }
  }
  for (; i < count; ++i) std::memcpy(dest + i * kBytes, row + table.pixel[i], kBytes);
}

template <size_t kBytes>
void PointTileRow(const PointTable& table, Reach reach, const uint8_t* row, uint8_t* dest,
                  size_t count) {
  switch (reach) {
    case Reach::kBlock:
      return PointBlocks<Reach::kBlock>(table, row, dest, count * kBytes);
    case Reach::kHalfBlock:
      return PointBlocks<Reach::kHalfBlock>(table, row, dest, count * kBytes);
    case Reach::kPixel:
      return PointPixels<kBytes>(table, row, dest, count);
  }
}

template <size_t kBytes>
void PointTile(const ScaleJob& job, int64_t first, size_t count) {
  const bool whole = job.step_x == kOne;
  const Reach reach = ReachOf<kBytes>(job.step_x);
  PointTable table;
  if (!whole) FillPointTable<kBytes>(job, reach, first, count, table);
  SourceRow source;
  uint8_t* dest = job.dest + first * int64_t{kBytes};
  int64_t made = -1;  // the source row of the destination row above
  for (int64_t j = 0; j < job.dest_height; ++j, dest += job.dest_pitch) {
    const int64_t y = j * job.step_y >> 16;
    if (y == made) {
      std::memcpy(dest, dest - job.dest_pitch, count * kBytes);
    } else if (whole) {
      std::memcpy(dest, job.source + y * job.source_pitch + first * int64_t{kBytes},
                  count * kBytes);
    } else {
      PointTileRow<kBytes>(table, reach, source.Get(job, y), dest, count);
    }
    made = y;
  }
}

template <size_t kBytes>
void PointTiles(const ScaleJob& job) {
  constexpr auto kTile = static_cast<int64_t>(std::min(kPointPixels, kPointTile / kBytes));
  for (int64_t first = 0; first < job.dest_width; first += kTile) {
    PointTile<kBytes>(job, first, static_cast<size_t>(std::min(kTile, job.dest_width - first)));
  }
}

void Point(const ScaleJob& job) {
  constexpr ScaleLoop kLoops[] = {PointTiles<1>, PointTiles<2>, PointTiles<3>, PointTiles<4>};
  kLoops[job.bytes - 1](job);
}

// --- Bilinear filter -----------------------------------------------------------------------------
//
// Rows are blended across once into 16-bit lanes, 8 to a block of two pixels (3-byte pixels leave
// every fourth lane unused), and kept while destination rows between them are blended down.
//
// p + floor((q - p) * f / 65536) equals q + floor((p - q) * (65536 - f) / 65536). With the nearer
// one as base b and the other as o, the weight g of o is at most 32768, and -g fits 16 signed bits:
// the blend is b + high half of (b - o) * -g.

constexpr size_t kFilterTile = 512;  // destination pixels
constexpr size_t kFilterBlocks = kFilterTile / 2;

struct FilterTable {
  // Pairs of bytes: base and other.
  HWY_ALIGN uint8_t shuffle[kFilterBlocks * kBlock];
  HWY_ALIGN int16_t weight[kFilterBlocks * 8];  // -g
  uint32_t load[kFilterBlocks * 2];             // one or two to a block
};

struct FilterRows {
  HWY_ALIGN int16_t lanes[2][kFilterBlocks * 8];
  int64_t number[2] = {-1, -1};
};

struct Weight {
  bool swapped;  // the second of the two is the base
  int16_t value;
};

Weight WeightOf(int64_t fraction) {
  const bool swapped = fraction > kOne / 2;
  return {swapped, static_cast<int16_t>(swapped ? fraction - kOne : -fraction)};
}

/// Whether both pixels of a block and their neighbours lie within one load.
bool OneLoad(const ScaleJob& job) {
  return (((job.step_x + kOne - 1) >> 16) + 2) * job.bytes <= int64_t{kBlock};
}

template <size_t kBytes>
void FillFilterTable(const ScaleJob& job, bool one_load, int64_t first, size_t count,
                     FilterTable& table) {
  // One 16-bit field per channel: the base's byte below, the other's above.
  constexpr uint64_t kFields = kBytes == 4 ? 0x0001000100010001 : 0x0000000100010001;
  constexpr uint64_t kChannels = kBytes == 4 ? 0x0303020201010000 : 0x0000020201010000;
  const size_t last_load = RowBytes(job) - (one_load ? kBlock : kBlock / 2);
  const size_t loads = one_load ? 1 : 2;
  const size_t blocks = (count + 1) / 2;
  const size_t padded = (blocks + 2 * kVectorBlocks - 1) / (2 * kVectorBlocks) * 2 * kVectorBlocks;
  if (padded * 2 != count) {  // the tail's unused lanes take the row's first bytes
    const size_t from = padded - 2 * kVectorBlocks;
    std::memset(table.shuffle + from * kBlock, 0, 2 * kVectorBlocks * kBlock);
    std::memset(table.weight + from * 8, 0, 2 * kVectorBlocks * kBlock);
    std::memset(table.load + from * loads, 0, 2 * kVectorBlocks * loads * sizeof(uint32_t));
  }
  int64_t x = first * job.step_x;
  size_t load = 0;
  for (size_t i = 0; i < count; ++i, x += job.step_x) {
    const size_t slot = AlternatingSlot(i / 2);
    const size_t half = i % 2;
    const size_t at = static_cast<size_t>(x >> 16) * kBytes;
    if (half == 0 || !one_load) {
      load = std::min(at, last_load);
      table.load[one_load ? slot : 2 * slot + half] = static_cast<uint32_t>(load);
    }
    const Weight weight = WeightOf(x & (kOne - 1));
    const uint64_t pixel = at - load + (one_load ? 0 : half * kBlock / 2);
    const uint64_t next = pixel + kBytes;
    const uint64_t base = weight.swapped ? next : pixel;
    // Without a weight there need be no neighbour.
    const uint64_t other = weight.swapped || weight.value == 0 ? pixel : next;
    const uint64_t shuffle = kChannels + kFields * (base | other << 8);
    const uint64_t weights = kFields * static_cast<uint16_t>(weight.value);
    std::memcpy(table.shuffle + slot * kBlock + half * 8, &shuffle, 8);
    std::memcpy(table.weight + slot * 8 + half * 4, &weights, 8);
  }
}

HWY_INLINE hn::Vec<Words> Blend(hn::Vec<Words> base, hn::Vec<Words> other, hn::Vec<Words> weight) {
  return hn::Add(base, hn::MulHigh(hn::Sub(base, other), weight));
}

template <bool kOneLoad>
void BlendAcross(const FilterTable& table, const uint8_t* row, size_t blocks, int16_t* lanes) {
  const Bytes d8;
  const Words d16;
  const auto low_byte = hn::Set(d16, 255);
  for (size_t block = 0; block < blocks; block += kVectorBlocks) {
    const auto pixels = kOneLoad ? LoadBlocks(d8, row, table.load + block)
                                 : LoadHalfBlocks(d8, row, table.load + block * 2);
    const auto pairs = hn::BitCast(
        d16, hn::TableLookupBytes(pixels, hn::Load(d8, table.shuffle + block * kBlock)));
    const hn::RebindToUnsigned<Words> du16;
    const auto other = hn::BitCast(d16, hn::ShiftRight<8>(hn::BitCast(du16, pairs)));
    hn::Store(Blend(hn::And(pairs, low_byte), other, hn::Load(d16, table.weight + block * 8)), d16,
              lanes + block * 8);
  }
}

/// One vector of result bytes from two of lanes; for 3-byte pixels 12 of every 16 bytes, in front.
template <size_t kBytes>
HWY_INLINE hn::Vec<Bytes> BlendDown(const int16_t* base, const int16_t* other,
                                    hn::Vec<Words> weight) {
  const Bytes d8;
  const Words d16;
  HWY_ALIGN static constexpr uint8_t kOrder4[] = {0, 2, 4, 6, 8, 10, 12, 14,
                                                  1, 3, 5, 7, 9, 11, 13, 15};
  HWY_ALIGN static constexpr uint8_t kOrder3[] = {0, 2, 4,  8,  10, 12, 1, 3,
                                                  5, 9, 11, 13, 0,  0,  0, 0};
  const auto even = Blend(hn::Load(d16, base), hn::Load(d16, other), weight);
  const auto odd = Blend(hn::Load(d16, base + kVectorBytes / 2),
                         hn::Load(d16, other + kVectorBytes / 2), weight);
  const auto mixed = hn::Or(even, hn::ShiftLeft<8>(odd));
  return hn::TableLookupBytes(hn::BitCast(d8, mixed),
                              hn::LoadDup128(d8, kBytes == 4 ? kOrder4 : kOrder3));
}

template <size_t kBytes, class D>
HWY_INLINE void StorePixels(hn::Vec<D> pixels, D d, uint8_t* dest) {
  if constexpr (kBytes == 4 || hn::MaxLanes(D()) == kBlock) {
    hn::StoreU(pixels, d, dest);
  } else {
    // Each block's last four bytes are overwritten by the next.
    const hn::Half<D> half;
    StorePixels<kBytes>(hn::LowerHalf(half, pixels), half, dest);
    StorePixels<kBytes>(hn::UpperHalf(half, pixels), half, dest + hn::MaxLanes(D()) / 2 / 4 * 3);
  }
}

template <size_t kBytes>
void BlendRowsDown(const int16_t* base, const int16_t* other, int16_t weight, uint8_t* dest,
                   size_t bytes) {
  constexpr size_t kStride = kVectorBytes / 4 * kBytes;
  const Bytes d8;
  const auto weights = hn::Set(Words(), weight);
  for (; bytes >= kVectorBytes; bytes -= kStride, dest += kStride) {
    StorePixels<kBytes>(BlendDown<kBytes>(base, other, weights), d8, dest);
    base += kVectorBytes;
    other += kVectorBytes;
  }
  while (bytes != 0) {
    HWY_ALIGN uint8_t tail[kVectorBytes];
    const size_t rest = std::min(bytes, kStride);
    StorePixels<kBytes>(BlendDown<kBytes>(base, other, weights), d8, tail);
    std::memcpy(dest, tail, rest);
    bytes -= rest;
    dest += rest;
    base += kVectorBytes;
    other += kVectorBytes;
  }
}

template <size_t kBytes, bool kOneLoad>
void FilterTile(const ScaleJob& job, int64_t first, size_t count) {
  FilterTable table;
  FillFilterTable<kBytes>(job, kOneLoad, first, count, table);
  FilterRows rows;
  SourceRow source;
  // Neighbours differ in parity, so that the row to keep is never the one to replace.
  const auto row = [&](int64_t y) {
    int16_t* lanes = rows.lanes[y & 1];
    if (rows.number[y & 1] != y) {
      rows.number[y & 1] = y;
      BlendAcross<kOneLoad>(table, source.Get(job, y), (count + 1) / 2, lanes);
    }
    return lanes;
  };
  uint8_t* dest = job.dest + first * int64_t{kBytes};
  for (int64_t j = 0; j < job.dest_height; ++j, dest += job.dest_pitch) {
    const int64_t y = j * job.step_y;
    const Weight weight = WeightOf(y & (kOne - 1));
    const int16_t* top = row(y >> 16);
    const int16_t* bottom = weight.value == 0 ? top : row((y >> 16) + 1);
    BlendRowsDown<kBytes>(weight.swapped ? bottom : top, weight.swapped ? top : bottom,
                          weight.value, dest, count * kBytes);
  }
}

template <size_t kBytes>
void FilterTiles(const ScaleJob& job) {
  const bool one_load = OneLoad(job);
  for (int64_t first = 0; first < job.dest_width; first += int64_t{kFilterTile}) {
    const auto count = static_cast<size_t>(std::min(int64_t{kFilterTile}, job.dest_width - first));
    if (one_load) {
      FilterTile<kBytes, true>(job, first, count);
    } else {
      FilterTile<kBytes, false>(job, first, count);
    }
  }
}

void Bilinear(const ScaleJob& job) {
  if (job.bytes == 4) {
    FilterTiles<4>(job);
  } else {
    FilterTiles<3>(job);
  }
}

const ScaleKernels& Kernels() {
  static const ScaleKernels kKernels = {hwy::TargetName(HWY_TARGET), Point, Bilinear};
  return kKernels;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace zav
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zav {

HWY_EXPORT(Kernels);

const ScaleKernels& SelectedScaleKernels() {
  return PlainForced() ? PlainScaleKernels() : HWY_DYNAMIC_DISPATCH(Kernels)();
}

}  // namespace zav
#endif  // HWY_ONCE

#else

namespace zav {

const ScaleKernels& SelectedScaleKernels() { return PlainScaleKernels(); }

}  // namespace zav

#endif
