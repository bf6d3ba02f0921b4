// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "kinds/mip_filter.h"
#include "platform/vector_target.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kinds/mip_filter_vector.cpp"
#include <hwy/foreach_target.h>
// The order matters.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zav::HWY_NAMESPACE {

// SSE2 has no byte shuffle; elsewhere products are not added in the pairs that are needed here.
#if HWY_TARGET != HWY_SSE4 && HWY_TARGET != HWY_AVX2 && HWY_TARGET != HWY_AVX3

const MipFilter& Filter() { return PlainMipFilter(); }

#else

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<uint8_t>;
using Shorts = hn::RebindToSigned<hn::RepartitionToWide<Bytes> >;
using Words = hn::RepartitionToWide<hn::RepartitionToWide<Bytes> >;
using Ints = hn::RebindToSigned<Words>;
using Floats = hn::RebindToFloat<Words>;
using VectorOfShorts = hn::Vec<Shorts>;
using VectorOfWords = hn::Vec<Words>;
using VectorOfInts = hn::Vec<Ints>;
using VectorOfFloats = hn::Vec<Floats>;

// A block is as many destination pixels as a vector has 32-bit lanes. They are made from two
// vectors of each source row. Two neighbouring source pixels, 64 bits, make one destination pixel:
// their channels become pairs of 16-bit numbers, which one instruction multiplies by a pair of
// weights and adds.
//
// The second vector's pairs stand the other way round within 64 bits than the first one's, so that
// blending the two parts the channels: a plane's pixels are those of the first and second vector
// in turn ("forward"), or of the second and first ("swapped").
constexpr size_t kBlock = hn::MaxLanes(Words());
constexpr size_t kVectorBytes = kBlock * 4;

/// For a vector's 32-bit lanes: which bytes of two pixels make the pair in the even lanes, and
/// which in the odd ones. 0x80 gives 0.
struct alignas(16) Pattern {
  uint8_t bytes[16];
};
constexpr Pattern PairPattern(size_t even, size_t odd) {
  Pattern pattern{};
  for (size_t i = 0; i < 16; ++i) {
    const size_t channel = i % 8 < 4 ? even : odd;
    pattern.bytes[i] =
        static_cast<uint8_t>(i % 2 != 0 ? 0x80 : i / 8 * 8 + (i % 4 == 0 ? 0 : 4) + channel);
  }
  return pattern;
}

template <size_t kEven, size_t kOdd>
HWY_INLINE VectorOfShorts Pairs(hn::Vec<Bytes> pixels) {
  static constexpr Pattern kPattern = PairPattern(kEven, kOdd);
  return hn::BitCast(Shorts(),
                     hn::TableLookupBytesOr0(pixels, hn::LoadDup128(Bytes(), kPattern.bytes)));
}

HWY_INLINE VectorOfInts AddProducts(VectorOfShorts a, VectorOfShorts b) {
  auto unused = hn::Zero(Ints());
  return hn::ReorderWidenMulAccumulate(Ints(), a, b, hn::Zero(Ints()), unused);
}

/// Weighted sums of one vector's pixels of both rows: bytes 0 and 2 in alternate lanes, and byte 1
/// and the plain sum of the alphas.
struct Sums {
  VectorOfInts bytes_0_2;
  VectorOfInts byte_1_alpha;
};

/// `kSwapped`: bytes 2 and 0, and the sum of the alphas and byte 1.
template <bool kSwapped, bool kWeighted>
HWY_INLINE Sums SumRow(const uint8_t* pixels) {
  const auto loaded = hn::LoadU(Bytes(), pixels);
  const auto bytes_0_2 = Pairs < kSwapped ? 2 : 0, kSwapped ? 0 : 2 > (loaded);
  const auto byte_1_alpha = Pairs < kSwapped ? 3 : 1, kSwapped ? 1 : 3 > (loaded);
  const auto ones = hn::Set(Ints(), 0x00010001);
  if (!kWeighted) {
    const auto weights = hn::BitCast(Shorts(), ones);
    return {AddProducts(bytes_0_2, weights), AddProducts(byte_1_alpha, weights)};
  }
  const auto pairs = hn::BitCast(Ints(), byte_1_alpha);
  const auto weights = kSwapped ? hn::DupEven(pairs) : hn::DupOdd(pairs);
  const auto weights_1 = kSwapped ? hn::OddEven(weights, ones) : hn::OddEven(ones, weights);
  return {AddProducts(bytes_0_2, hn::BitCast(Shorts(), weights)),
          AddProducts(byte_1_alpha, hn::BitCast(Shorts(), weights_1))};
}

