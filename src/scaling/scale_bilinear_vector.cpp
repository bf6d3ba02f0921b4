// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>

#include "platform/vector_table.h"
#include "scaling/scale_kernels.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "scaling/scale_bilinear_vector.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which includes this file once per target.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "platform/target_namespace.h"
#include "scaling/scale_bilinear_blend-inl.h"

ZAV_BEGIN_TARGET();

#if ZAV_SCALE_PLAIN

const ScaleKernel& TargetBilinearKernel() { return PlainBilinearKernel(); }

#else

/// Writes the pixels of a vector: 4 bytes of each, or 3.
template <size_t kBytes, class D>
HWY_INLINE void StoreNarrowed(hn::Vec<D> pixels, D d, uint8_t* dest) {
  if constexpr (kBytes == 4) {
    hn::StoreU(pixels, d, dest);
  } else if constexpr (hn::MaxLanes(D()) == kBlock) {
    HWY_ALIGN static constexpr uint8_t kDropFourth[] = {0,  1,  2,  4,  5, 6, 8, 9,
                                                        10, 12, 13, 14, 0, 0, 0, 0};
    // The four bytes beyond 12 are overwritten by the next block.
    hn::StoreU(hn::TableLookupBytes(pixels, hn::Load(d, kDropFourth)), d, dest);
  } else {
    const hn::Half<D> half;
    StoreNarrowed<kBytes>(hn::LowerHalf(half, pixels), half, dest);
    StoreNarrowed<kBytes>(hn::UpperHalf(half, pixels), half, dest + hn::MaxLanes(half) / 4 * 3);
  }
}

/// For a row of at least a vector of 4-byte pixels: calls `make(at, to)` with the position of each
/// vector's entries in the tables and of its pixels. The last vector ends with the row.
template <class Make>
HWY_INLINE void ForEachVector(size_t count, const Make& make) {
  const size_t last = count * 4 - kVectorBytes;
  for (size_t at = 0; at < last + kVectorBytes; at += kVectorBytes) make(at, std::min(at, last));
}

/// Writes a row; `pixels(at)` gives a vector of 4-byte pixels.
template <size_t kBytes, class PixelsAt>
HWY_INLINE void StoreRow(uint8_t* dest, size_t count, const PixelsAt& pixels) {
  if (kBytes == 4 && count >= kVectorPixels) {
    return ForEachVector(
        count, [=](size_t at, size_t to) HWY_ATTR { hn::StoreU(pixels(at), Bytes(), dest + to); });
  }
  constexpr size_t kStride = kVectorPixels * kBytes;
  size_t left = count * kBytes;
  size_t at = 0;
  for (; left >= kVectorBytes; left -= kStride, dest += kStride, at += kVectorBytes) {
    StoreNarrowed<kBytes>(pixels(at), Bytes(), dest);
  }
  while (left != 0) {
    HWY_ALIGN uint8_t tail[kVectorBytes];
    StoreNarrowed<kBytes>(pixels(at), Bytes(), tail);
    if (count < kVectorPixels) return static_cast<void>(std::memcpy(dest, tail, left));
    const size_t rest = std::min(left, kStride);
    std::memcpy(dest + rest - kStride, tail, kStride);
    left -= rest;
    dest += rest;
    at += kVectorBytes;
  }
}

HWY_INLINE uint32_t FractionOf(int64_t y) { return static_cast<uint32_t>(y & (kOnePixel - 1)); }

/// From 0x8000 on the lower row is the base of a row at `y`.
HWY_INLINE bool LowerIsBase(int64_t y) { return FractionOf(y) >= 0x8000; }

/// The weight of lower - upper: the fraction, or with the lower row as base fraction - 65536.
HWY_INLINE hn::Vec<Shorts> DownWeight(int64_t y) {
  return hn::Set(Shorts(), static_cast<int16_t>(FractionOf(y)));
}

/// Blends source rows across once and keeps them while destination rows lie between them.
template <size_t kBytes, Reach kReach>
class KeptRows {
 public:
  KeptRows(const ScaleJob& job, const FilterTable& table, size_t count)
      : job_(job), table_(table), count_(count), streams_(StreamsRows(job, count)) {}
  KeptRows(const KeptRows&) = delete;
  KeptRows& operator=(const KeptRows&) = delete;
  ~KeptRows() {
    if (streams_) StreamFence();
  }

