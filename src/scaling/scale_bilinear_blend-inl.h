// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// The bilinear filter's blends across a row. Included once per target, after hwy/highway.h.

#if defined(ZAV_SCALING_SCALE_BILINEAR_BLEND_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZAV_SCALING_SCALE_BILINEAR_BLEND_INL_H_
#undef ZAV_SCALING_SCALE_BILINEAR_BLEND_INL_H_
#else
#define ZAV_SCALING_SCALE_BILINEAR_BLEND_INL_H_
#endif

#include <type_traits>

#include "platform/byte_pairs-inl.h"
#include "platform/target_namespace.h"
#include "scaling/scale_bilinear_table-inl.h"

#if !ZAV_SCALE_PLAIN

ZAV_BEGIN_TARGET();

// Blends work on 16-bit lanes, one to a channel. Four pixels of a 16-byte block of results are held
// as two vectors. Where all come from one load, these are the even and the odd bytes, which take
// the same weights and join with one shift; otherwise they are the first and the last two pixels,
// each from separate loads. 3-byte pixels are blended as if they had a fourth byte.
//
// p + floor((q - p) * f / 65536) equals q + floor((p - q) * (65536 - f) / 65536): with the nearer
// of the two as base the factor fits 16 signed bits, and the blend is the base plus the high half
// of a product.

/// The first byte of each pair.
HWY_INLINE hn::Vec<Shorts> FirstOfPairs(hn::Vec<Bytes> pairs) {
  return hn::And(hn::BitCast(Shorts(), pairs), hn::Set(Shorts(), 255));
}

/// First - second of each pair of bytes.
HWY_INLINE hn::Vec<Shorts> Difference(hn::Vec<Bytes> pairs) {
#if HWY_ARCH_X86
  const auto signs = hn::BitCast(Bytes(), hn::Set(Shorts(), static_cast<int16_t>(0xFF01)));
  return SumBytePairs(pairs, signs);
#else
  const hn::RebindToUnsigned<Shorts> d;
  const auto second = hn::BitCast(Shorts(), hn::ShiftRight<8>(hn::BitCast(d, pairs)));
  return hn::Sub(FirstOfPairs(pairs), second);
#endif
}

/// A vector of results as two vectors, with 16 bits for each byte.
struct Lanes {
  hn::Vec<Shorts> first, second;
};

/// Even and odd bytes.
struct EvenOdd {
  static HWY_INLINE hn::Vec<Bytes> Join(Lanes lanes) {
    return hn::BitCast(Bytes(), hn::Or(lanes.first, hn::ShiftLeft<8>(lanes.second)));
  }
};

/// The lower and the upper half of each block.
struct Halves {
  static HWY_INLINE hn::Vec<Bytes> Join(Lanes lanes) {
#if HWY_ARCH_X86
    return PackToBytes(lanes.first, lanes.second);
#else
    return JoinLowBytes(lanes);
#endif
  }
  /// From lanes of -128 to 127.
  static HWY_INLINE hn::Vec<Bytes> JoinSigned(Lanes lanes) {
#if HWY_ARCH_X86
    return PackSignedToBytes(lanes.first, lanes.second);
#else
    return JoinLowBytes(lanes);
#endif
  }
  static HWY_INLINE hn::Vec<Bytes> JoinLowBytes(Lanes lanes) {
    return hn::ConcatEven(Bytes(), hn::BitCast(Bytes(), lanes.second),
                          hn::BitCast(Bytes(), lanes.first));
  }
  /// first - second.
  static HWY_INLINE Lanes Subtract(hn::Vec<Bytes> first, hn::Vec<Bytes> second) {
    const auto low = hn::InterleaveLower(Bytes(), first, second);
    const auto high = hn::InterleaveUpper(Bytes(), first, second);
    return {Difference(low), Difference(high)};
  }
};

template <Reach kReach>
using LayoutOf = std::conditional_t<kReach == Reach::kFour, EvenOdd, Halves>;

/// Pairs of base and other, blended.
HWY_INLINE hn::Vec<Shorts> BlendPairs(hn::Vec<Bytes> pairs, hn::Vec<Shorts> weight) {
  return hn::Add(FirstOfPairs(pairs), hn::MulHigh(Difference(pairs), weight));
}

/// Offsets per vector of results.
template <Reach kReach>
constexpr size_t kVectorLoads = kVectorPixels / kPixelsOfLoad<kReach>;

/// How half a vector of results is made from a row.
template <Reach kReach>
struct Columns {
  hn::Vec<Bytes> shuffle;
  hn::Vec<Shorts> weight;
  const uint32_t* load;

  /// `half` 0 or 1 of the vector at `at`.
  HWY_INLINE Columns(const FilterTable& table, size_t at, size_t half)
      : shuffle(hn::Load(Bytes(), table.shuffle + at * 2 + half * kVectorBytes)),
        load(table.load + at / kVectorBytes * kVectorLoads<kReach>) {
    if constexpr (kReach == Reach::kFour) {
      weight = hn::Load(Shorts(), table.weight + at / 2);
    } else {
      weight = hn::Load(Shorts(), table.weight + at + half * (kVectorBytes / 2));
      load += half * (kVectorLoads<kReach> / 2);
    }
  }

  /// Half a vector of a row, blended across.
  HWY_INLINE hn::Vec<Shorts> Blend(const uint8_t* row) const {
    const Bytes d8;
    if constexpr (kReach == Reach::kOne) {
      return BlendPairs(hn::TableLookupBytes(LoadHalfBlocks(d8, row, load), shuffle), weight);
    } else {
      return BlendPairs(hn::TableLookupBytes(LoadBlocks(d8, row, load), shuffle), weight);
    }
  }
};

/// A vector of a row, blended across.
template <Reach kReach>
HWY_INLINE Lanes BlendAcross(const FilterTable& table, const uint8_t* row, size_t at) {
  return {Columns<kReach>(table, at, 0).Blend(row), Columns<kReach>(table, at, 1).Blend(row)};
}

ZAV_END_TARGET();

#endif  // !ZAV_SCALE_PLAIN

#endif  // per target
