// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/scale_kernels.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/scale_bilinear.cpp"
#include <hwy/foreach_target.h>
// After foreach_target, which includes this file once per target.
#include "convert/scale_tables-inl.h"
#include "platform/vector_target.h"

HWY_BEFORE_NAMESPACE();
namespace zav {
namespace HWY_NAMESPACE {

#if ZAV_SCALE_PLAIN

const ScaleKernel& BilinearKernel() { return PlainBilinearKernel(); }

#else

namespace {

// Blends work on 16-bit lanes, one to a channel. Four pixels of a 16-byte block of results are held
// as two vectors: the even bytes and the odd ones, so that both take the same weights and join with
// one shift. 3-byte pixels are blended as if they had a fourth byte.
//
// p + floor((q - p) * f / 65536) equals q + floor((p - q) * (65536 - f) / 65536): with the nearer
// of the two as base the factor fits 16 signed bits, and the blend is the base plus the high half
// of a product.

/// How far apart the neighbours of the pixels in a block lie: 16-byte loads for four pixels or two,
/// or 8-byte loads for each.
enum class Reach { kFour, kTwo, kOne };

template <Reach kReach>
constexpr size_t kPixelsOfLoad = kReach == Reach::kFour  ? 4
                                 : kReach == Reach::kTwo ? 2
                                                         : 1;

Reach ReachFor(const ScaleJob& job) {
  const auto within = [&](int64_t pixels) {
    const int64_t apart = ((pixels - 1) * job.step_x + kOne - 1) >> 16;
    return (apart + 2) * job.bytes <= int64_t{kBlock};
  };
  return within(4) ? Reach::kFour : within(2) ? Reach::kTwo : Reach::kOne;
}

// In bytes per column: shuffles, weights, offsets, two rows and their difference.
using FilterRoom = TileRoom<8 + 4 + 4 + 4 + 4 + 8>;

struct FilterTable {
  explicit FilterTable(FilterRoom& room)
      : shuffle(room.Take<uint8_t>(8)),
        weight(room.Take<int16_t>(4)),
        load(room.Take<uint32_t>(4)),
        rows{room.Take<uint8_t>(4), room.Take<uint8_t>(4)},
        difference(room.Take<int16_t>(8)) {}