  void Make(int64_t y, uint8_t* dest) {
    const uint8_t* upper = Row(y >> 16, nullptr);
    if (FractionOf(y) == 0) {
      return Emit(dest, [=](size_t at) HWY_ATTR { return hn::Load(Bytes(), upper + at); });
    }
    const Between between(y, upper, Row((y >> 16) + 1, upper));
    const int16_t* difference = table_.difference;
    Emit(dest, [=](size_t at) HWY_ATTR { return between.Blend(Differences(difference, at), at); });
  }

  /// Two rows that lie between the same two of the source.
  bool MakeTwo(int64_t y, int64_t next_y, uint8_t* dest) {
    if (y >> 16 != next_y >> 16 || FractionOf(y) == 0 || streams_) return false;
    const uint8_t* upper = Row(y >> 16, nullptr);
    const uint8_t* lower = Row((y >> 16) + 1, upper);
    const Between first(y, upper, lower);
    const Between second(next_y, upper, lower);
    uint8_t* const next = dest + job_.dest_pitch;
    const int16_t* difference = table_.difference;
    ForEachVector(count_, [=](size_t at, size_t to) HWY_ATTR {
      const Lanes differences = Differences(difference, at);
      hn::StoreU(first.Blend(differences, at), Bytes(), dest + to);
      hn::StoreU(second.Blend(differences, at), Bytes(), next + to);
    });
    return true;
  }

 private:
  /// A destination row between two rows of the source.
  struct Between {
    HWY_INLINE Between(int64_t y, const uint8_t* upper, const uint8_t* lower)
        : base(LowerIsBase(y) ? lower : upper), weight(DownWeight(y)) {}

    HWY_INLINE hn::Vec<Bytes> Blend(Lanes difference, size_t at) const {
      const Lanes change = {hn::MulHigh(difference.first, weight),
                            hn::MulHigh(difference.second, weight)};
      return hn::Add(hn::Load(Bytes(), base + at), Halves::JoinSigned(change));
    }

    const uint8_t* base;
    hn::Vec<Shorts> weight;
  };

  static HWY_INLINE Lanes Differences(const int16_t* difference, size_t at) {
    return {hn::Load(Shorts(), difference + at),
            hn::Load(Shorts(), difference + at + kVectorBytes / 2)};
  }

  template <class PixelsAt>
  HWY_INLINE void Emit(uint8_t* dest, const PixelsAt& pixels) const {
    if (!streams_) return StoreRow<kBytes>(dest, count_, pixels);
    StreamPieces(dest, count_, kBytes, [&](size_t first, size_t count, uint8_t* piece) {
      StoreRow<kBytes>(piece, count, [&](size_t at) HWY_ATTR { return pixels(first * 4 + at); });
    });
  }

  /// The row, made unless it is kept; with the row above it, also the difference of the two.
  const uint8_t* Row(int64_t number, const uint8_t* upper) {
    // Neighbours differ in parity, so that the row to keep is never the one to replace.
    const size_t parity = number & 1;
    if (kept_[parity] != number) {
      kept_[parity] = number;
      const uint8_t* row = source_.Get(job_, number);
      if (upper == nullptr) {
        Fill<false>(row, table_.rows[parity], nullptr);
      } else {
        Fill<true>(row, table_.rows[parity], upper);
      }
    }
    return table_.rows[parity];
  }

  template <bool kDifference>
  void Fill(const uint8_t* row, uint8_t* filled, const uint8_t* upper) {
    const Bytes d8;
    const Shorts d16;
    const FilterTable table = table_;  // a copy, which stores cannot alias
    const size_t end = LaneBytes(count_);
    for (size_t at = 0; at < end; at += kVectorBytes) {
      const auto pixels = LayoutOf<kReach>::Join(BlendAcross<kReach>(table, row, at));
      hn::Store(pixels, d8, filled + at);
      if constexpr (kDifference) {
        const Lanes change = Halves::Subtract(pixels, hn::Load(d8, upper + at));
        hn::Store(change.first, d16, table.difference + at);
        hn::Store(change.second, d16, table.difference + at + kVectorBytes / 2);
      }
    }
  }

  const ScaleJob& job_;
  const FilterTable& table_;
  size_t count_;
  bool streams_;
  SourceRow source_;
  int64_t kept_[2] = {-1, -1};
};

/// Where a destination row lies between two rows of the source that have been blended across.
struct Place {
  HWY_INLINE explicit Place(int64_t y)
      : lower_is_base(hn::Set(Shorts(), LowerIsBase(y) ? -1 : 0)), weight(DownWeight(y)) {}

