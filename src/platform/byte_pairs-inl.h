// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Operations that Highway has no names for yet, for vectors of any size. Included once per target,
// after hwy/highway.h. On other processors HWY_ARCH_X86 is 0 and kernels do without them.

#if defined(ZAV_PLATFORM_BYTE_PAIRS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZAV_PLATFORM_BYTE_PAIRS_INL_H_
#undef ZAV_PLATFORM_BYTE_PAIRS_INL_H_
#else
#define ZAV_PLATFORM_BYTE_PAIRS_INL_H_
#endif

#include <hwy/highway.h>

#include "platform/target_namespace.h"

#if HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128 && HWY_TARGET != HWY_SSE2

ZAV_BEGIN_TARGET();

/// Two loads of 8 bytes; loading the second as the upper half costs nothing extra.
HWY_INLINE hn::Vec128<uint8_t> LoadTwo(const uint8_t* lower, const uint8_t* upper) {
  const __m128i half = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(lower));
  return hn::Vec128<uint8_t>{_mm_castps_si128(
      _mm_loadh_pi(_mm_castsi128_ps(half), reinterpret_cast<const __m64*>(upper)))};
}

/// Adds neighbouring bytes times signed bytes; the sums must fit 16 signed bits.
HWY_INLINE hn::Vec128<int16_t> SumBytePairs(hn::Vec128<uint8_t> bytes,
                                            hn::Vec128<uint8_t> weights) {
  return hn::Vec128<int16_t>{_mm_maddubs_epi16(bytes.raw, weights.raw)};
}

/// Packs 16-bit lanes of at most 255 to bytes, block by block.
HWY_INLINE hn::Vec128<uint8_t> PackToBytes(hn::Vec128<int16_t> first, hn::Vec128<int16_t> second) {
  return hn::Vec128<uint8_t>{_mm_packus_epi16(first.raw, second.raw)};
}

/// The same for lanes of -128 to 127.
HWY_INLINE hn::Vec128<uint8_t> PackSignedToBytes(hn::Vec128<int16_t> first,
                                                 hn::Vec128<int16_t> second) {
  return hn::Vec128<uint8_t>{_mm_packs_epi16(first.raw, second.raw)};
}

#if HWY_TARGET <= HWY_AVX2
/// Like hn::Combine, which first clears the lanes that it then fills.
HWY_INLINE hn::Vec256<uint8_t> CombineBlocks(hn::Vec128<uint8_t> upper, hn::Vec128<uint8_t> lower) {
  return hn::Vec256<uint8_t>{
      _mm256_inserti128_si256(_mm256_castsi128_si256(lower.raw), upper.raw, 1)};
}
HWY_INLINE hn::Vec256<int16_t> SumBytePairs(hn::Vec256<uint8_t> bytes,
                                            hn::Vec256<uint8_t> weights) {
  return hn::Vec256<int16_t>{_mm256_maddubs_epi16(bytes.raw, weights.raw)};
}
HWY_INLINE hn::Vec256<uint8_t> PackToBytes(hn::Vec256<int16_t> first, hn::Vec256<int16_t> second) {
  return hn::Vec256<uint8_t>{_mm256_packus_epi16(first.raw, second.raw)};
}
HWY_INLINE hn::Vec256<uint8_t> PackSignedToBytes(hn::Vec256<int16_t> first,
                                                 hn::Vec256<int16_t> second) {
  return hn::Vec256<uint8_t>{_mm256_packs_epi16(first.raw, second.raw)};
}
#endif

#if HWY_TARGET <= HWY_AVX3
HWY_INLINE hn::Vec512<uint8_t> CombineBlocks(hn::Vec256<uint8_t> upper, hn::Vec256<uint8_t> lower) {
  return hn::Vec512<uint8_t>{_mm512_inserti32x8(_mm512_castsi256_si512(lower.raw), upper.raw, 1)};
}
HWY_INLINE hn::Vec512<int16_t> SumBytePairs(hn::Vec512<uint8_t> bytes,
                                            hn::Vec512<uint8_t> weights) {
  return hn::Vec512<int16_t>{_mm512_maddubs_epi16(bytes.raw, weights.raw)};
}
HWY_INLINE hn::Vec512<uint8_t> PackToBytes(hn::Vec512<int16_t> first, hn::Vec512<int16_t> second) {
  return hn::Vec512<uint8_t>{_mm512_packus_epi16(first.raw, second.raw)};
}
HWY_INLINE hn::Vec512<uint8_t> PackSignedToBytes(hn::Vec512<int16_t> first,
                                                 hn::Vec512<int16_t> second) {
  return hn::Vec512<uint8_t>{_mm512_packs_epi16(first.raw, second.raw)};
}
#endif

ZAV_END_TARGET();

#endif  // x86

#endif  // per target
