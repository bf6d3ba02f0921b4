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
#include "convert/scale_point_table-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zav {
namespace HWY_NAMESPACE {

#if ZAV_SCALE_PLAIN

const ScaleKernel& PointKernel() { return PlainPointKernel(); }

#else

namespace {

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
HWY_INLINE hn::Vec<Pixels> EveryPixel(const uint8_t* from) {
  if constexpr (kStride == 2) return EvenPixels(from);
  return hn::ConcatEven(Pixels(), EvenPixels(from + 2 * kVectorBytes), EvenPixels(from));
}

template <size_t kStride>
void PointEvery(const uint8_t* from, const uint8_t* next, uint8_t* dest, size_t count) {
  const auto make = [&](size_t i) HWY_ATTR {
    if constexpr (kStride == 4) {
      hwy::Prefetch(next + i * 4 * kStride);
      hwy::Prefetch(next + i * 4 * kStride + 2 * kVectorBytes);
    }
    StorePixels(EveryPixel<kStride>(from + i * 4 * kStride), Pixels(), dest + i * 4);
  };
  if (count < kVectorPixels) return PointStride<4>(from, 4 * kStride, dest, count);
  for (size_t i = 0; i + kVectorPixels <= count; i += kVectorPixels) make(i);
  if (count % kVectorPixels != 0) make(count - kVectorPixels);
}

/// A whole row and the next one.
template <size_t kStride>
void PointEveryOfTwo(const uint8_t* from, const uint8_t* next_from, uint8_t* dest,
                     uint8_t* next_dest, size_t count) {
  if (count < kVectorPixels) {
    PointStride<4>(from, 4 * kStride, dest, count);
    return PointStride<4>(next_from, 4 * kStride, next_dest, count);
  }
  for (size_t i = 0; i < count; i += kVectorPixels) {
    const size_t at = std::min(i, count - kVectorPixels) * 4;
    StorePixels(EveryPixel<kStride>(from + at * kStride), Pixels(), dest + at);
    StorePixels(EveryPixel<kStride>(next_from + at * kStride), Pixels(), next_dest + at);
  }
}

/// How a vector of pixels is taken from two neighbouring ones of a row.
class TwoVectors {
 public:
  /// Of the tile's columns from `at` on.
  HWY_INLINE TwoVectors(const PointTable& table, size_t at)
      : offset_(table.load[at / kVectorPixels]), lanes_(hn::Load(Pixels(), table.lanes() + at)) {}

  HWY_INLINE hn::Vec<Pixels> Take(const uint8_t* row) const {
    const Pixels d;
    const hn::RebindToSigned<Pixels> di;
    const auto indices =
        hn::IndicesFromVec(d, hn::And(lanes_, hn::Set(d, uint32_t{kVectorPixels - 1})));
    const uint8_t* from = row + offset_;
    const auto near = hn::TableLookupLanes(LoadPixels(Bytes(), from), indices);
    const auto far = hn::TableLookupLanes(LoadPixels(Bytes(), from + kVectorBytes), indices);
    return hn::BitCast(d, hn::IfNegativeThenElse(hn::BitCast(di, lanes_), hn::BitCast(di, far),
                                                 hn::BitCast(di, near)));
  }

