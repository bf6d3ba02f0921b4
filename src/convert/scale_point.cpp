// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/scale_kernels.h"
#include "platform/vector_table.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/scale_point.cpp"
#include <hwy/foreach_target.h>
// After foreach_target, which includes this file once per target.
#include <hwy/cache_control.h>
#include "convert/scale_tables-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zav {
namespace HWY_NAMESPACE {

#if ZAV_SCALE_PLAIN

const ScaleKernel& PointKernel() { return PlainPointKernel(); }

#else

namespace {

/// How the pixels of a destination row are fetched.
enum class Fetch {
  kRow,     // as they stand
  kTwice,   // every one twice
  kSecond,  // every second one
  kFourth,
  kStride,     // every n-th one
  kBlock,      // 16 destination bytes from 16 source bytes
  kHalfBlock,  // 8 from 16
  kLanes,      // a vector of 4-byte pixels from two
  kPixel       // singly
};

constexpr size_t kVectorPixels = kVectorBytes / 4;

/// Whether vectors of 4-byte pixels come from two neighbouring ones of the source. Smaller vectors
/// have too few pixels for that to pay.
bool FitsLanes(const ScaleJob& job, size_t count) {
  const int64_t apart = (int64_t{kVectorPixels - 1} * job.step_x + kOne - 1) >> 16;
  return kVectorBytes > kBlock && apart < int64_t{2 * kVectorPixels} && count >= kVectorPixels &&
         job.source_row_bytes >= int64_t{2 * kVectorBytes};
}

template <size_t kBytes>
Fetch FetchFor(const ScaleJob& job, size_t count) {
  const int64_t step = job.step_x;
  if (step == kOne) return Fetch::kRow;
  if (kBytes == 4 && step == kOne / 2) return Fetch::kTwice;
  if (kBytes == 4 && step == 2 * kOne) return Fetch::kSecond;
  if (kBytes == 4 && step == 4 * kOne) return Fetch::kFourth;
  if (step < kOne) return Fetch::kBlock;
  if (kBytes == 4) return FitsLanes(job, count) ? Fetch::kLanes : Fetch::kPixel;
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

  // Lanes and pairs take the place of the shuffles.
  uint32_t* lanes() const { return reinterpret_cast<uint32_t*>(shuffle); }
  uint64_t* pairs() const { return reinterpret_cast<uint64_t*>(shuffle); }

  uint8_t* shuffle;
  uint32_t* load;
  uint32_t* pixel;  // source offset of each destination pixel
};

/// The shuffles for `kTaken` destination bytes to a load.
template <size_t kBytes, size_t kTaken>
void FillShuffles(const PointTable& table, size_t count, uint32_t last_load) {
  const size_t bytes = count * kBytes;
  const size_t whole = bytes / kVectorBytes * kVectorBytes;
  size_t pixel = 0;
  uint32_t channel = 0;
  for (size_t block = 0; block * kTaken < RoundUpTo(bytes, kVectorBytes); ++block) {
    if (whole != 0 && block * kTaken == whole) {
      // The last vector ends with the row and repeats bytes of the one before.
      pixel = (bytes - kVectorBytes) / kBytes;
      channel = static_cast<uint32_t>((bytes - kVectorBytes) % kBytes);
    }
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

/// Two offsets in one number, the first in its low half: one load then brings both.
void FillPairs(const PointTable& table, size_t count) {
  table.pixel[count] = 0;
  for (size_t i = 0; i < count; i += 2) {
    table.pairs()[i / 2] = table.pixel[i] | uint64_t{table.pixel[i + 1]} << 32;
  }
}

constexpr uint32_t kSecondVector = 0x80000000;

/// For each vector of pixels where its first source vector lies, and for each pixel the lane and
/// which of the two vectors it comes from.
void FillLanes(const ScaleJob& job, const PointTable& table, size_t count) {
  const auto last_load = static_cast<uint32_t>(job.source_row_bytes - int64_t{2 * kVectorBytes});
  for (size_t at = 0; at < count; at += kVectorPixels) {
    // The last vector ends with the row and repeats pixels of the one before.
    const uint32_t* pixel = table.pixel + std::min(at, count - kVectorPixels);
    const uint32_t load = std::min(pixel[0], last_load);
    table.load[at / kVectorPixels] = load;
    for (size_t i = 0; i < kVectorPixels; ++i) {
      const uint32_t lane = (pixel[i] - load) / 4;
      table.lanes()[at + i] = lane < kVectorPixels ? lane : (lane - kVectorPixels) | kSecondVector;
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
  if (fetch == Fetch::kPixel) return FillPairs(table, count);
  if (fetch == Fetch::kLanes) return FillLanes(job, table, count);
  // A row of less than a vector is filled up with its last pixel.
  std::fill(table.pixel + count, table.pixel + std::max(count, kVectorBytes),
            table.pixel[count - 1]);
  const auto last_load = static_cast<uint32_t>(RowBytes(job) - kBlock);
  if (fetch == Fetch::kBlock) {
    FillShuffles<kBytes, kBlock>(table, count, last_load);
  } else {
    FillShuffles<kBytes, kBlock / 2>(table, count, last_load);
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
void PointBlocks(const PointTable& table, const uint8_t* row, size_t first, uint8_t* dest,
                 size_t bytes) {
  const Bytes d;
  size_t at = 0;
  for (; at + kVectorBytes <= bytes; at += kVectorBytes) {
    hn::StoreU(PointVector<kFetch>(table, row, first + at), d, dest + at);
  }
  if (at == bytes) return;
  const auto last = PointVector<kFetch>(table, row, first + at);
  if (at != 0) return hn::StoreU(last, d, dest + bytes - kVectorBytes);
  HWY_ALIGN uint8_t tail[kVectorBytes];
  hn::Store(last, d, tail);
  std::memcpy(dest, tail, bytes);
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

using Pixels = hn::Repartition<uint32_t, Bytes>;

using PixelBlock = hn::FixedTag<uint32_t, 4>;
using ByteBlock = hn::Repartition<uint8_t, PixelBlock>;

template <class D>
HWY_INLINE hn::Vec<hn::Repartition<uint32_t, D> > LoadPixels(D d, const uint8_t* from) {
  return hn::BitCast(hn::Repartition<uint32_t, D>(), hn::LoadU(d, from));
}

template <class D>
HWY_INLINE void StorePixels(hn::Vec<D> pixels, D, uint8_t* dest) {
  const hn::Repartition<uint8_t, D> d8;
  hn::StoreU(hn::BitCast(d8, pixels), d8, dest);
}

HWY_INLINE hn::Vec<Pixels> EvenPixels(const uint8_t* from) {
  return hn::ConcatEven(Pixels(), LoadPixels(Bytes(), from + kVectorBytes),
                        LoadPixels(Bytes(), from));
}

/// Every second or fourth 4-byte pixel. The row holds that many for each, also for the last.
template <size_t kStride>
void PointEvery(const uint8_t* from, const uint8_t* next, uint8_t* dest, size_t count) {
  const auto group = [](const uint8_t* first) HWY_ATTR {
    if constexpr (kStride == 2) return EvenPixels(first);
    return hn::ConcatEven(Pixels(), EvenPixels(first + 2 * kVectorBytes), EvenPixels(first));
  };
  const auto make = [&](size_t i) HWY_ATTR {
    if constexpr (kStride == 4) {
      hwy::Prefetch(next + i * 4 * kStride);
      hwy::Prefetch(next + i * 4 * kStride + 2 * kVectorBytes);
    }
    StorePixels(group(from + i * 4 * kStride), Pixels(), dest + i * 4);
  };
  if (count < kVectorPixels) return PointStride<4>(from, 4 * kStride, dest, count);
  for (size_t i = 0; i + kVectorPixels <= count; i += kVectorPixels) make(i);
  if (count % kVectorPixels != 0) make(count - kVectorPixels);
}

/// A vector of pixels from two.
void PointLanes(const PointTable& table, const uint8_t* row, size_t first, uint8_t* dest,
                size_t count) {
  const Bytes d8;
  const Pixels d;
  const hn::RebindToSigned<Pixels> di;
  const auto make = [=](size_t at, size_t to) HWY_ATTR {
    const uint8_t* from = row + table.load[(first + at) / kVectorPixels];
    const auto lanes = hn::Load(d, table.lanes() + first + at);
    const auto indices =
        hn::IndicesFromVec(d, hn::And(lanes, hn::Set(d, uint32_t{kVectorPixels - 1})));
    const auto near = hn::TableLookupLanes(LoadPixels(d8, from), indices);
    const auto far = hn::TableLookupLanes(LoadPixels(d8, from + kVectorBytes), indices);
    const auto pixels =
        hn::IfNegativeThenElse(hn::BitCast(di, lanes), hn::BitCast(di, far), hn::BitCast(di, near));
    StorePixels(hn::BitCast(d, pixels), d, dest + to * 4);
  };
  size_t at = 0;
  for (; at + kVectorPixels <= count; at += kVectorPixels) make(at, at);
  if (at != count) make(at, count - kVectorPixels);
}

/// Every 4-byte pixel twice.
void PointTwice(const uint8_t* from, uint8_t* dest, size_t count) {
  const Bytes d;
  const hn::Repartition<uint64_t, Bytes> d64;
  const hn::Half<Pixels> half;
  size_t i = 0;
  for (; i + kVectorPixels <= count; i += kVectorPixels) {
    const auto bytes = hn::LoadU(hn::Half<Bytes>(), from + i * 2);
    const auto pixels = hn::PromoteTo(d64, hn::BitCast(half, bytes));
    hn::StoreU(hn::BitCast(d, hn::Or(pixels, hn::ShiftLeft<32>(pixels))), d, dest + i * 4);
  }
  for (; i < count; ++i) std::memcpy(dest + i * 4, from + i / 2 * 4, 4);
}

template <size_t kBytes>
HWY_INLINE void PointPair(uint64_t pair, const uint8_t* row, uint8_t* dest) {
  std::memcpy(dest, row + static_cast<uint32_t>(pair), kBytes);
  std::memcpy(dest + kBytes, row + (pair >> 32), kBytes);
}

/// Two 4-byte pixels.
HWY_INLINE hn::Vec<hn::Half<PixelBlock> > LoadPair(uint64_t pair, const uint8_t* row) {
  const hn::FixedTag<uint8_t, 4> d;
  const hn::Half<PixelBlock> d32;
  const hn::Half<decltype(d32)> pixel;
  const auto first = hn::LoadU(d, row + static_cast<uint32_t>(pair));
  const auto second = hn::LoadU(d, row + (pair >> 32));
  return hn::Combine(d32, hn::BitCast(pixel, second), hn::BitCast(pixel, first));
}

template <size_t kBytes>
void PointPixels(const uint64_t* pairs, const uint8_t* row, const uint8_t* next, uint8_t* dest,
                 size_t count) {
  size_t i = 0;
  for (; i + 8 <= count; i += 8, pairs += 4, dest += 8 * kBytes) {
    if constexpr (kBytes == 4) {
      hwy::Prefetch(next + static_cast<uint32_t>(pairs[0]));
      hwy::Prefetch(next + (pairs[2] >> 32));
      const PixelBlock d;
      for (size_t half = 0; half < 2; ++half) {
        StorePixels(
            hn::Combine(d, LoadPair(pairs[2 * half + 1], row), LoadPair(pairs[2 * half], row)), d,
            dest + half * kBlock);
      }
    } else {
      for (size_t k = 0; k < 4; ++k) PointPair<kBytes>(pairs[k], row, dest + k * 2 * kBytes);
    }
  }
  for (; i + 2 <= count; i += 2, ++pairs, dest += 2 * kBytes) PointPair<kBytes>(*pairs, row, dest);
  if (i < count) std::memcpy(dest, row + static_cast<uint32_t>(*pairs), kBytes);
}

/// The columns of a tile.
template <size_t kBytes>
class PointColumns {
 public:
  PointColumns(const ScaleJob& job, const PointTable& table, int64_t first, size_t count)
      : fetch_(FetchFor<kBytes>(job, count)),
        table_(table),
        stride_(static_cast<size_t>(job.step_x >> 16) * kBytes),
        start_(first * job.step_x >> 16),
        step_(job.step_x) {
    const bool by_table = fetch_ == Fetch::kBlock || fetch_ == Fetch::kHalfBlock ||
                          fetch_ == Fetch::kLanes || fetch_ == Fetch::kPixel;
    if (by_table) FillPointTable<kBytes>(job, fetch_, first, count, table);
  }

  /// Makes `count` pixels from the column `at` of the tile on: all that are left, or both multiples
  /// of kPiece. `next` is the source row that will be needed next.
  HWY_INLINE void Make(const uint8_t* row, const uint8_t* next, size_t at, size_t count,
                       uint8_t* dest) const {
    switch (fetch_) {
      case Fetch::kRow:
        std::memcpy(dest, From(row, at), count * kBytes);
        break;
      case Fetch::kTwice:
        PointTwice(From(row, at), dest, count);
        break;
      case Fetch::kSecond:
        PointEvery<2>(From(row, at), From(next, at), dest, count);
        break;
      case Fetch::kFourth:
        PointEvery<4>(From(row, at), From(next, at), dest, count);
        break;
      case Fetch::kStride:
        PointStride<kBytes>(From(row, at), stride_, dest, count);
        break;
      case Fetch::kBlock:
        PointBlocks<Fetch::kBlock>(table_, row, at * kBytes, dest, count * kBytes);
        break;
      case Fetch::kHalfBlock:
        PointBlocks<Fetch::kHalfBlock>(table_, row, at * kBytes, dest, count * kBytes);
        break;
      case Fetch::kLanes:
        PointLanes(table_, row, at, dest, count);
        break;
      case Fetch::kPixel:
        PointPixels<kBytes>(table_.pairs() + at / 2, row, next, dest, count);
        break;
    }
  }

 private:
  /// Where the step is whole, or one half: tiles and pieces start at even columns.
  const uint8_t* From(const uint8_t* row, size_t at) const {
    return row + static_cast<size_t>(start_ + (static_cast<int64_t>(at) * step_ >> 16)) * kBytes;
  }

  Fetch fetch_;
  const PointTable& table_;
  size_t stride_;
  int64_t start_;  // source column
  int64_t step_;
};

template <size_t kBytes>
void PointTile(const ScaleJob& job, const PointTable& table, int64_t first, size_t count) {
  const PointColumns<kBytes> columns(job, table, first, count);
  // Where the source is the larger one, reading it is what takes the time.
  const bool streams = job.step_x < kOne && StreamsRows(job, count);
  SourceRow source;
  uint8_t* dest = job.dest + first * int64_t{kBytes};
  int64_t made = -1;  // the source row of the destination row above
  int64_t y = 0;
  int64_t next_y;
  for (int64_t j = 0; j < job.dest_height; ++j, dest += job.dest_pitch, y = next_y) {
    next_y = std::min(j + 1, job.dest_height - 1) * job.step_y >> 16;
    if (y == made && !streams) {
      std::memcpy(dest, dest - job.dest_pitch, count * kBytes);
      continue;
    }
    made = y;
    const uint8_t* row = source.Get(job, y);
    const uint8_t* next = job.source + next_y * job.source_pitch;
    if (!streams) {
      columns.Make(row, next, 0, count, dest);
      continue;
    }
    StreamPieces(dest, count, kBytes, [&](size_t at, size_t pixels, uint8_t* piece) {
      columns.Make(row, next, at, pixels, piece);
    });
  }
  if (streams) StreamFence();
}

template <size_t kBytes>
void PointTiles(const ScaleJob& job) {
  PointRoom room(job.dest_width);
  const PointTable table(room);
  ForEachTile(job, room.columns(),
              [&](int64_t first, size_t count) { PointTile<kBytes>(job, table, first, count); });
}

void Point(const ScaleJob& job) {
  constexpr void (*kLoops[])(const ScaleJob&) = {PointTiles<1>, PointTiles<2>, PointTiles<3>,
                                                 PointTiles<4>};
  kLoops[job.bytes - 1](job);
}

}  // namespace

const ScaleKernel& PointKernel() {
  static const ScaleKernel kKernel = {hwy::TargetName(HWY_TARGET), Point};
  return kKernel;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace zav
HWY_AFTER_NAMESPACE();

#endif  // ZAV_HAVE_HIGHWAY

#if !defined(ZAV_HAVE_HIGHWAY) || HWY_ONCE
namespace zav {

ZAV_SELECT_TABLE(ScaleKernel, SelectedPointKernel, PointKernel, PlainPointKernel)

}  // namespace zav
#endif