template <bool kSwapped, bool kWeighted>
HWY_INLINE Sums SumRows(const uint8_t* upper, const uint8_t* lower) {
  const Sums a = SumRow<kSwapped, kWeighted>(upper);
  const Sums b = SumRow<kSwapped, kWeighted>(lower);
  return {hn::Add(a.bytes_0_2, b.bytes_0_2), hn::Add(a.byte_1_alpha, b.byte_1_alpha)};
}

/// One channel each of a block.
struct Planes {
  VectorOfInts byte_0, byte_1;  ///< forward
  VectorOfInts byte_2, alpha;   ///< swapped
};

template <bool kWeighted>
HWY_INLINE Planes SumBlock(const uint8_t* upper, const uint8_t* lower) {
  const Sums first = SumRows<false, kWeighted>(upper, lower);
  const Sums second = SumRows<true, kWeighted>(upper + kVectorBytes, lower + kVectorBytes);
  return {hn::OddEven(second.bytes_0_2, first.bytes_0_2),
          hn::OddEven(second.byte_1_alpha, first.byte_1_alpha),
          hn::OddEven(first.bytes_0_2, second.bytes_0_2),
          hn::OddEven(first.byte_1_alpha, second.byte_1_alpha)};
}

/// Divides by multiplication with the reciprocal. Quotients are those of (numerator + 1/2) /
/// denominator - 1/2, rounded to the nearest whole number, which is the truncated quotient of
/// numerator / denominator: numerators are whole, at most 255 times the denominator, which is at
/// most 1020, so that the rounded value is at least 1/2040 away from where rounding would turn,
/// while its error is below 2^-12: 256 times a relative error below 2^-20 (reciprocal 2^-21,
/// products and sums 2^-23). It is exact whatever the last bits of the reciprocal are.
class Divider {
 public:
  HWY_INLINE explicit Divider(VectorOfFloats reciprocal)
      : reciprocal_(reciprocal),
        offset_(hn::MulAdd(reciprocal, hn::Set(Floats(), 0.5f), hn::Set(Floats(), -0.5f))) {}

  /// The quotient stands in the low 16 bits. The sum with 3 * 2^22 has no fraction bits: adding
  /// rounds to the nearest whole number, in its lowest bits.
  HWY_INLINE VectorOfWords Divide(VectorOfInts numerator) const {
    const auto quotient = hn::MulAdd(hn::ConvertTo(Floats(), numerator), reciprocal_, offset_);
    return hn::BitCast(Words(), hn::Add(quotient, hn::Set(Floats(), kRounder)));
  }

  static constexpr float kRounder = 12582912.0f;
  static constexpr uint32_t kRounderBits = 0x4B400000;

 private:
  VectorOfFloats reciprocal_;
  VectorOfFloats offset_;
};

/// The processor's estimate is good to 1.5 * 2^-12; one Newton step squares that.
HWY_INLINE VectorOfFloats Reciprocal(VectorOfFloats v) {
  const auto estimate = hn::ApproximateReciprocal(v);
  return hn::Mul(estimate, hn::NegMulAdd(v, estimate, hn::Set(Floats(), 2.0f)));
}

HWY_INLINE VectorOfWords SwapPairs(VectorOfWords v) { return hn::Shuffle2301(v); }