  HWY_INLINE hn::Vec<Shorts> Blend(hn::Vec<Shorts> upper, hn::Vec<Shorts> lower) const {
    const auto base = hn::IfVecThenElse(lower_is_base, lower, upper);
    return hn::Add(base, hn::MulHigh(hn::Sub(lower, upper), weight));
  }

  hn::Vec<Shorts> lower_is_base;
  hn::Vec<Shorts> weight;
};

/// A destination row between two rows of the source.
template <Reach kReach>
struct RowBetween {
  HWY_INLINE RowBetween(int64_t y, const uint8_t* upper, const uint8_t* lower)
      : base(LowerIsBase(y) ? lower : upper),
        other(LowerIsBase(y) ? upper : lower),
        weight(hn::Set(Shorts(),
                       static_cast<int16_t>(LowerIsBase(y) ? FractionOf(y) : 0 - FractionOf(y)))) {}

  HWY_INLINE hn::Vec<Shorts> Blend(const Columns<kReach>& columns) const {
    const auto nearer = columns.Blend(base);
    return hn::Add(nearer, hn::MulHigh(hn::Sub(nearer, columns.Blend(other)), weight));
  }

  const uint8_t* base;
  const uint8_t* other;
  hn::Vec<Shorts> weight;  ///< of base - other, as between columns
};

struct TwoRows {
  hn::Vec<Shorts> row, next_row;
};

/// Two destination rows, each between a different pair of source rows.
template <Reach kReach>
struct TwoApart {
  HWY_INLINE TwoRows Blend(const Columns<kReach>& columns) const {
    return {row.Blend(columns), next_row.Blend(columns)};
  }

  RowBetween<kReach> row, next_row;
};

/// Two destination rows between three rows of the source.
template <Reach kReach>
struct TwoAmongThree {
  HWY_INLINE TwoAmongThree(int64_t y, int64_t next_y, const uint8_t* first, int64_t pitch)
      : rows{first, first + pitch, first + 2 * pitch}, row(y), next_row(next_y) {}

  HWY_INLINE TwoRows Blend(const Columns<kReach>& columns) const {
    const auto middle = columns.Blend(rows[1]);
    return {row.Blend(columns.Blend(rows[0]), middle),
            next_row.Blend(middle, columns.Blend(rows[2]))};
  }

  const uint8_t* rows[3];
  Place row, next_row;
};

/// Blends source rows across each time they are needed, for steps where few are needed twice.
template <size_t kBytes, Reach kReach>
class BothRows {
 public:
  BothRows(const ScaleJob& job, const FilterTable& table, size_t count)
      : job_(job),
        table_(table),
        count_(count),
        last_y_((job.dest_height - 1) * job.step_y),
        far_(kReach == Reach::kOne && ReachesFar(job)) {}

  void Make(int64_t y, uint8_t* dest) {
    const FilterTable table = table_;
    const uint8_t* upper = upper_.Get(job_, y >> 16);
    if (FractionOf(y) == 0) {
      return StoreRow<kBytes>(dest, count_, [=](size_t at) HWY_ATTR {
        return LayoutOf<kReach>::Join(BlendAcross<kReach>(table, upper, at));
      });
    }
    const RowBetween<kReach> row(y, upper, lower_.Get(job_, (y >> 16) + 1));
    if constexpr (kReach == Reach::kOne) {
      if (far_) {
        const uint8_t* ahead =
            job_.source + (std::min(y + job_.step_y, last_y_) >> 16) * job_.source_pitch;
        return BlendOne(row, dest, [=, pitch = job_.source_pitch](const uint32_t* load) HWY_ATTR {
          hwy::Prefetch(ahead + *load);
          hwy::Prefetch(ahead + pitch + *load);
        });
      }
    }
    BlendOne(row, dest, [](const uint32_t*) {});
  }