  uint8_t* shuffle;     // pairs of bytes: base, other
  int16_t* weight;      // of base - other, two lanes to a pixel
  uint32_t* load;       // one to a load
  uint8_t* rows[2];     // blended across, 4 bytes to a pixel
  int16_t* difference;  // lower row - upper row, even and odd bytes of each vector
};

constexpr size_t kVectorPixels = kVectorBytes / 4;

/// Bytes of whole vectors of 4-byte pixels.
size_t LaneBytes(size_t count) { return RoundUpTo(count * 4, kVectorBytes); }

template <size_t kBytes, Reach kReach>
void FillFilterTable(const ScaleJob& job, int64_t first, size_t count, FilterTable table) {
  constexpr size_t kPixels = kPixelsOfLoad<kReach>;
  constexpr size_t kLoadBytes = kReach == Reach::kOne ? kBlock / 2 : kBlock;
  const size_t last_load = RowBytes(job) - kLoadBytes;
  const size_t pixels = LaneBytes(count) / 4;
  int64_t x = first * job.step_x;
  size_t load = 0;
  for (size_t i = 0; i < pixels; ++i) {
    // Four pixels: even and odd shuffles are apart by a vector. Otherwise the even and the odd half
    // of a block of two pixels, and the blocks alternate.
    const size_t block = kReach == Reach::kFour ? i / 4 : AlternatingSlot(i / 2);
    uint8_t* shuffle =
        table.shuffle + (kReach == Reach::kFour ? block / kVectorBlocks * 2 * kVectorBytes +
                                                      block % kVectorBlocks * kBlock + i % 4 * 4
                                                : block * kBlock + i % 2 * 4);
    const size_t at = static_cast<size_t>(x >> 16) * kBytes;
    if (i % kPixels == 0) {
      load = std::min(at, last_load);
      table.load[kReach == Reach::kOne ? 2 * block + i % 2 : block] = static_cast<uint32_t>(load);
    }
    // Without branches: the nearer neighbour changes all the time. The mask is for pixels without
    // weight at the end of the row, whose neighbour would lie outside, and for fourth bytes.
    const auto fraction = static_cast<uint32_t>(x & (kOne - 1));
    const uint32_t next = (0x8000 - fraction) >> 31;  // whether it is the base
    const auto pixel = static_cast<uint32_t>(at - load + (kReach == Reach::kOne ? i % 2 * 8 : 0));
    const uint32_t base = pixel + next * uint32_t{kBytes};
    const uint32_t other = pixel + (next ^ 1) * uint32_t{kBytes};
    const uint32_t even = (0x02020000 + 0x00010001 * (base | other << 8)) & 0x0F0F0F0F;
    const uint32_t odd = (0x03030101 + 0x00010001 * (base | other << 8)) & 0x0F0F0F0F;
    // Of base - other: -fraction, or with the next pixel as base fraction - 65536.
    const uint32_t weight = 0x00010001 * (((fraction ^ (next - 1)) - (next - 1)) & 0xFFFF);
    std::memcpy(shuffle, &even, 4);
    std::memcpy(shuffle + (kReach == Reach::kFour ? kVectorBytes : 8), &odd, 4);
    std::memcpy(table.weight + 2 * i, &weight, 4);
    x += job.step_x;
    // The last vector ends with the row and repeats pixels of the one before; a row of less than a
    // vector repeats its last pixel.
    if (i + 1 == count / kVectorPixels * kVectorPixels && count > kVectorPixels) {
      x = (first + static_cast<int64_t>(count - kVectorPixels)) * job.step_x;
    } else if (i + 1 >= count && count < kVectorPixels) {
      x -= job.step_x;
    }
  }
}

/// A vector of results: its even and its odd bytes.
struct Lanes {
  hn::Vec<Words> even, odd;
};

/// Pairs of base and other, blended.
HWY_INLINE hn::Vec<Words> BlendPairs(hn::Vec<Bytes> bytes, hn::Vec<Words> weight) {
  const Words d16;
  const hn::RebindToUnsigned<Words> du16;
  const auto pairs = hn::BitCast(du16, bytes);
  const auto base = hn::BitCast(d16, hn::And(pairs, hn::Set(du16, 255)));
  const auto other = hn::BitCast(d16, hn::ShiftRight<8>(pairs));
  return hn::Add(base, hn::MulHigh(hn::Sub(base, other), weight));
}

/// The vector at `at` of a row, blended across.
template <Reach kReach>
HWY_INLINE Lanes BlendAcross(const FilterTable& table, const uint8_t* row, const uint32_t* load,
                             size_t at) {
  const Bytes d8;
  const auto weight = hn::Load(Words(), table.weight + at / 2);
  const auto first_shuffle = hn::Load(d8, table.shuffle + at * 2);
  const auto second_shuffle = hn::Load(d8, table.shuffle + at * 2 + kVectorBytes);
  if constexpr (kReach == Reach::kFour) {
    const auto pixels = LoadBlocks(d8, row, load);
    return {BlendPairs(hn::TableLookupBytes(pixels, first_shuffle), weight),
            BlendPairs(hn::TableLookupBytes(pixels, second_shuffle), weight)};
  } else {
    const hn::Repartition<uint64_t, Bytes> d64;
    constexpr bool kWhole = kReach == Reach::kTwo;
    const auto first = kWhole ? LoadBlocks(d8, row, load) : LoadHalfBlocks(d8, row, load);
    const auto second = kWhole ? LoadBlocks(d8, row, load + kVectorBlocks)
                               : LoadHalfBlocks(d8, row, load + 2 * kVectorBlocks);
    const auto a = hn::BitCast(d64, hn::TableLookupBytes(first, first_shuffle));
    const auto b = hn::BitCast(d64, hn::TableLookupBytes(second, second_shuffle));
    return {BlendPairs(hn::BitCast(d8, hn::InterleaveLower(d64, a, b)), weight),
            BlendPairs(hn::BitCast(d8, hn::InterleaveUpper(d64, a, b)), weight)};
  }
}

/// Offsets that BlendAcross takes for one vector.
template <Reach kReach>
constexpr size_t kVectorLoads = kVectorPixels / kPixelsOfLoad<kReach>;

HWY_INLINE hn::Vec<Bytes> Join(Lanes lanes) {
  return hn::BitCast(Bytes(), hn::Or(lanes.even, hn::ShiftLeft<8>(lanes.odd)));
}

/// Writes the pixels of a vector: 4 bytes of each, or 3.
template <size_t kBytes, class D>
HWY_INLINE void StorePixels(hn::Vec<D> pixels, D d, uint8_t* dest) {
  if constexpr (kBytes == 4) {
    hn::StoreU(pixels, d, dest);
  } else if constexpr (hn::MaxLanes(D()) == kBlock) {
    HWY_ALIGN static constexpr uint8_t kDropFourth[] = {0,  1,  2,  4,  5, 6, 8, 9,
                                                        10, 12, 13, 14, 0, 0, 0, 0};
    // The four bytes beyond 12 are overwritten by the next block.
    hn::StoreU(hn::TableLookupBytes(pixels, hn::Load(d, kDropFourth)), d, dest);
  } else {
    const hn::Half<D> half;
    StorePixels<kBytes>(hn::LowerHalf(half, pixels), half, dest);
    StorePixels<kBytes>(hn::UpperHalf(half, pixels), half, dest + hn::MaxLanes(half) / 4 * 3);
  }
}

/// Writes a row; `pixels(at)` gives a vector of 4-byte pixels.
template <size_t kBytes, class Pixels>
HWY_INLINE void StoreRow(uint8_t* dest, size_t count, const Pixels& pixels) {
  constexpr size_t kStride = kVectorPixels * kBytes;
  size_t left = count * kBytes;
  size_t at = 0;
  for (; left >= kVectorBytes; left -= kStride, dest += kStride, at += kVectorBytes) {
    StorePixels<kBytes>(pixels(at), Bytes(), dest);
  }
  while (left != 0) {
    HWY_ALIGN uint8_t tail[kVectorBytes];
    StorePixels<kBytes>(pixels(at), Bytes(), tail);
    if (count < kVectorPixels) return static_cast<void>(std::memcpy(dest, tail, left));
    const size_t rest = std::min(left, kStride);
    std::memcpy(dest + rest - kStride, tail, kStride);
    left -= rest;
    dest += rest;
    at += kVectorBytes;
  }
}

/// Blends source rows across once and keeps them while destination rows lie between them.
template <size_t kBytes, Reach kReach>
class KeptRows {
 public:
  KeptRows(const ScaleJob& job, const FilterTable& table, size_t count)
      : job_(job), table_(table), count_(count) {}

