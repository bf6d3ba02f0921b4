// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// What Highway has no names for yet, for vectors of any size. Included once per target, after
// hwy/highway.h. Where the processor is another, kernels find HWY_ARCH_X86 0 and do without.

#if defined(ZAV_PLATFORM_BYTE_PAIRS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZAV_PLATFORM_BYTE_PAIRS_INL_H_
#undef ZAV_PLATFORM_BYTE_PAIRS_INL_H_
#else
#define ZAV_PLATFORM_BYTE_PAIRS_INL_H_
#endif

#include <hwy/highway.h>

#if HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128 && HWY_TARGET != HWY_SSE2

HWY_BEFORE_NAMESPACE();
namespace zav {
namespace HWY_NAMESPACE {
namespace {

namespace hw = hwy::HWY_NAMESPACE;

/// Two loads of 8 bytes, of which the second is no more work for being the upper half.
HWY_INLINE hw::Vec128<uint8_t> LoadTwo(const uint8_t* lower, const uint8_t* upper) {
  const __m128i half = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(lower));
  return hw::Vec128<uint8_t>{_mm_castps_si128(
      _mm_loadh_pi(_mm_castsi128_ps(half), reinterpret_cast<const __m64*>(upper)))};
}

/// Sums of neighbouring bytes times signed bytes, which must fit 16 signed bits.
HWY_INLINE hw::Vec128<int16_t> SumBytePairs(hw::Vec128<uint8_t> bytes,
                                            hw::Vec128<uint8_t> weights) {
  return hw::Vec128<int16_t>{_mm_maddubs_epi16(bytes.raw, weights.raw)};
}

/// Words of at most 255 to bytes, block by block.
HWY_INLINE hw::Vec128<uint8_t> PackBlocks(hw::Vec128<int16_t> first, hw::Vec128<int16_t> second) {
  return hw::Vec128<uint8_t>{_mm_packus_epi16(first.raw, second.raw)};
}

/// The same for words of -128 to 127.
HWY_INLINE hw::Vec128<uint8_t> PackSignedBlocks(hw::Vec128<int16_t> first,
                                                hw::Vec128<int16_t> second) {
  return hw::Vec128<uint8_t>{_mm_packs_epi16(first.raw, second.raw)};
}

#if HWY_TARGET <= HWY_AVX2
/// As hn::Combine, which first clears what it is about to fill.
HWY_INLINE hw::Vec256<uint8_t> CombineBlocks(hw::Vec128<uint8_t> upper, hw::Vec128<uint8_t> lower) {
  return hw::Vec256<uint8_t>{
      _mm256_inserti128_si256(_mm256_castsi128_si256(lower.raw), upper.raw, 1)};
}
HWY_INLINE hw::Vec256<int16_t> SumBytePairs(hw::Vec256<uint8_t> bytes,
                                            hw::Vec256<uint8_t> weights) {
  return hw::Vec256<int16_t>{_mm256_maddubs_epi16(bytes.raw, weights.raw)};
}
HWY_INLINE hw::Vec256<uint8_t> PackBlocks(hw::Vec256<int16_t> first, hw::Vec256<int16_t> second) {
  return hw::Vec256<uint8_t>{_mm256_packus_epi16(first.raw, second.raw)};
}
HWY_INLINE hw::Vec256<uint8_t> PackSignedBlocks(hw::Vec256<int16_t> first,
                                                hw::Vec256<int16_t> second) {
  return hw::Vec256<uint8_t>{_mm256_packs_epi16(first.raw, second.raw)};
}
#endif

#if HWY_TARGET <= HWY_AVX3
HWY_INLINE hw::Vec512<uint8_t> CombineBlocks(hw::Vec256<uint8_t> upper, hw::Vec256<uint8_t> lower) {
  return hw::Vec512<uint8_t>{_mm512_inserti32x8(_mm512_castsi256_si512(lower.raw), upper.raw, 1)};
}
HWY_INLINE hw::Vec512<int16_t> SumBytePairs(hw::Vec512<uint8_t> bytes,
                                            hw::Vec512<uint8_t> weights) {
  return hw::Vec512<int16_t>{_mm512_maddubs_epi16(bytes.raw, weights.raw)};
}
HWY_INLINE hw::Vec512<uint8_t> PackBlocks(hw::Vec512<int16_t> first, hw::Vec512<int16_t> second) {
  return hw::Vec512<uint8_t>{_mm512_packus_epi16(first.raw, second.raw)};
}
HWY_INLINE hw::Vec512<uint8_t> PackSignedBlocks(hw::Vec512<int16_t> first,
                                                hw::Vec512<int16_t> second) {
  return hw::Vec512<uint8_t>{_mm512_packs_epi16(first.raw, second.raw)};
}
#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace zav
HWY_AFTER_NAMESPACE();

#endif  // x86

#endif  // per target