 private:
  uint32_t offset_;
  hn::Vec<Pixels> lanes_;
};

void PointLanes(const PointTable& table, const uint8_t* row, size_t first, uint8_t* dest,
                size_t count) {
  const auto make = [=](size_t at, size_t to) HWY_ATTR {
    StorePixels(TwoVectors(table, first + at).Take(row), Pixels(), dest + to * 4);
  };
  size_t at = 0;
  for (; at + kVectorPixels <= count; at += kVectorPixels) make(at, at);
  if (at != count) make(at, count - kVectorPixels);
}

/// A whole row and the next one.
void PointLanesOfTwo(const PointTable& table, const uint8_t* row, const uint8_t* next_row,
                     uint8_t* dest, uint8_t* next_dest, size_t count) {
  for (size_t at = 0; at < count; at += kVectorPixels) {
    const size_t to = std::min(at, count - kVectorPixels) * 4;
    const TwoVectors vectors(table, at);
    StorePixels(vectors.Take(row), Pixels(), dest + to);
    StorePixels(vectors.Take(next_row), Pixels(), next_dest + to);
  }
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

/// Four.
HWY_INLINE void CopyFour(const uint64_t* pairs, const uint8_t* row, uint8_t* dest) {
  const PixelBlock d;
  StorePixels(hn::Combine(d, LoadPair(pairs[1], row), LoadPair(pairs[0], row)), d, dest);
}

template <size_t kBytes>
void PointPixels(const uint64_t* pairs, const uint8_t* row, const uint8_t* next, uint8_t* dest,
                 size_t count) {
  size_t i = 0;
  for (; i + 8 <= count; i += 8, pairs += 4, dest += 8 * kBytes) {
    if constexpr (kBytes == 4) {
      hwy::Prefetch(next + static_cast<uint32_t>(pairs[0]));
      hwy::Prefetch(next + (pairs[2] >> 32));
      CopyFour(pairs, row, dest);
      CopyFour(pairs + 2, row, dest + kBlock);
    } else {
      for (size_t k = 0; k < 4; ++k) PointPair<kBytes>(pairs[k], row, dest + k * 2 * kBytes);
    }
  }
  for (; i + 2 <= count; i += 2, ++pairs, dest += 2 * kBytes) PointPair<kBytes>(*pairs, row, dest);
  if (i < count) std::memcpy(dest, row + static_cast<uint32_t>(*pairs), kBytes);
}

/// A whole row of 4-byte pixels and the next one.
void PointPixelsOfTwo(const uint64_t* pairs, const uint8_t* row, const uint8_t* next_row,
                      uint8_t* dest, uint8_t* next_dest, size_t count) {
  size_t i = 0;
  for (; i + 4 <= count; i += 4, pairs += 2) {
    const uint64_t both[] = {pairs[0], pairs[1]};  // not to be fetched again after a store
    CopyFour(both, row, dest + i * 4);
    CopyFour(both, next_row, next_dest + i * 4);
  }
  for (; i + 2 <= count; i += 2, ++pairs) {
    PointPair<4>(*pairs, row, dest + i * 4);
    PointPair<4>(*pairs, next_row, next_dest + i * 4);
  }
  if (i < count) {
    std::memcpy(dest + i * 4, row + static_cast<uint32_t>(*pairs), 4);
    std::memcpy(next_dest + i * 4, next_row + static_cast<uint32_t>(*pairs), 4);
  }
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

  /// Whether two rows at once are faster: where what they share is much of the work.
  bool TakesTwo() const {
    return kBytes == 4 && (fetch_ == Fetch::kSecond || fetch_ == Fetch::kFourth ||
                           fetch_ == Fetch::kLanes || fetch_ == Fetch::kPixel);
  }

  void MakeTwo(const uint8_t* row, const uint8_t* next_row, size_t count, uint8_t* dest,
               uint8_t* next_dest) const {
    switch (fetch_) {
      case Fetch::kSecond:
        return PointEveryOfTwo<2>(From(row, 0), From(next_row, 0), dest, next_dest, count);
      case Fetch::kFourth:
        return PointEveryOfTwo<4>(From(row, 0), From(next_row, 0), dest, next_dest, count);
      case Fetch::kLanes:
        return PointLanesOfTwo(table_, row, next_row, dest, next_dest, count);
      default:
        return PointPixelsOfTwo(table_.pairs(), row, next_row, dest, next_dest, count);
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
  // Where the source is far, the next row is asked for instead.
  const bool two = columns.TakesTwo() && job.step_y >= kOne && !ReachesFar(job);
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
    if (two && j + 1 < job.dest_height) {
      columns.MakeTwo(row, next, count, dest, dest + job.dest_pitch);
      ++j;
      dest += job.dest_pitch;
      next_y = std::min(j + 1, job.dest_height - 1) * job.step_y >> 16;
      continue;
    }
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