  void Make(int64_t y, uint8_t* dest) {
    const auto fraction = static_cast<uint32_t>(y & (kOne - 1));
    const uint8_t* upper = Row(y >> 16, nullptr);
    if (fraction == 0) {
      return StoreRow<kBytes>(dest, count_,
                              [=](size_t at) HWY_ATTR { return hn::Load(Bytes(), upper + at); });
    }
    const uint8_t* lower = Row((y >> 16) + 1, upper);
    const uint8_t* base = fraction < 0x8000 ? upper : lower;
    const int16_t* difference = table_.difference;
    // Of lower - upper: the fraction, or with the lower row as base fraction - 65536.
    const auto weight = hn::Set(Words(), static_cast<int16_t>(fraction));
    StoreRow<kBytes>(dest, count_, [=](size_t at) HWY_ATTR {
      const Words d16;
      const Bytes d8;
      const auto even = hn::MulHigh(hn::Load(d16, difference + at), weight);
      const auto odd = hn::MulHigh(hn::Load(d16, difference + at + kVectorBytes / 2), weight);
      const auto change =
          hn::OddEven(hn::BitCast(d8, hn::ShiftLeft<8>(odd)), hn::BitCast(d8, even));
      return hn::Add(hn::Load(d8, base + at), change);
    });
  }

