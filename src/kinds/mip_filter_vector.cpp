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
using Shorts = hn::RepartitionToWide<Bytes>;
using Words = hn::RepartitionToWide<Shorts>;
using Ints = hn::RebindToSigned<Words>;
using Floats = hn::RebindToFloat<Words>;
using Longs = hn::RepartitionToWide<Words>;
using VectorOfShorts = hn::Vec<hn::RebindToSigned<Shorts> >;
using VectorOfInts = hn::Vec<Ints>;
using VectorOfFloats = hn::Vec<Floats>;

/// Destination pixels that one vector of source pixels makes.
constexpr size_t kPixels = hn::MaxLanes(Longs());

/// Two neighbouring source pixels are 64 bits. Their channels become pairs of 16-bit numbers: bytes
/// 0 and 2 in one vector, byte 1 and alpha in another.
struct Pairs {
  VectorOfShorts bytes_0_2;
  VectorOfShorts byte_1_alpha;

  HWY_INLINE explicit Pairs(const uint8_t* pixels) {
    alignas(16) static constexpr uint8_t kBytes02[16] = {0, 0x80, 4,  0x80, 2,  0x80, 6,  0x80,
                                                         8, 0x80, 12, 0x80, 10, 0x80, 14, 0x80};
    alignas(16) static constexpr uint8_t kByte1Alpha[16] = {1, 0x80, 5,  0x80, 3,  0x80, 7,  0x80,
                                                            9, 0x80, 13, 0x80, 11, 0x80, 15, 0x80};
    const Bytes d;
    const hn::RebindToSigned<Shorts> shorts;
    const auto source = hn::LoadU(d, pixels);
    bytes_0_2 = hn::BitCast(shorts, hn::TableLookupBytesOr0(source, hn::LoadDup128(d, kBytes02)));
    byte_1_alpha =
        hn::BitCast(shorts, hn::TableLookupBytesOr0(source, hn::LoadDup128(d, kByte1Alpha)));
  }
};

/// For each 32-bit lane the sum of the two products of 16-bit numbers.
HWY_INLINE VectorOfInts AddProducts(VectorOfShorts a, VectorOfShorts b) {
  const Ints d;
  auto unused = hn::Zero(d);
  return hn::ReorderWidenMulAccumulate(d, a, b, hn::Zero(d), unused);
}

template <typename D, typename V>
HWY_INLINE hn::Vec<D> DupOddAs(D d, V v) {
  return hn::BitCast(d, hn::DupOdd(hn::BitCast(Words(), v)));
}

/// Truncated quotients numerator / denominator, given the reciprocal of the denominator.
///
/// Numerators are whole, at most 255 times the denominator, which is at most 1020. The quotient of
/// numerator + 1/2 is then at least 1/2040 away from the next whole number on either side, while
/// its relative error is below 2^-20 (reciprocal below 2^-21, product 2^-24), that is 2^-12 at 256.
/// So truncation is exact whatever the last bits of the reciprocal are.
HWY_INLINE VectorOfInts Divide(VectorOfInts numerator, VectorOfFloats reciprocal) {
  const auto half = hn::Set(Floats(), 0.5f);
  return hn::ConvertTo(Ints(),
                       hn::Mul(hn::Add(hn::ConvertTo(Floats(), numerator), half), reciprocal));
}

/// The processor's estimate is good to 1.5 * 2^-12; one Newton step squares that.
HWY_INLINE VectorOfFloats Reciprocal(VectorOfFloats v) {
  const auto estimate = hn::ApproximateReciprocal(v);
  return hn::Mul(estimate, hn::NegMulAdd(v, estimate, hn::Set(Floats(), 2.0f)));
}

/// Destination pixels in the low halves of 64-bit lanes.
HWY_INLINE hn::Vec<Words> FilterPixels(const uint8_t* upper_pixels, const uint8_t* lower_pixels) {
  const Ints ints;
  const hn::RebindToSigned<Shorts> shorts;
  const Pairs upper(upper_pixels);
  const Pairs lower(lower_pixels);
  auto upper_weights = DupOddAs(shorts, upper.byte_1_alpha);
  auto lower_weights = DupOddAs(shorts, lower.byte_1_alpha);

  // Four transparent pixels are given the weight 1 each.
  const auto transparent =
      hn::Eq(hn::BitCast(ints, hn::Or(upper_weights, lower_weights)), hn::Zero(ints));
  const auto minus_ones = hn::VecFromMask(ints, transparent);
  upper_weights = hn::Sub(upper_weights, hn::BitCast(shorts, minus_ones));
  lower_weights = hn::Sub(lower_weights, hn::BitCast(shorts, minus_ones));

  // The alphas themselves are only added.
  const auto one = hn::Set(ints, 0x00010001);
  const auto weigh_byte_1 = [&](VectorOfShorts weights) {
    return hn::BitCast(shorts, hn::OddEven(one, hn::BitCast(ints, weights)));
  };
  const auto sums_0_2 = hn::Add(AddProducts(upper.bytes_0_2, upper_weights),
                                AddProducts(lower.bytes_0_2, lower_weights));
  const auto sum_1_alpha = hn::Add(AddProducts(upper.byte_1_alpha, weigh_byte_1(upper_weights)),
                                   AddProducts(lower.byte_1_alpha, weigh_byte_1(lower_weights)));
  const auto weight = hn::Add(DupOddAs(ints, sum_1_alpha), hn::And(minus_ones, hn::Set(ints, 4)));

  const auto reciprocal = Reciprocal(hn::ConvertTo(Floats(), weight));
  const auto quarter = hn::Set(Floats(), 0.25f);
  const auto bytes_0_2 = hn::BitCast(Words(), Divide(sums_0_2, reciprocal));
  const auto byte_1_alpha =
      hn::BitCast(Words(), Divide(sum_1_alpha, hn::OddEven(quarter, reciprocal)));

  // Bytes 0 and 1 in each lane's first half, 2 and 3 in the second.
  const auto pairs = hn::BitCast(Longs(), hn::Or(bytes_0_2, hn::ShiftLeft<8>(byte_1_alpha)));
  return hn::BitCast(Words(), hn::Or(pairs, hn::ShiftRight<16>(pairs)));
}

HWY_INLINE void FilterBlock(const uint8_t* upper, const uint8_t* lower, uint8_t* dest) {
  constexpr size_t kBytes = kPixels * 8;
  const auto first = FilterPixels(upper, lower);
  const auto second = FilterPixels(upper + kBytes, lower + kBytes);
  hn::StoreU(hn::BitCast(Bytes(), hn::ConcatEven(Words(), second, first)), Bytes(), dest);
}

void WeightedRow(const uint8_t* upper, const uint8_t* lower, uint8_t* dest, size_t count) {
  constexpr size_t kBlock = 2 * kPixels;
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
