// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "platform/byte_shuffle.h"
#include "platform/vector_table.h"
#include "scaling/mip_filter.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "scaling/mip_filter_vector.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which includes this file once per target.
#include <hwy/highway.h>

#include "platform/byte_pairs-inl.h"
#include "platform/target_namespace.h"

ZAV_BEGIN_TARGET();

// SSE2 has no byte shuffle; other targets do not add products in the pairs needed here.
#if HWY_TARGET != HWY_SSE4 && HWY_TARGET != HWY_AVX2 && HWY_TARGET != HWY_AVX3

const MipFilter& TargetMipFilter() { return PlainMipFilter(); }

#else

using Bytes = hn::ScalableTag<uint8_t>;
using Shorts = hn::RebindToSigned<hn::RepartitionToWide<Bytes> >;
using Uints = hn::RepartitionToWide<hn::RepartitionToWide<Bytes> >;
using Ints = hn::RebindToSigned<Uints>;
using Floats = hn::RebindToFloat<Uints>;
using VectorOfUints = hn::Vec<Uints>;
using VectorOfInts = hn::Vec<Ints>;
using VectorOfFloats = hn::Vec<Floats>;

// A block has as many destination pixels as a vector has 32-bit lanes, made from two vectors of
// each source row. Each channel of two neighbouring source pixels becomes a pair of 16-bit numbers,
// which one instruction multiplies by a pair of weights and adds. These planes alternate between
// two pixels of the first vector and two of the second.
constexpr size_t kBlock = hn::MaxLanes(Uints());
constexpr size_t kVectorBytes = hn::MaxLanes(Bytes());

/// The planes of one source row, as pairs.
struct RowPairs {
  VectorOfInts byte_0, byte_1, byte_2, alpha;

  HWY_INLINE explicit RowPairs(const uint8_t* pixels) {
    static constexpr ByteShuffle kByChannel = {
        {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15}};
    const auto shuffle = hn::LoadDup128(Bytes(), kByChannel.from);
    const auto first = Load(pixels, shuffle);
    const auto second = Load(pixels + kVectorBytes, shuffle);
    const auto bytes_0_1 = hn::BitCast(Bytes(), hn::InterleaveLower(Uints(), first, second));
    const auto bytes_2_alpha = hn::BitCast(Bytes(), hn::InterleaveUpper(Uints(), first, second));
    const auto zero = hn::Zero(Bytes());
    byte_0 = hn::BitCast(Ints(), hn::InterleaveLower(Bytes(), bytes_0_1, zero));
    byte_1 = hn::BitCast(Ints(), hn::InterleaveUpper(Bytes(), bytes_0_1, zero));
    byte_2 = hn::BitCast(Ints(), hn::InterleaveLower(Bytes(), bytes_2_alpha, zero));
    alpha = hn::BitCast(Ints(), hn::InterleaveUpper(Bytes(), bytes_2_alpha, zero));
  }

 private:
  static HWY_INLINE VectorOfUints Load(const uint8_t* pixels, hn::Vec<Bytes> shuffle) {
    return hn::BitCast(Uints(), hn::TableLookupBytes(hn::LoadU(Bytes(), pixels), shuffle));
  }
};

HWY_INLINE VectorOfInts AddProducts(VectorOfInts a, VectorOfInts b) {
  auto unused = hn::Zero(Ints());
  return hn::ReorderWidenMulAccumulate(Ints(), hn::BitCast(Shorts(), a), hn::BitCast(Shorts(), b),
                                       hn::Zero(Ints()), unused);
}

/// A pixel's sums, as whole numbers: colors times weights, and alphas times kScale.
struct Sums {
  VectorOfInts byte_0, byte_1, byte_2, alpha;
};
constexpr int32_t kScale = 64;  ///< see Divide

HWY_INLINE Sums WeightedSums(const RowPairs& upper, const RowPairs& lower) {
  const auto alphas = hn::Add(upper.alpha, lower.alpha);
  return {hn::Add(AddProducts(upper.byte_0, upper.alpha), AddProducts(lower.byte_0, lower.alpha)),
          hn::Add(AddProducts(upper.byte_1, upper.alpha), AddProducts(lower.byte_1, lower.alpha)),
          hn::Add(AddProducts(upper.byte_2, upper.alpha), AddProducts(lower.byte_2, lower.alpha)),
          AddProducts(alphas, hn::Set(Ints(), kScale * 0x10001))};
}

/// For pixels without alpha: colors with the weight 1.
HWY_INLINE Sums PlainSums(const RowPairs& upper, const RowPairs& lower) {
  const auto ones = hn::Set(Ints(), 0x10001);
  const auto add = [&](VectorOfInts a, VectorOfInts b) { return AddProducts(hn::Add(a, b), ones); };
  return {add(upper.byte_0, lower.byte_0), add(upper.byte_1, lower.byte_1),
          add(upper.byte_2, lower.byte_2), hn::Zero(Ints())};
}

