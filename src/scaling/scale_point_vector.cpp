// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>

#include "platform/vector_table.h"
#include "scaling/scale_kernels.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "scaling/scale_point_vector.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which includes this file once per target.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "platform/target_namespace.h"
#include "scaling/scale_point_table-inl.h"

ZAV_BEGIN_TARGET();

#if ZAV_SCALE_PLAIN

const ScaleKernel& TargetPointKernel() { return PlainPointKernel(); }

#else

/// One vector of destination bytes, `at` a multiple of its size.
template <Fetch kFetch>
HWY_INLINE hn::Vec<Bytes> PointVector(const ShuffleTable& table, const uint8_t* row, size_t at) {
  const Bytes d;
  if constexpr (kFetch == Fetch::kWholeBlock) {
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
void PointBlocks(const ShuffleTable& table, const uint8_t* row, size_t first, uint8_t* dest,
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

/// Rows that are made together: where each is read, and where it goes.
template <size_t kRows>
struct RowSet {
  const uint8_t* from[kRows];
  uint8_t* dest[kRows];
};

/// Every second or fourth 4-byte pixel. The row has that many for each one, including the last.
template <size_t kStride>
HWY_INLINE hn::Vec<Pixels> EveryPixel(const uint8_t* from) {
  if constexpr (kStride == 2) return EvenPixels(from);
  return hn::ConcatEven(Pixels(), EvenPixels(from + 2 * kVectorBytes), EvenPixels(from));
}

/// A row made alone prefetches the row at `next`.
template <size_t kStride, size_t kRows>
void PointEvery(const RowSet<kRows>& given, const uint8_t* next, size_t count) {
  const RowSet<kRows> rows = given;
  if (count < kVectorPixels) {
    for (size_t r = 0; r < kRows; ++r) {
      PointStride<4>(rows.from[r], 4 * kStride, rows.dest[r], count);
    }
    return;
  }
  for (size_t i = 0; i < count; i += kVectorPixels) {
    const size_t at = std::min(i, count - kVectorPixels) * 4;
    if constexpr (kStride == 4 && kRows == 1) {
      hwy::Prefetch(next + at * kStride);
      hwy::Prefetch(next + at * kStride + 2 * kVectorBytes);
    }
    for (size_t r = 0; r < kRows; ++r) {
      StorePixels(EveryPixel<kStride>(rows.from[r] + at * kStride), Pixels(), rows.dest[r] + at);
    }
  }
}

/// How a vector of pixels is taken from two neighbouring vectors of a row.
class TwoVectors {
 public:
  /// Of the tile's columns from `at` on.
  HWY_INLINE TwoVectors(const LaneTable& table, size_t at)
      : offset_(table.load[at / kVectorPixels]), lanes_(hn::Load(Pixels(), table.lane + at)) {}

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

template <size_t kRows>
void PointLanes(const LaneTable& table, const RowSet<kRows>& given, size_t first, size_t count) {
  const RowSet<kRows> rows = given;
  for (size_t at = 0; at < count; at += kVectorPixels) {
    const size_t to = std::min(at, count - kVectorPixels) * 4;
    const TwoVectors vectors(table, first + at);
    for (size_t r = 0; r < kRows; ++r) {
      StorePixels(vectors.Take(rows.from[r]), Pixels(), rows.dest[r] + to);
    }
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

/// A row made alone prefetches the row at `next`.
template <size_t kBytes, size_t kRows>
void PointPixels(const uint64_t* pairs, const RowSet<kRows>& given, const uint8_t* next,
                 size_t count) {
  const RowSet<kRows> rows = given;
  size_t i = 0;
  for (; i + 4 <= count; i += 4, pairs += 2) {
    const uint64_t both[] = {pairs[0], pairs[1]};  // a copy, which stores cannot alias
    if constexpr (kBytes == 4 && kRows == 1) hwy::Prefetch(next + static_cast<uint32_t>(both[0]));
    for (size_t r = 0; r < kRows; ++r) {
      uint8_t* dest = rows.dest[r] + i * kBytes;
      if constexpr (kBytes == 4) {
        CopyFour(both, rows.from[r], dest);
      } else {
        PointPair<kBytes>(both[0], rows.from[r], dest);
        PointPair<kBytes>(both[1], rows.from[r], dest + 2 * kBytes);
      }
    }
  }
  for (; i + 2 <= count; i += 2, ++pairs) {
    for (size_t r = 0; r < kRows; ++r) {
      PointPair<kBytes>(*pairs, rows.from[r], rows.dest[r] + i * kBytes);
    }
  }
  for (size_t r = 0; r < kRows && i < count; ++r) {
    std::memcpy(rows.dest[r] + i * kBytes, rows.from[r] + static_cast<uint32_t>(*pairs), kBytes);
  }
}

/// The columns of a tile.
template <size_t kBytes>
class PointColumns {
 public:
  PointColumns(const ScaleJob& job, const PointRoom& room, int64_t first, size_t count)
      : fetch_(FetchFor<kBytes>(job, count)),
        shuffles_(room.arrays()),
        lanes_(room.arrays()),
        pairs_(room.arrays()),
        stride_(static_cast<size_t>(job.step_x >> 16) * kBytes),
        start_(first * job.step_x >> 16),
        step_(job.step_x) {
    if (fetch_ == Fetch::kWholeBlock) FillShuffles<kBytes, kBlock>(job, first, count, shuffles_);
    if (fetch_ == Fetch::kHalfBlock) FillShuffles<kBytes, kBlock / 2>(job, first, count, shuffles_);
    if (fetch_ == Fetch::kLanes) FillLanes(job, first, count, lanes_);
    if (fetch_ == Fetch::kPixel) FillPairs<kBytes>(job, first, count, pairs_);
  }

  /// Makes `count` pixels from column `at` of the tile: all that are left, or both are multiples of
  /// kPiecePixels. `next` is the source row that will be needed next.
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
        PointEvery<2, 1>({{From(row, at)}, {dest}}, From(next, at), count);
        break;
      case Fetch::kFourth:
        PointEvery<4, 1>({{From(row, at)}, {dest}}, From(next, at), count);
        break;
      case Fetch::kStride:
        PointStride<kBytes>(From(row, at), stride_, dest, count);
        break;
      case Fetch::kWholeBlock:
        PointBlocks<Fetch::kWholeBlock>(shuffles_, row, at * kBytes, dest, count * kBytes);
        break;
      case Fetch::kHalfBlock:
        PointBlocks<Fetch::kHalfBlock>(shuffles_, row, at * kBytes, dest, count * kBytes);
        break;
      case Fetch::kLanes:
        PointLanes<1>(lanes_, {{row}, {dest}}, at, count);
        break;
      case Fetch::kPixel:
        PointPixels<kBytes, 1>(pairs_.pair + at / 2, {{row}, {dest}}, next, count);
        break;
    }
  }

  /// Whether two rows at once are faster, because they share much of the work.
  bool TakesTwo() const {
    return kBytes == 4 && (fetch_ == Fetch::kSecond || fetch_ == Fetch::kFourth ||
                           fetch_ == Fetch::kLanes || fetch_ == Fetch::kPixel);
  }

  /// Makes two whole rows.
  void MakeTwo(const RowSet<2>& rows, size_t count) const {
    const RowSet<2> begun = {{From(rows.from[0], 0), From(rows.from[1], 0)},
                             {rows.dest[0], rows.dest[1]}};
    switch (fetch_) {
      case Fetch::kSecond:
        return PointEvery<2>(begun, nullptr, count);
      case Fetch::kFourth:
        return PointEvery<4>(begun, nullptr, count);
      case Fetch::kLanes:
        return PointLanes(lanes_, rows, 0, count);
      default:
        return PointPixels<4>(pairs_.pair, rows, nullptr, count);
    }
  }

 private:
  /// Where the step is whole, or one half: tiles and pieces start at even columns.
  const uint8_t* From(const uint8_t* row, size_t at) const {
    return row + static_cast<size_t>(start_ + (static_cast<int64_t>(at) * step_ >> 16)) * kBytes;
  }

  Fetch fetch_;
  ShuffleTable shuffles_;
  LaneTable lanes_;
  PairTable pairs_;
  size_t stride_;
  int64_t start_;  // source column
  int64_t step_;
};

template <size_t kBytes>
void PointTile(const ScaleJob& job, const PointRoom& room, int64_t first, size_t count) {
  const PointColumns<kBytes> columns(job, room, first, count);
  // Where the source is larger, reading it takes most of the time.
  const bool streams = job.step_x < kOnePixel && StreamsRows(job, count);
  // Where the source is far away, the next row is prefetched instead.
  const bool two = columns.TakesTwo() && job.step_y >= kOnePixel && !ReachesFar(job);
  const auto row_of = [&job](int64_t j) {
    return std::min(j, job.dest_height - 1) * job.step_y >> 16;
  };
  SourceRow source;
  uint8_t* dest = job.dest + first * int64_t{kBytes};
  int64_t made = -1;  // the source row of the destination row above
  for (int64_t j = 0; j < job.dest_height; ++j, dest += job.dest_pitch) {
    const int64_t y = row_of(j);
    if (y == made && !streams) {
      std::memcpy(dest, dest - job.dest_pitch, count * kBytes);
      continue;
    }
    made = y;
    const uint8_t* row = source.Get(job, y);
    const uint8_t* next = job.source + row_of(j + 1) * job.source_pitch;
    if (two && j + 1 < job.dest_height) {
      columns.MakeTwo({{row, next}, {dest, dest + job.dest_pitch}}, count);
      ++j;
      dest += job.dest_pitch;
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
  ForEachTile(job, room.columns(),
              [&](int64_t first, size_t count) { PointTile<kBytes>(job, room, first, count); });
}

void Point(const ScaleJob& job) {
  constexpr void (*kLoops[])(const ScaleJob&) = {PointTiles<1>, PointTiles<2>, PointTiles<3>,
                                                 PointTiles<4>};
  kLoops[job.bytes - 1](job);
}

const ScaleKernel& TargetPointKernel() {
  static const ScaleKernel kKernel = {.target = hwy::TargetName(HWY_TARGET), .run = Point};
  return kKernel;
}

#endif

ZAV_END_TARGET();

#endif  // ZAV_HAVE_HIGHWAY

#if ZAV_ONCE
ZAV_SELECT_TABLE(ScaleKernel, PointKernel);
#endif
