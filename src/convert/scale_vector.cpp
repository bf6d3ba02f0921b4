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

#include "base/checked.h"
#include "base/heap.h"
#include "platform/vector_target.h"

// Which source pixels a destination column takes, and with which weights, is the same in every row.
// So it is worked out once, into tables that say for every block of destination bytes where its
// source bytes lie: a 16-byte load and a byte shuffle. Loads are moved left where they would pass
// the end of the row, and the shuffles account for it; rows of fewer than 16 bytes are read from a
// copy.

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

/// Room for the tables of a tile of columns: on the stack for narrow pictures. Wide ones get it
/// from the heap, so that whole rows are worked off in the order of memory; where the heap has none
/// they take more tiles.
template <size_t kBytesPerColumn>
class TileRoom {
 public:
  explicit TileRoom(int64_t width) {
    if (width <= kStackColumns) return;
    const int64_t columns = RoundUp(std::min(width, kMaxColumns), kStackColumns);
    heap_ = AllocateBytes(columns * int64_t{kBytesPerColumn} + int64_t{kVectorBytes});
    if (heap_ == nullptr) return;
    columns_ = columns;
    next_ = heap_ + (kVectorBytes - reinterpret_cast<uintptr_t>(heap_) % kVectorBytes);
  }
  TileRoom(const TileRoom&) = delete;
  TileRoom& operator=(const TileRoom&) = delete;
  ~TileRoom() { FreeBytes(heap_); }

  int64_t columns() const { return columns_; }

  /// The next array of so many bytes per column.
  template <typename T>
  T* Take(size_t bytes_per_column) {
    T* array = reinterpret_cast<T*>(next_);
    next_ += bytes_per_column * static_cast<size_t>(columns_);
    return array;
  }

 private:
  static constexpr int64_t kStackColumns = 512;
  static constexpr int64_t kMaxColumns = 8192;  // the tables stay in the second-level cache

  HWY_ALIGN uint8_t stack_[kStackColumns * kBytesPerColumn];
  uint8_t* heap_ = nullptr;
  uint8_t* next_ = stack_;
  int64_t columns_ = kStackColumns;
};

/// Calls `tile(first, count)` for the tiles of a row.
template <class Tile>
void ForEachTile(const ScaleJob& job, int64_t columns, const Tile& tile) {
  for (int64_t first = 0; first < job.dest_width; first += columns) {
    tile(first, static_cast<size_t>(std::min(columns, job.dest_width - first)));
  }
}