/// The processor's estimate is good to 1.5 * 2^-12; one Newton step squares that.
HWY_INLINE VectorOfFloats Reciprocal(VectorOfFloats v) {
  const auto estimate = hn::ApproximateReciprocal(v);
  return hn::Mul(estimate, hn::NegMulAdd(v, estimate, hn::Set(Floats(), 2.0f)));
}

/// Divides by multiplying with the reciprocal of the sum of weights times kScale.
///
/// Quotients are those of (numerator + 1/2) / denominator - 1/2, rounded to the nearest whole
/// number, which is the truncated quotient of numerator / denominator: numerators are whole, at
/// most 255 times the denominator, which is at most 1020, so that the value is at least 1/2040 away
/// from where rounding changes, while its error is below 2^-12: 256 times a relative error below
/// 2^-20 (reciprocal 2^-21, products and sums 2^-23). So the result is exact for any last bits of
/// the reciprocal.
class Divider {
 public:
  HWY_INLINE explicit Divider(VectorOfInts scaled_denominator)
      : reciprocal_(Reciprocal(hn::ConvertTo(Floats(), scaled_denominator))),
        offset_(hn::MulAdd(reciprocal_, hn::Set(Floats(), 0.5f),
                           hn::Set(Floats(), -0.5f / static_cast<float>(kScale)))) {}

  /// The quotient plus the rounder's bits. The quotient over kScale is added to a number whose last
  /// bit is worth 1 / kScale: that rounds it and puts it into the lowest bits.
  HWY_INLINE VectorOfUints Divide(VectorOfInts numerator, uint32_t rounder) const {
    const auto quotient = hn::MulAdd(hn::ConvertTo(Floats(), numerator), reciprocal_, offset_);
    return hn::BitCast(Uints(),
                       hn::Add(quotient, hn::BitCast(Floats(), hn::Set(Uints(), rounder))));
  }

 private:
  VectorOfFloats reciprocal_;
  VectorOfFloats offset_;
};

// 3 * 2^16 in single precision, and slightly more for byte 2, so that the rounders' bits add up to
// 0 when the bytes are joined.
constexpr uint32_t kRounder = 0x48400000;
constexpr uint32_t kRounder2 = 0x484077C0;
static_assert(static_cast<uint32_t>(kRounder + (kRounder << 8) + (kRounder2 << 16)) == 0);

HWY_INLINE VectorOfUints Divide(const Sums& sums, const Divider& divider) {
  // The alphas' sum times 64 is their average times 256; the fraction is in the low byte.
  const auto alpha = hn::And(hn::BitCast(Uints(), sums.alpha), hn::Set(Uints(), 0xFF00));
  const auto upper_half = hn::Add(divider.Divide(sums.byte_2, kRounder2), alpha);
  const auto byte_1 = hn::ShiftLeft<8>(divider.Divide(sums.byte_1, kRounder));
  return hn::Add(hn::Add(divider.Divide(sums.byte_0, kRounder), byte_1),
                 hn::ShiftLeft<16>(upper_half));
}

/// Filters a block that has four transparent pixels together: those are averaged without weights.
HWY_NOINLINE VectorOfUints FilterTransparent(const uint8_t* upper_pixels,
                                             const uint8_t* lower_pixels) {
  const RowPairs upper(upper_pixels);
  const RowPairs lower(lower_pixels);
  Sums sums = WeightedSums(upper, lower);
  const Sums plain = PlainSums(upper, lower);
  const auto transparent = hn::Eq(sums.alpha, hn::Zero(Ints()));
  sums.byte_0 = hn::IfThenElse(transparent, plain.byte_0, sums.byte_0);
  sums.byte_1 = hn::IfThenElse(transparent, plain.byte_1, sums.byte_1);
  sums.byte_2 = hn::IfThenElse(transparent, plain.byte_2, sums.byte_2);
  return Divide(sums,
                Divider(hn::IfThenElse(transparent, hn::Set(Ints(), 4 * kScale), sums.alpha)));
}

/// Reorders pairs of pixels that come from the two vectors in turn: all of the first, then all of
/// the second.
struct InOrder {
  alignas(64) uint32_t lanes[kBlock];
};
constexpr InOrder MakeInOrder() {
  InOrder order{};
  for (size_t i = 0; i < kBlock; ++i) {
    const size_t pair = i / 2 < kBlock / 4 ? i / 2 * 2 : i / 2 * 2 - kBlock / 2 + 1;
    order.lanes[i] = static_cast<uint32_t>(2 * pair + i % 2);
  }
  return order;
}

HWY_INLINE void StoreInOrder(VectorOfUints pixels, uint8_t* dest) {
  static constexpr InOrder kInOrder = MakeInOrder();
  const auto ordered = hn::TableLookupLanes(pixels, hn::SetTableIndices(Uints(), kInOrder.lanes));
  hn::StoreU(hn::BitCast(Bytes(), ordered), Bytes(), dest);
}