/// Quotients and alphas to pixels, forward.
HWY_INLINE VectorOfWords Combine(const Planes& sums, VectorOfFloats swapped_reciprocal) {
  const Divider swapped(swapped_reciprocal);
  const Divider forward(hn::BitCast(Floats(), SwapPairs(hn::BitCast(Words(), swapped_reciprocal))));
  const auto byte_2 = hn::ShiftLeft<16>(swapped.Divide(sums.byte_2));
  const auto alpha = hn::ShiftLeft<24>(hn::ShiftRight<2>(hn::BitCast(Words(), sums.alpha)));
  const auto byte_0 = forward.Divide(sums.byte_0);
  const auto byte_1 = hn::ShiftLeft<8>(forward.Divide(sums.byte_1));
  // What the rounding left above the quotients adds up to a constant.
  constexpr uint32_t kRest = Divider::kRounderBits + (Divider::kRounderBits << 8);
  return hn::Add(hn::Sub(hn::Add(byte_0, byte_1), hn::Set(Words(), kRest)),
                 SwapPairs(hn::Add(byte_2, alpha)));
}

/// A block in which four transparent pixels meet: those are averaged without weights.
HWY_NOINLINE VectorOfWords FilterTransparent(const uint8_t* upper, const uint8_t* lower) {
  Planes sums = SumBlock<true>(upper, lower);
  const Planes plain = SumBlock<false>(upper, lower);
  const auto transparent = hn::Eq(sums.alpha, hn::Zero(Ints()));
  const auto forward = hn::RebindMask(
      Ints(),
      hn::MaskFromVec(SwapPairs(hn::BitCast(Words(), hn::VecFromMask(Ints(), transparent)))));
  sums.byte_0 = hn::IfThenElse(forward, plain.byte_0, sums.byte_0);
  sums.byte_1 = hn::IfThenElse(forward, plain.byte_1, sums.byte_1);
  sums.byte_2 = hn::IfThenElse(transparent, plain.byte_2, sums.byte_2);
  const auto weight = hn::IfThenElse(transparent, hn::Set(Ints(), 4), sums.alpha);
  return Combine(sums, Reciprocal(hn::ConvertTo(Floats(), weight)));
}

HWY_INLINE VectorOfWords FilterPixels(const uint8_t* upper, const uint8_t* lower) {
  const Planes sums = SumBlock<true>(upper, lower);
  if (!hn::AllFalse(Ints(), hn::Eq(sums.alpha, hn::Zero(Ints())))) {
    return FilterTransparent(upper, lower);
  }
  return Combine(sums, Reciprocal(hn::ConvertTo(Floats(), sums.alpha)));
}

/// From the two vectors' pixels in turn to all of the first before all of the second.
struct InOrder {
  alignas(64) uint32_t lanes[kBlock];
};
constexpr InOrder MakeInOrder() {
  InOrder order{};
  for (size_t i = 0; i < kBlock; ++i) {
    order.lanes[i] = static_cast<uint32_t>(i < kBlock / 2 ? 2 * i : 2 * i - kBlock + 1);
  }
  return order;
}

HWY_INLINE void FilterBlock(const uint8_t* upper, const uint8_t* lower, uint8_t* dest) {
  static constexpr InOrder kInOrder = MakeInOrder();
  const auto pixels = hn::TableLookupLanes(FilterPixels(upper, lower),
                                           hn::SetTableIndices(Words(), kInOrder.lanes));
  hn::StoreU(hn::BitCast(Bytes(), pixels), Bytes(), dest);
}

void WeightedRow(const uint8_t* upper, const uint8_t* lower, uint8_t* dest, size_t count) {
  if (count < kBlock) return PlainMipFilter().weighted(upper, lower, dest, count);
  size_t x = 0;
  for (; count - x >= kBlock; x += kBlock) FilterBlock(upper + x * 8, lower + x * 8, dest + x * 4);
  if (x == count) return;
  // The last block ends with the row, and makes some pixels once more.
  x = count - kBlock;
  FilterBlock(upper + x * 8, lower + x * 8, dest + x * 4);
}

const MipFilter& Filter() {
  static const MipFilter kFilter = {hwy::TargetName(HWY_TARGET), WeightedRow};
  return kFilter;
}

#endif

}  // namespace zav::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zav {

HWY_EXPORT(Filter);

const MipFilter& SelectedMipFilter() {
  return PlainForced() ? PlainMipFilter() : HWY_DYNAMIC_DISPATCH(Filter)();
}

}  // namespace zav
#endif

#else

namespace zav {

const MipFilter& SelectedMipFilter() { return PlainMipFilter(); }

}  // namespace zav

#endif