  /// Two rows at once share what they read from the tables and, where they can, a source row. If
  /// the second can share one with the third instead, the first is left to be made alone.
  bool MakeTwo(int64_t y, int64_t next_y, uint8_t* dest) {
    // All positions are above the source's last row, so there is always a row below.
    if (far_ || job_.source_row_bytes < int64_t{kBlock}) return false;
    const int64_t pitch = job_.source_pitch;
    const uint8_t* upper = job_.source + (y >> 16) * pitch;
    const uint8_t* next_upper = job_.source + (next_y >> 16) * pitch;
    if (Share(y, next_y)) {
      BlendTwo(TwoAmongThree<kReach>(y, next_y, upper, pitch), dest);
      return true;
    }
    const int64_t third_y = next_y + job_.step_y;
    if (third_y <= last_y_ && Share(next_y, third_y)) return false;
    BlendTwo(TwoApart<kReach>{{y, upper, upper + pitch}, {next_y, next_upper, next_upper + pitch}},
             dest);
    return true;
  }

 private:
  static bool Share(int64_t y, int64_t next_y) { return next_y >> 16 == (y >> 16) + 1; }

  /// `before(load)` is called where loading starts.
  template <class Before>
  HWY_INLINE void BlendOne(const RowBetween<kReach>& row, uint8_t* dest,
                           const Before& before) const {
    const FilterTable table = table_;
    StoreRow<kBytes>(dest, count_, [=](size_t at) HWY_ATTR {
      const Columns<kReach> first(table, at, 0);
      const Columns<kReach> second(table, at, 1);
      before(first.load);
      before(second.load);
      return LayoutOf<kReach>::Join({row.Blend(first), row.Blend(second)});
    });
  }

  template <class Two>
  HWY_INLINE void BlendTwo(const Two& two, uint8_t* dest) const {
    const FilterTable table = table_;
    uint8_t* const next = dest + job_.dest_pitch;
    ForEachVector(count_, [=](size_t at, size_t to) HWY_ATTR {
      const TwoRows first = two.Blend(Columns<kReach>(table, at, 0));
      const TwoRows second = two.Blend(Columns<kReach>(table, at, 1));
      hn::StoreU(LayoutOf<kReach>::Join({first.row, second.row}), Bytes(), dest + to);
      hn::StoreU(LayoutOf<kReach>::Join({first.next_row, second.next_row}), Bytes(), next + to);
    });
  }

  const ScaleJob& job_;
  const FilterTable& table_;
  size_t count_;
  int64_t last_y_;
  bool far_;
  SourceRow upper_, lower_;
};

/// Makes two rows at a time where it can, which share what they read from the tables.
template <size_t kBytes, class Rows>
void FilterRows(const ScaleJob& job, Rows&& rows, uint8_t* dest, size_t count) {
  const bool two = kBytes == 4 && count >= kVectorPixels;
  for (int64_t j = 0; j < job.dest_height; ++j, dest += job.dest_pitch) {
    const int64_t y = j * job.step_y;
    if (two && j + 1 < job.dest_height && rows.MakeTwo(y, y + job.step_y, dest)) {
      ++j;
      dest += job.dest_pitch;
    } else {
      rows.Make(y, dest);
    }
  }
}

template <size_t kBytes, Reach kReach>
void FilterTile(const ScaleJob& job, const FilterTable& table, int64_t first, size_t count) {
  FillFilterTable<kBytes, kReach>(job, first, count, table);
  uint8_t* dest = job.dest + first * int64_t{kBytes};
  if (job.step_y <= kOnePixel * 5 / 4) {
    FilterRows<kBytes>(job, KeptRows<kBytes, kReach>(job, table, count), dest, count);
  } else {
    FilterRows<kBytes>(job, BothRows<kBytes, kReach>(job, table, count), dest, count);
  }
}

template <size_t kBytes>
void FilterTiles(const ScaleJob& job) {
  FilterRoom room(job.dest_width);
  const FilterTable table(room.arrays());
  const Reach reach = ReachFor(job);
  ForEachTile(job, room.columns(), [&](int64_t first, size_t count) {
    switch (reach) {
      case Reach::kFour:
        return FilterTile<kBytes, Reach::kFour>(job, table, first, count);
      case Reach::kTwo:
        return FilterTile<kBytes, Reach::kTwo>(job, table, first, count);
      case Reach::kOne:
        return FilterTile<kBytes, Reach::kOne>(job, table, first, count);
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

const ScaleKernel& TargetBilinearKernel() {
  static const ScaleKernel kKernel = {.target = hwy::TargetName(HWY_TARGET), .run = Bilinear};
  return kKernel;
}

#endif

ZAV_END_TARGET();

#endif  // ZAV_HAVE_HIGHWAY

#if ZAV_ONCE
ZAV_SELECT_TABLE(ScaleKernel, BilinearKernel);
#endif