HWY_INLINE Sums BlockSums(const uint8_t* upper, const uint8_t* lower) {
  return WeightedSums(RowPairs(upper), RowPairs(lower));
}

/// Makes a block's pixels from its sums.
HWY_INLINE void Finish(const Sums& sums, const Divider& divider, const uint8_t* upper,
                       const uint8_t* lower, uint8_t* dest) {
  const auto pixels = hn::AllFalse(Ints(), hn::Eq(sums.alpha, hn::Zero(Ints())))
                          ? Divide(sums, divider)
                          : FilterTransparent(upper, lower);
  StoreInOrder(pixels, dest);
}

/// Whether the four source pixels of every destination pixel in a block have the same alpha. The
/// weights then cancel out: every channel, alpha included, is a quarter of the plain sum, as it is
/// without any alpha.
HWY_INLINE bool HasEqualWeights(const uint8_t* upper, const uint8_t* lower) {
  // One comparison rules out most blocks with soft alpha.
  if (upper[3] != lower[7]) return false;
  const Uints d;
  auto differing = hn::Zero(d);
  for (size_t i = 0; i < 2 * kVectorBytes; i += kVectorBytes) {
    const auto above = hn::BitCast(d, hn::LoadU(Bytes(), upper + i));
    const auto below = hn::BitCast(d, hn::LoadU(Bytes(), lower + i));
    const auto sides = hn::Xor(above, hn::Shuffle2301(above));
    differing = hn::Or(differing, hn::Or(hn::Xor(above, below), sides));
  }
  const auto alphas = hn::Set(d, 0xFF000000);
  return hn::AllTrue(d, hn::Eq(hn::And(differing, alphas), hn::Zero(d)));
}

/// Filters a block without weights.
HWY_INLINE void FilterPlain(const uint8_t* upper, const uint8_t* lower, uint8_t* dest) {
  static constexpr ByteShuffle kNeighbours = {
      {0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15}};
  const auto neighbours = hn::LoadDup128(Bytes(), kNeighbours.from);
  const auto quarters = [=](size_t at) HWY_ATTR {
    const auto ones = hn::Set(Bytes(), 1);
    const auto sum = [=](const uint8_t* pixels) HWY_ATTR {
      return SumBytePairs(hn::TableLookupBytes(hn::LoadU(Bytes(), pixels), neighbours), ones);
    };
    return hn::ShiftRight<2>(hn::Add(sum(upper + at), sum(lower + at)));
  };
  StoreInOrder(hn::BitCast(Uints(), PackToBytes(quarters(0), quarters(kVectorBytes))), dest);
}

void WeightedRow(const uint8_t* upper, const uint8_t* lower, uint8_t* dest, size_t count) {
  if (count < kBlock) return PlainMipFilter().weighted(upper, lower, dest, count);
  // In bytes of the destination, of which the sources have twice as many.
  constexpr size_t kStep = kBlock * 4;
  const size_t last = (count - kBlock) * 4;
  const auto plain = [=](size_t at)
                         HWY_ATTR { return HasEqualWeights(upper + at * 2, lower + at * 2); };
  const auto sums_of = [=](size_t at)
                           HWY_ATTR { return BlockSums(upper + at * 2, lower + at * 2); };
  const auto finish = [=](const Sums& sums, const Divider& divider, size_t at) HWY_ATTR {
    Finish(sums, divider, upper + at * 2, lower + at * 2, dest + at);
  };
  size_t at = 0;
  while (at <= last) {
    if (plain(at)) {
      FilterPlain(upper + at * 2, lower + at * 2, dest + at);
      at += kStep;
      continue;
    }
    // A block is finished while the next one's sums are made, so the processor has work while it
    // waits for the reciprocal.
    Sums sums = sums_of(at);
    Divider divider(sums.alpha);
    for (; at + kStep <= last && !plain(at + kStep); at += kStep) {
      const Sums next = sums_of(at + kStep);
      const Divider next_divider(next.alpha);
      finish(sums, divider, at);
      sums = next;
      divider = next_divider;
    }
    finish(sums, divider, at);
    at += kStep;
  }
  // The last block ends with the row, and makes some pixels again.
  if (at != last + kStep) {
    const Sums sums = sums_of(last);
    finish(sums, Divider(sums.alpha), last);
  }
}

const MipFilter& TargetMipFilter() {
  static const MipFilter kFilter = {.target = hwy::TargetName(HWY_TARGET), .weighted = WeightedRow};
  return kFilter;
}

#endif

ZAV_END_TARGET();

#endif  // ZAV_HAVE_HIGHWAY

#if ZAV_ONCE
ZAV_SELECT_TABLE(MipFilter, MipFilter);
#endif