 private:
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
    const Words d16;
    const hn::RebindToUnsigned<Words> du16;
    const FilterTable table = table_;  // not to be fetched again after every store
    const uint32_t* load = table.load;
    const size_t end = LaneBytes(count_);
    for (size_t at = 0; at < end; at += kVectorBytes, load += kVectorLoads<kReach>) {
      const Lanes lanes = BlendAcross<kReach>(table, row, load, at);
      hn::Store(Join(lanes), d8, filled + at);
      if constexpr (kDifference) {
        const auto above = hn::BitCast(du16, hn::Load(d8, upper + at));
        const auto even = hn::BitCast(d16, hn::And(above, hn::Set(du16, 255)));
        const auto odd = hn::BitCast(d16, hn::ShiftRight<8>(above));
        hn::Store(hn::Sub(lanes.even, even), d16, table.difference + at);
        hn::Store(hn::Sub(lanes.odd, odd), d16, table.difference + at + kVectorBytes / 2);
      }
    }
  }

  const ScaleJob& job_;
  const FilterTable& table_;
  size_t count_;
  SourceRow source_;
  int64_t kept_[2] = {-1, -1};
};

/// Blends two source rows across and down at once: where few rows would serve twice.
template <size_t kBytes, Reach kReach>
void MakeFromBoth(const ScaleJob& job, const FilterTable table, size_t count, int64_t y,
                  uint8_t* dest) {
  const auto fraction = static_cast<uint32_t>(y & (kOne - 1));
  SourceRow upper_source, lower_source;
  const uint8_t* upper = upper_source.Get(job, y >> 16);
  const auto load = [&](size_t at)
                        HWY_ATTR { return table.load + at / kVectorBytes * kVectorLoads<kReach>; };
  if (fraction == 0) {
    return StoreRow<kBytes>(dest, count, [&](size_t at) HWY_ATTR {
      return Join(BlendAcross<kReach>(table, upper, load(at), at));
    });
  }
  const uint8_t* lower = lower_source.Get(job, (y >> 16) + 1);
  const bool lower_is_base = fraction > 0x8000;
  const uint8_t* base_row = lower_is_base ? lower : upper;
  const uint8_t* other_row = lower_is_base ? upper : lower;
  const auto weight =
      hn::Set(Words(), static_cast<int16_t>(lower_is_base ? fraction - 0x10000 : 0 - fraction));
  StoreRow<kBytes>(dest, count, [=](size_t at) HWY_ATTR {
    const Lanes base = BlendAcross<kReach>(table, base_row, load(at), at);
    const Lanes other = BlendAcross<kReach>(table, other_row, load(at), at);
    return Join({hn::Add(base.even, hn::MulHigh(hn::Sub(base.even, other.even), weight)),
                 hn::Add(base.odd, hn::MulHigh(hn::Sub(base.odd, other.odd), weight))});
  });
}

template <size_t kBytes, Reach kReach>
void FilterTile(const ScaleJob& job, const FilterTable& table, int64_t first, size_t count) {
  FillFilterTable<kBytes, kReach>(job, first, count, table);
  uint8_t* dest = job.dest + first * int64_t{kBytes};
  if (job.step_y > kOne * 5 / 4) {
    for (int64_t j = 0; j < job.dest_height; ++j, dest += job.dest_pitch) {
      MakeFromBoth<kBytes, kReach>(job, table, count, j * job.step_y, dest);
    }
    return;
  }
  KeptRows<kBytes, kReach> rows(job, table, count);
  for (int64_t j = 0; j < job.dest_height; ++j, dest += job.dest_pitch) {
    rows.Make(j * job.step_y, dest);
  }
}

template <size_t kBytes>
void FilterTiles(const ScaleJob& job) {
  FilterRoom room(job.dest_width);
  const FilterTable table(room);
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

}  // namespace

const ScaleKernel& BilinearKernel() {
  static const ScaleKernel kKernel = {hwy::TargetName(HWY_TARGET), Bilinear};
  return kKernel;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace zav
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zav {

HWY_EXPORT(BilinearKernel);

const ScaleKernel& SelectedBilinearKernel() {
  return PlainForced() ? PlainBilinearKernel() : HWY_DYNAMIC_DISPATCH(BilinearKernel)();
}

}  // namespace zav
#endif  // HWY_ONCE

#else

namespace zav {

const ScaleKernel& SelectedBilinearKernel() { return PlainBilinearKernel(); }

}  // namespace zav

#endif