/// A vector of 16-byte blocks from the given offsets.
template <class D>
HWY_INLINE hn::Vec<D> LoadBlocks(D d, const uint8_t* row, const uint32_t* offsets) {
  if constexpr (hn::MaxLanes(D()) == kBlock) {
    return hn::LoadU(d, row + offsets[0]);
  } else {
    const hn::Half<D> half;
    return hn::Combine(d, LoadBlocks(half, row, offsets + hn::MaxLanes(half) / kBlock),
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
    return hn::Combine(d, LoadHalfBlocks(half, row, offsets + hn::MaxLanes(half) / kBlock * 2),
                       LoadHalfBlocks(half, row, offsets));
  }
}

/// Where a block's entries stand when vectors are combined so that the blocks of two alternate: of
/// 2 * kVectorBlocks the even ones come first.
constexpr size_t AlternatingSlot(size_t block) {
  const size_t in_group = block % (2 * kVectorBlocks);
  return block - in_group + in_group % 2 * kVectorBlocks + in_group / 2;
}

constexpr size_t RoundUpTo(size_t value, size_t multiple) {
  return (value + multiple - 1) / multiple * multiple;
}

// --- Point sampling ------------------------------------------------------------------------------

/// How the pixels of a destination row are fetched.
enum class Fetch {
  kRow,        // as they stand
  kEven,       // every second one
  kStride,     // every n-th one
  kBlock,      // 16 destination bytes from 16 source bytes
  kHalfBlock,  // 8 from 16
  kPixel       // singly
};

template <size_t kBytes>
Fetch FetchFor(int64_t step) {
  if (step == kOne) return Fetch::kRow;
  if (step < kOne) return Fetch::kBlock;
  if (step == 2 * kOne && kBytes == 4) return Fetch::kEven;
  // The first and the last pixel of 8 destination bytes are at most this far apart.
  constexpr int64_t kApart = kBytes == 3 ? 3 : 8 / int64_t{kBytes} - 1;
  const int64_t source_apart = (kApart * step + kOne - 1) >> 16;
  if ((source_apart - kApart) * int64_t{kBytes} <= 8) return Fetch::kHalfBlock;
  return step % kOne == 0 ? Fetch::kStride : Fetch::kPixel;
}

// In bytes per column: at most a 16-byte shuffle and a 4-byte offset for two pixels.
using PointRoom = TileRoom<8 + 2 + 4>;

struct PointTable {
  explicit PointTable(PointRoom& room)
      : shuffle(room.Take<uint8_t>(8)),
        load(room.Take<uint32_t>(2)),
        pixel(room.Take<uint32_t>(4)) {}

  uint8_t* shuffle;
  uint32_t* load;
  uint32_t* pixel;  // source offset of each destination pixel
};

/// The shuffles for `kTaken` destination bytes to a load.
template <size_t kBytes, size_t kTaken>
void FillShuffles(const PointTable& table, size_t bytes, uint32_t last_load) {
  size_t pixel = 0;
  uint32_t channel = 0;
  for (size_t block = 0; block * kTaken < bytes; ++block) {
    const size_t slot = kTaken == kBlock ? block : AlternatingSlot(block);
    // Where the block starts within a pixel that the next one repeats, that is the first byte.
    const uint32_t start = channel == 0
                               ? table.pixel[pixel]
                               : std::min(table.pixel[pixel] + channel, table.pixel[pixel + 1]);
    const uint32_t load = std::min(start, last_load);
    table.load[slot] = load;
    uint8_t* shuffle = table.shuffle + slot * kBlock;
    std::memset(shuffle + kTaken, 0, kBlock - kTaken);
    if constexpr (kBytes == 3) {
      for (size_t i = 0; i < kTaken; ++i) {
        shuffle[i] = static_cast<uint8_t>(table.pixel[pixel] + channel - load);
        if (++channel == kBytes) {
          channel = 0;
          ++pixel;
        }
      }
    } else {
      for (size_t i = 0; i < kTaken; i += kBytes, ++pixel) {
        for (uint32_t k = 0; k < kBytes; ++k) {
          shuffle[i + k] = static_cast<uint8_t>(table.pixel[pixel] + k - load);
        }
      }
    }
  }
}

template <size_t kBytes>
void FillPointTable(const ScaleJob& job, Fetch fetch, int64_t first, size_t count,
                    const PointTable& table) {
  int64_t x = first * job.step_x;
  for (size_t i = 0; i < count; ++i, x += job.step_x) {
    table.pixel[i] = static_cast<uint32_t>(x >> 16) * uint32_t{kBytes};
  }
  if (fetch == Fetch::kPixel) return;
  // Whole vectors: what the last one has too many repeats the last pixel.
  const size_t bytes = RoundUpTo(count * kBytes, kVectorBytes);
  std::fill(table.pixel + count, table.pixel + (bytes + kBytes - 1) / kBytes,
            table.pixel[count - 1]);
  const auto last_load = static_cast<uint32_t>(RowBytes(job) - kBlock);
  if (fetch == Fetch::kBlock) {
    FillShuffles<kBytes, kBlock>(table, bytes, last_load);
  } else {
    FillShuffles<kBytes, kBlock / 2>(table, bytes, last_load);
  }
}

/// One vector of destination bytes, `at` a multiple of its size.
template <Fetch kFetch>
HWY_INLINE hn::Vec<Bytes> PointVector(const PointTable& table, const uint8_t* row, size_t at) {
  const Bytes d;
  if constexpr (kFetch == Fetch::kBlock) {
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

template <Fetch kFetch>
void PointBlocks(const PointTable& table, const uint8_t* row, uint8_t* dest, size_t bytes) {
  const Bytes d;
  size_t at = 0;
  for (; at + kVectorBytes <= bytes; at += kVectorBytes) {
    hn::StoreU(PointVector<kFetch>(table, row, at), d, dest + at);
  }
  if (at == bytes) return;
  HWY_ALIGN uint8_t tail[kVectorBytes];
  hn::Store(PointVector<kFetch>(table, row, at), d, tail);
  std::memcpy(dest + at, tail, bytes - at);
}

/// Copies pixels that lie `stride` bytes apart.
template <size_t kBytes>
void PointStride(const uint8_t* from, size_t stride, uint8_t* dest, size_t count) {
  for (; count >= 4; count -= 4, from += 4 * stride, dest += 4 * kBytes) {
    std::memcpy(dest, from, kBytes);
    std::memcpy(dest + kBytes, from + stride, kBytes);
    std::memcpy(dest + 2 * kBytes, from + 2 * stride, kBytes);
    std::memcpy(dest + 3 * kBytes, from + 3 * stride, kBytes);
  }
  for (; count != 0; --count, from += stride, dest += kBytes) std::memcpy(dest, from, kBytes);
}

/// Every second 4-byte pixel.
void PointEven(const uint8_t* from, uint8_t* dest, size_t count) {
  const Bytes d;
  const hn::Repartition<uint32_t, Bytes> d32;
  // The last source pixel to take may be the row's last: short of it by one whole vector.
  for (; count > kVectorBytes / 4; count -= kVectorBytes / 4) {
    const auto low = hn::BitCast(d32, hn::LoadU(d, from));
    const auto high = hn::BitCast(d32, hn::LoadU(d, from + kVectorBytes));
    hn::StoreU(hn::BitCast(d, hn::ConcatEven(d32, high, low)), d, dest);
    from += 2 * kVectorBytes;
    dest += kVectorBytes;
  }
  PointStride<4>(from, 8, dest, count);
}

template <size_t kBytes>
void PointPixels(const uint32_t* offsets, const uint8_t* row, uint8_t* dest, size_t count) {
  size_t i = 0;
  for (; i + 4 <= count; i += 4, dest += 4 * kBytes) {
    std::memcpy(dest, row + offsets[i], kBytes);
    std::memcpy(dest + kBytes, row + offsets[i + 1], kBytes);
    std::memcpy(dest + 2 * kBytes, row + offsets[i + 2], kBytes);
    std::memcpy(dest + 3 * kBytes, row + offsets[i + 3], kBytes);
  }
  for (; i < count; ++i, dest += kBytes) std::memcpy(dest, row + offsets[i], kBytes);
}

template <size_t kBytes>
void PointTile(const ScaleJob& job, Fetch fetch, const PointTable& table, int64_t first,
               size_t count) {
  const bool by_table =
      fetch == Fetch::kBlock || fetch == Fetch::kHalfBlock || fetch == Fetch::kPixel;
  if (by_table) FillPointTable<kBytes>(job, fetch, first, count, table);
  const auto stride = static_cast<size_t>(job.step_x >> 16) * kBytes;
  const size_t start = static_cast<size_t>(first) * stride;  // where the step is whole
  SourceRow source;
  uint8_t* dest = job.dest + first * int64_t{kBytes};
  int64_t made = -1;  // the source row of the destination row above
  for (int64_t j = 0; j < job.dest_height; ++j, dest += job.dest_pitch) {
    const int64_t y = j * job.step_y >> 16;
    if (y == made) {
      std::memcpy(dest, dest - job.dest_pitch, count * kBytes);
      continue;
    }
    made = y;
    const uint8_t* row = source.Get(job, y);
    switch (fetch) {
      case Fetch::kRow:
        std::memcpy(dest, row + start, count * kBytes);
        break;
      case Fetch::kEven:
        PointEven(row + start, dest, count);
        break;
      case Fetch::kStride:
        PointStride<kBytes>(row + start, stride, dest, count);
        break;
      case Fetch::kBlock:
        PointBlocks<Fetch::kBlock>(table, row, dest, count * kBytes);
        break;
      case Fetch::kHalfBlock:
        PointBlocks<Fetch::kHalfBlock>(table, row, dest, count * kBytes);
        break;
      case Fetch::kPixel:
        PointPixels<kBytes>(table.pixel, row, dest, count);
        break;
    }
  }
}

template <size_t kBytes>
void PointTiles(const ScaleJob& job) {
  const Fetch fetch = FetchFor<kBytes>(job.step_x);
  PointRoom room(job.dest_width);
  const PointTable table(room);
  ForEachTile(job, room.columns(), [&](int64_t first, size_t count) {
    PointTile<kBytes>(job, fetch, table, first, count);
  });
}

void Point(const ScaleJob& job) {
  constexpr ScaleLoop kLoops[] = {PointTiles<1>, PointTiles<2>, PointTiles<3>, PointTiles<4>};
  kLoops[job.bytes - 1](job);
}

// --- Bilinear filter -----------------------------------------------------------------------------
//
// Blends work on 16-bit lanes, 8 to a block of two pixels; 3-byte pixels leave every fourth unused.
//
// p + floor((q - p) * f / 65536) equals q + floor((p - q) * (65536 - f) / 65536). With the nearer
// one as base, either is base + the high half of (p - q) * w: w is -f for p as base, 65536 - f for
// q, and fits 16 signed bits when q is the base of fractions above one half. The words are the
// same.

constexpr bool SecondIsBase(int64_t fraction) { return fraction > kOne / 2; }
constexpr int16_t WeightOf(int64_t fraction) { return static_cast<int16_t>(-fraction); }

// In bytes per column: shuffles, weights, one or two offsets for two pixels, and rows of lanes.
using FilterRoom = TileRoom<8 + 8 + 4 + 3 * 8>;

struct FilterTable {
  explicit FilterTable(FilterRoom& room)
      : shuffle(room.Take<uint8_t>(8)),
        weight(room.Take<int16_t>(8)),
        load(room.Take<uint32_t>(4)),
        rows{room.Take<int16_t>(8), room.Take<int16_t>(8)},
        difference(room.Take<int16_t>(8)) {}

  uint8_t* shuffle;  // pairs of bytes: base, other
  int16_t* weight;   // of base - other
  uint32_t* load;
  int16_t* rows[2];     // blended across
  int16_t* difference;  // upper row - lower row
};

/// Whether both pixels of a block and their neighbours lie within one load.
bool OneLoad(const ScaleJob& job) {
  return (((job.step_x + kOne - 1) >> 16) + 2) * job.bytes <= int64_t{kBlock};
}

/// Lanes of whole pairs of vectors.
size_t LanesOf(size_t count) { return RoundUpTo(count * 4, kVectorBytes); }

template <size_t kBytes, bool kOneLoad>
void FillFilterTable(const ScaleJob& job, int64_t first, size_t count, const FilterTable& table) {
  // One 16-bit field per channel: the base's byte below, the other's above.
  constexpr uint64_t kFields = kBytes == 4 ? 0x0001000100010001 : 0x0000000100010001;
  constexpr uint64_t kChannels = kBytes == 4 ? 0x0303020201010000 : 0x0000020201010000;
  constexpr uint64_t kWithinBlock = 0x0F0F0F0F0F0F0F0F;
  const size_t last_load = RowBytes(job) - (kOneLoad ? kBlock : kBlock / 2);
  const size_t pixels = LanesOf(count) / 4;
  int64_t x = first * job.step_x;
  size_t load = 0;
  for (size_t i = 0; i < pixels; ++i) {
    const size_t slot = AlternatingSlot(i / 2);
    const size_t half = i % 2;
    const size_t at = static_cast<size_t>(x >> 16) * kBytes;
    if (half == 0 || !kOneLoad) {
      load = std::min(at, last_load);
      table.load[kOneLoad ? slot : 2 * slot + half] = static_cast<uint32_t>(load);
    }
    // Without branches: the nearer neighbour changes all the time. The mask is for pixels without
    // weight at the end of the row, whose neighbour would lie outside.
    const int64_t fraction = x & (kOne - 1);
    const uint64_t second = static_cast<uint64_t>(kOne / 2 - fraction) >> 63;
    const uint64_t pixel = at - load + (kOneLoad ? 0 : half * kBlock / 2);
    const uint64_t base = pixel + second * kBytes;
    const uint64_t other = pixel + (second ^ 1) * kBytes;
    const uint64_t shuffle = (kChannels + kFields * (base | other << 8)) & kWithinBlock;
    // The difference is base - other, so the sign turns with the base.
    const uint64_t weight =
        static_cast<uint64_t>(fraction ^ -static_cast<int64_t>(second ^ 1)) + (second ^ 1);
    const uint64_t weights = kFields * (weight & 0xFFFF);
    std::memcpy(table.shuffle + slot * kBlock + half * 8, &shuffle, 8);
    std::memcpy(table.weight + slot * 8 + half * 4, &weights, 8);
    // What the last vectors have too many repeats the last pixel.
    if (i + 1 < count) x += job.step_x;
  }
}

/// A vector of lanes of a row, from `at` on, blended across.
template <bool kOneLoad>
HWY_INLINE hn::Vec<Words> BlendAcross(const FilterTable& table, const uint8_t* row, size_t at) {
  const Bytes d8;
  const Words d16;
  const hn::RebindToUnsigned<Words> du16;
  const auto pixels = kOneLoad ? LoadBlocks(d8, row, table.load + at / 8)
                               : LoadHalfBlocks(d8, row, table.load + at / 4);
  const auto pairs =
      hn::BitCast(du16, hn::TableLookupBytes(pixels, hn::Load(d8, table.shuffle + at * 2)));
  const auto base = hn::BitCast(d16, hn::And(pairs, hn::Set(du16, 255)));
  const auto other = hn::BitCast(d16, hn::ShiftRight<8>(pairs));
  const auto weight = hn::Load(d16, table.weight + at);
  return hn::Add(base, hn::MulHigh(hn::Sub(base, other), weight));
}

/// Writes the pixels of a vector of bytes; of 3-byte pixels, 12 of every 16 bytes, in front.
template <size_t kBytes, class D>
HWY_INLINE void StorePixels(hn::Vec<D> pixels, D d, uint8_t* dest) {
  if constexpr (kBytes == 4 || hn::MaxLanes(D()) == kBlock) {
    hn::StoreU(pixels, d, dest);
  } else {
    // Each block's last four bytes are overwritten by the next.
    const hn::Half<D> half;
    StorePixels<kBytes>(hn::LowerHalf(half, pixels), half, dest);
    StorePixels<kBytes>(hn::UpperHalf(half, pixels), half, dest + hn::MaxLanes(half) / 4 * 3);
  }
}

/// Writes destination bytes; `lanes(at)` gives a vector of them, of which two are combined.
template <size_t kBytes, class Lanes>
HWY_INLINE void StoreRow(uint8_t* dest, size_t bytes, const Lanes& lanes) {
  HWY_ALIGN static constexpr uint8_t kOrder4[] = {0, 2, 4, 6, 8, 10, 12, 14,
                                                  1, 3, 5, 7, 9, 11, 13, 15};
  HWY_ALIGN static constexpr uint8_t kOrder3[] = {0, 2, 4,  8,  10, 12, 1, 3,
                                                  5, 9, 11, 13, 0,  0,  0, 0};
  constexpr size_t kStride = kVectorBytes / 4 * kBytes;
  const Bytes d8;
  const auto order = hn::LoadDup128(d8, kBytes == 4 ? kOrder4 : kOrder3);
  const auto pixels = [&](size_t at) HWY_ATTR {
    const auto mixed = hn::Or(lanes(at), hn::ShiftLeft<8>(lanes(at + kVectorBytes / 2)));
    return hn::TableLookupBytes(hn::BitCast(d8, mixed), order);
  };
  size_t at = 0;
  for (; bytes >= kVectorBytes; bytes -= kStride, dest += kStride, at += kVectorBytes) {
    StorePixels<kBytes>(pixels(at), d8, dest);
  }
  for (; bytes != 0; at += kVectorBytes) {
    HWY_ALIGN uint8_t tail[kVectorBytes];
    const size_t rest = std::min(bytes, kStride);
    StorePixels<kBytes>(pixels(at), d8, tail);
    std::memcpy(dest, tail, rest);
    bytes -= rest;
    dest += rest;
  }
}

/// Blends rows across once and keeps them while destination rows lie between them.
template <size_t kBytes, bool kOneLoad>
class KeptRows {
 public:
  KeptRows(const ScaleJob& job, const FilterTable& table, size_t count)
      : job_(job), table_(table), count_(count) {}

  void Make(int64_t y, uint8_t* dest) {
    const int64_t fraction = y & (kOne - 1);
    const int64_t number = y >> 16;
    const int16_t* upper = Upper(number);
    if (fraction == 0) return BlendDown(upper, upper, 0, dest);
    const int16_t* lower = Lower(number + 1, upper);
    BlendDown(SecondIsBase(fraction) ? lower : upper, table_.difference, WeightOf(fraction), dest);
  }

 private:
  // Neighbours differ in parity, so that the row to keep is never the one to replace.
  const int16_t* Upper(int64_t number) {
    const Words d;
    const size_t parity = number & 1;
    int16_t* lanes = table_.rows[parity];
    if (kept_[parity] == number) return lanes;
    kept_[parity] = number;
    const uint8_t* row = source_.Get(job_, number);
    const size_t end = LanesOf(count_);
    for (size_t at = 0; at < end; at += kVectorBytes / 2) {
      hn::Store(BlendAcross<kOneLoad>(table_, row, at), d, lanes + at);
    }
    return lanes;
  }

  const int16_t* Lower(int64_t number, const int16_t* upper) {
    const Words d;
    const size_t parity = number & 1;
    int16_t* lanes = table_.rows[parity];
    if (kept_[parity] == number) return lanes;
    kept_[parity] = number;
    const uint8_t* row = source_.Get(job_, number);
    const size_t end = LanesOf(count_);
    for (size_t at = 0; at < end; at += kVectorBytes / 2) {
      const auto blended = BlendAcross<kOneLoad>(table_, row, at);
      hn::Store(blended, d, lanes + at);
      hn::Store(hn::Sub(hn::Load(d, upper + at), blended), d, table_.difference + at);
    }
    return lanes;
  }

  void BlendDown(const int16_t* base, const int16_t* difference, int16_t weight, uint8_t* dest) {
    const Words d;
    const auto weights = hn::Set(d, weight);
    StoreRow<kBytes>(dest, count_ * kBytes, [=](size_t at) HWY_ATTR {
      return hn::Add(hn::Load(d, base + at), hn::MulHigh(hn::Load(d, difference + at), weights));
    });
  }

  const ScaleJob& job_;
  const FilterTable& table_;
  size_t count_;
  SourceRow source_;
  int64_t kept_[2] = {-1, -1};
};

/// Blends two source rows across and down at once: where few rows serve twice.
template <size_t kBytes, bool kOneLoad>
void MakeFromBoth(const ScaleJob& job, const FilterTable& table, size_t count, int64_t y,
                  uint8_t* dest) {
  const Words d;
  const int64_t fraction = y & (kOne - 1);
  SourceRow upper_source, lower_source;
  const uint8_t* upper = upper_source.Get(job, y >> 16);
  if (fraction == 0) {
    return StoreRow<kBytes>(dest, count * kBytes, [&](size_t at) HWY_ATTR {
      return BlendAcross<kOneLoad>(table, upper, at);
    });
  }
  const uint8_t* lower = lower_source.Get(job, (y >> 16) + 1);
  const auto weights = hn::Set(d, WeightOf(fraction));
  const bool lower_is_base = SecondIsBase(fraction);
  const uint8_t* base = lower_is_base ? lower : upper;
  const uint8_t* other = lower_is_base ? upper : lower;
  const auto signed_weights = lower_is_base ? hn::Neg(weights) : weights;
  StoreRow<kBytes>(dest, count * kBytes, [=](size_t at) HWY_ATTR {
    const auto b = BlendAcross<kOneLoad>(table, base, at);
    const auto o = BlendAcross<kOneLoad>(table, other, at);
    return hn::Add(b, hn::MulHigh(hn::Sub(b, o), signed_weights));
  });
}

template <size_t kBytes, bool kOneLoad>
void FilterTile(const ScaleJob& job, const FilterTable& table, int64_t first, size_t count) {
  FillFilterTable<kBytes, kOneLoad>(job, first, count, table);
  uint8_t* dest = job.dest + first * int64_t{kBytes};
  if (job.step_y > kOne * 5 / 4) {
    for (int64_t j = 0; j < job.dest_height; ++j, dest += job.dest_pitch) {
      MakeFromBoth<kBytes, kOneLoad>(job, table, count, j * job.step_y, dest);
    }
    return;
  }
  KeptRows<kBytes, kOneLoad> rows(job, table, count);
  for (int64_t j = 0; j < job.dest_height; ++j, dest += job.dest_pitch) {
    rows.Make(j * job.step_y, dest);
  }
}

template <size_t kBytes>
void FilterTiles(const ScaleJob& job) {
  FilterRoom room(job.dest_width);
  const FilterTable table(room);
  const bool one_load = OneLoad(job);
  ForEachTile(job, room.columns(), [&](int64_t first, size_t count) {
    if (one_load) {
      FilterTile<kBytes, true>(job, table, first, count);
    } else {
      FilterTile<kBytes, false>(job, table, first, count);
    }
  });
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
