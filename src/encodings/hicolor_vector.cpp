// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>

#include "encodings/hicolor_rows.h"
#include "platform/vector_table.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "encodings/hicolor_vector.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which includes this file once per target.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "platform/byte_pairs-inl.h"
#include "platform/target_namespace.h"

ZAV_BEGIN_TARGET();

#if HWY_TARGET == HWY_EMU128 || HWY_TARGET == HWY_SCALAR

const HicolorRows& TargetHicolorRows() { return PlainHicolorRows(); }

#else

// 256 bits are enough to be limited by memory, and leave the order of at most two blocks of 128
// bits to restore.
using D8 = hn::CappedTag<uint8_t, 32>;
using D16 = hn::Repartition<uint16_t, D8>;
using D32 = hn::Repartition<uint32_t, D8>;
using V8 = hn::Vec<D8>;
using V16 = hn::Vec<D16>;
using V32 = hn::Vec<D32>;

/// Pixels in one vector of words.
constexpr size_t kPixels = hn::MaxLanes(D16());
constexpr size_t kBlocks = kPixels / 8;
constexpr size_t kCappedBytes = hn::MaxLanes(D8());
static_assert(kBlocks == 1 || kBlocks == 2);

template <bool kStream>
HWY_INLINE void Store(V8 bytes, uint8_t* dest) {
  if constexpr (kStream) {
    hn::Stream(bytes, D8(), dest);
  } else {
    hn::StoreU(bytes, D8(), dest);
  }
}

// Operations that Highway has no name for: packing 32-bit lanes to words, block by block; restoring
// the order of those words; and loading words so that interleaving their bytes gives pixels in
// order.
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
HWY_INLINE V16 PackToWords(V32 first, V32 second) {
  return V16{_mm256_packus_epi32(first.raw, second.raw)};
}
HWY_INLINE V16 OrderBlocks(V16 words) {
  return V16{_mm256_permute4x64_epi64(words.raw, _MM_SHUFFLE(3, 1, 2, 0))};
}
/// Puts the lower halves of two blocks into the first and the upper halves into the second. Loading
/// each block twice is free; permuting is not.
HWY_INLINE V16 LoadHalvesApart(const uint8_t* source) {
  const auto twice = [](const uint8_t* block)
                         HWY_ATTR { return _mm256_castsi256_pd(hn::LoadDup128(D8(), block).raw); };
  return V16{_mm256_castpd_si256(_mm256_shuffle_pd(twice(source), twice(source + 16), 0b1100))};
}
#else
static_assert(kBlocks == 1);
#if HWY_ARCH_X86
HWY_INLINE V16 PackToWords(V32 first, V32 second) {
  return V16{_mm_packus_epi32(first.raw, second.raw)};
}
#endif
HWY_INLINE V16 OrderBlocks(V16 words) { return words; }
HWY_INLINE V16 LoadHalvesApart(const uint8_t* source) {
  return hn::BitCast(D16(), hn::LoadU(D8(), source));
}
#endif

/// The pixels of a step, half in each vector, as 32-bit lanes. Narrowing puts four pixels of
/// `first` and four of `second` into each block; 24-bit pixels are loaded so that this gives their
/// order.
struct PixelVectors {
  V32 first;
  V32 second;
};

/// Loads four 24-bit pixels per block; byte 3 of a lane repeats byte 2. Reads 4 bytes beyond.
HWY_INLINE V32 LoadTriples(const uint8_t* source) {
  const D8 d8;
  V8 bytes;
  if constexpr (kBlocks == 1) {
    bytes = hn::LoadU(d8, source);
  } else {
    const hn::Half<D8> block;
    bytes = hn::Combine(d8, hn::LoadU(block, source + 24), hn::LoadU(block, source));
  }
  alignas(16) static constexpr uint8_t kSpread[16] = {0, 1, 2, 2, 3, 4,  5,  5,
                                                      6, 7, 8, 8, 9, 10, 11, 11};
  return hn::BitCast(D32(), hn::TableLookupBytes(bytes, hn::LoadDup128(d8, kSpread)));
}

template <int kBytes>
HWY_INLINE PixelVectors LoadPixels(const uint8_t* source) {
  if constexpr (kBytes == 3) {
    return {LoadTriples(source), LoadTriples(source + 12)};
  } else {
    const D8 d8;
    return {hn::BitCast(D32(), hn::LoadU(d8, source)),
            hn::BitCast(D32(), hn::LoadU(d8, source + kCappedBytes))};
  }
}

/// Narrowing by fields, for any masks. A word with a channel in its high byte gives the field for
/// any low byte: `reach` ends where the channel's bits end. So bytes 1 and 3 can stay in the two
/// halves of a lane; bytes 0 and 2 are moved up.
struct ByFields {
  static HWY_INLINE V16 Field(V16 words, const HicolorChannel& channel) {
    return hn::And(hn::ShiftRightSame(words, channel.shift), hn::Set(D16(), channel.reach));
  }

  static HWY_INLINE V16 Narrow(const HicolorLayout& l, PixelVectors pixels) {
    const D8 d8;
    const D16 d16;
    // Halves of lanes of `first` in the even places, of `second` in the odd ones.
    const V16 low = hn::OddEven(hn::BitCast(d16, hn::ShiftLeft<16>(pixels.second)),
                                hn::BitCast(d16, pixels.first));
    const V16 high = hn::OddEven(hn::BitCast(d16, pixels.second),
                                 hn::BitCast(d16, hn::ShiftRight<16>(pixels.first)));
    const V16 words =
        hn::Or(hn::Or(Field(hn::ShiftLeft<8>(low), l.channels[0]), Field(low, l.channels[1])),
               hn::Or(Field(hn::ShiftLeft<8>(high), l.channels[2]), Field(high, l.channels[3])));
    alignas(16) static constexpr uint8_t kEvenThenOdd[16] = {0, 1, 4, 5, 8,  9,  12, 13,
                                                             2, 3, 6, 7, 10, 11, 14, 15};
    const V8 order = hn::LoadDup128(d8, kEvenThenOdd);
    return hn::BitCast(d16, hn::TableLookupBytes(hn::BitCast(d8, words), order));
  }
};

#if HWY_ARCH_X86

/// Narrowing by products, where they are exact.
struct ByProducts {
  static HWY_INLINE V32 NarrowLanes(const HicolorProducts& p, V32 pixels) {
    const D32 d32;
    const hn::RebindToSigned<D16> di16;
    const hn::RebindToSigned<D32> di32;
    const auto pairs = SumBytePairs(hn::BitCast(D8(), hn::And(pixels, hn::Set(d32, p.kept))),
                                    hn::BitCast(D8(), hn::Set(d32, p.byte_weights)));
    auto unused = hn::Zero(di32);
    const auto sums = hn::ReorderWidenMulAccumulate(
        di32, pairs, hn::BitCast(di16, hn::Set(d32, p.sum_weights)), hn::Zero(di32), unused);
    return hn::ShiftRightSame(hn::BitCast(d32, sums), p.places);
  }

  static HWY_INLINE V16 Narrow(const HicolorLayout& l, PixelVectors pixels) {
    return PackToWords(NarrowLanes(l.products, pixels.first),
                       NarrowLanes(l.products, pixels.second));
  }
};

#endif

template <int kBytes, class Method>
struct Narrowing {
  static constexpr size_t kSourceBytes = kBytes;
  static constexpr size_t kDestBytes = 2;
  static constexpr size_t kReadBeyond = kBytes == 3 ? 4 : 0;

  template <bool kStream>
  static HWY_INLINE void Step(const HicolorLayout& l, const uint8_t* source, uint8_t* dest) {
    V16 words = Method::Narrow(l, LoadPixels<kBytes>(source));
    if constexpr (kBytes == 3) {
      words = hn::Or(words, hn::Set(D16(), l.channels[3].mask));
    } else {
      words = OrderBlocks(words);
    }
    Store<kStream>(hn::BitCast(D8(), words), dest);
  }
};

/// How a pair of channels is widened: both bytes stay; both take one left shift; the low byte takes
/// another left shift or a right shift (with kOnlyLowUp the high byte stays); or any of these.
enum class Pairing { kStay, kOneShift, kOnlyLowUp, kLowUp, kLowDown, kAny };
/// kBit: the word's top bit fills the whole byte.
enum class Alpha { kNo, kBit, kYes, kAny };

template <Pairing kEven, Pairing kOdd, Alpha kAlpha>
struct Widening {
  static constexpr size_t kSourceBytes = 2;
  static constexpr size_t kDestBytes = 4;
  static constexpr size_t kReadBeyond = 0;

  /// The words' two bytes before masking; the high one only with `kHigh`.
  template <Pairing kPairing, bool kHigh>
  static HWY_INLINE V16 Pair(const HicolorPair& p, V16 words) {
    const D8 d8;
    const D16 d16;
    using enum Pairing;
    constexpr bool kHighStays = kPairing == kStay || kPairing == kOnlyLowUp;
    const V16 high = kHighStays ? words : hn::Mul(words, hn::Set(d16, p.high_up));
    if constexpr (kPairing == kStay || kPairing == kOneShift) return high;
    V16 low;
    if constexpr (kPairing != kLowDown) low = hn::Mul(words, hn::Set(d16, p.low_up));
    if constexpr (kPairing == kLowDown || kPairing == kAny) {
      const V16 down = hn::MulHigh(words, hn::Set(d16, p.low_down));
      low = kPairing == kAny ? hn::Or(low, down) : down;
    }
    if constexpr (!kHigh) return low;
    return hn::BitCast(d16, hn::OddEven(hn::BitCast(d8, high), hn::BitCast(d8, low)));
  }

  /// The words' odd bytes: the second channel and alpha.
  static HWY_INLINE V16 OddBytes(const HicolorLayout& l, V16 words) {
    const D8 d8;
    const D16 d16;
    constexpr bool kChannel = kAlpha == Alpha::kYes || kAlpha == Alpha::kAny;
    V16 odd = Pair<kOdd, kChannel>(l.pairs[1], words);
    const uint16_t mask = l.pairs[1].mask;
    if constexpr (kAlpha == Alpha::kBit) {
      const auto bit = hn::ShiftRight<15>(hn::BitCast(hn::RebindToSigned<D16>(), words));
      odd = hn::BitCast(d16, hn::OddEven(hn::BitCast(d8, bit), hn::BitCast(d8, odd)));
      return hn::And(odd, hn::Set(d16, mask | 0xFF00));
    }
    odd = hn::And(odd, hn::Set(d16, kChannel ? mask : mask & 0xFF));
    if constexpr (kAlpha == Alpha::kNo || kAlpha == Alpha::kAny) {
      odd = hn::Or(odd, HighByte(l.opaque));
    }
    if constexpr (kAlpha != Alpha::kNo) {
      // The fill is 0 for the green bytes, so applying it by their signs as well is harmless.
      const hn::RebindToSigned<D8> di8;
      const auto filled = hn::BitCast(di8, hn::Or(odd, HighByte(l.fill)));
      const auto signs = hn::BitCast(di8, odd);
      odd = hn::BitCast(d16, hn::IfNegativeThenElse(signs, filled, signs));
    }
    return odd;
  }

  template <bool kStream>
  static HWY_INLINE void Step(const HicolorLayout& l, const uint8_t* source, uint8_t* dest) {
    const D8 d8;
    const D16 d16;
    const V16 words = LoadHalvesApart(source);
    const V16 even = hn::And(Pair<kEven, true>(l.pairs[0], words), hn::Set(d16, l.pairs[0].mask));
    const V8 even_bytes = hn::BitCast(d8, even);
    const V8 odd_bytes = hn::BitCast(d8, OddBytes(l, words));
    Store<kStream>(hn::InterleaveLower(d8, even_bytes, odd_bytes), dest);
    Store<kStream>(hn::InterleaveUpper(d8, even_bytes, odd_bytes), dest + kCappedBytes);
  }

  static HWY_INLINE V16 HighByte(uint8_t value) {
    return hn::Set(D16(), static_cast<uint16_t>(value << 8));
  }
};

/// Converts fewer pixels than a step through local buffers.
template <class Kernel>
HWY_INLINE void PartialStep(const HicolorLayout& l, const uint8_t* source, uint8_t* dest,
                            size_t count) {
  alignas(64) uint8_t in[kPixels * Kernel::kSourceBytes + Kernel::kReadBeyond] = {};
  alignas(64) uint8_t out[kPixels * Kernel::kDestBytes];
  std::memcpy(in, source, count * Kernel::kSourceBytes);
  Kernel::template Step<false>(l, in, out);
  std::memcpy(dest, out, count * Kernel::kDestBytes);
}

/// The processor's prefetching stops at the ends of pages; asking half a page ahead makes large
/// pictures a sixth faster. The address may be beyond the buffer: nothing is read through it.
HWY_INLINE void PrefetchAhead(const uint8_t* source, size_t bytes) {
  constexpr size_t kAhead = 2048;
  for (size_t i = 0; i < bytes; i += 64) {
    hwy::Prefetch(
        reinterpret_cast<const uint8_t*>(reinterpret_cast<uintptr_t>(source) + kAhead + i));
  }
}

/// The position in a row.
struct Position {
  const uint8_t* source;
  uint8_t* dest;
  size_t left;

  template <class Kernel>
  HWY_INLINE void Pass(size_t count) {
    source += count * Kernel::kSourceBytes;
    dest += count * Kernel::kDestBytes;
    left -= count;
  }
};

/// Makes `kSteps` steps at a time while there are enough pixels.
template <class Kernel, bool kStream, size_t kSteps>
HWY_INLINE void WholeSteps(const HicolorLayout& l, Position& at) {
  constexpr size_t kPixelsBeyond =
      (Kernel::kReadBeyond + Kernel::kSourceBytes - 1) / Kernel::kSourceBytes;
  constexpr size_t kCount = kSteps * kPixels;
  while (at.left >= kCount + kPixelsBeyond) {
    if constexpr (kStream) PrefetchAhead(at.source, kCount * Kernel::kSourceBytes);
    for (size_t i = 0; i < kCount; i += kPixels) {
      Kernel::template Step<kStream>(l, at.source + i * Kernel::kSourceBytes,
                                     at.dest + i * Kernel::kDestBytes);
    }
    at.Pass<Kernel>(kCount);
  }
}

template <class Kernel, bool kStream>
HWY_INLINE void Steps(const HicolorLayout& l, const uint8_t* source, uint8_t* dest, size_t count) {
  Position at = {source, dest, count};
  WholeSteps<Kernel, kStream, 4>(l, at);
  WholeSteps<Kernel, kStream, 1>(l, at);
  while (at.left != 0) {
    const size_t part = std::min(at.left, kPixels);
    PartialStep<Kernel>(l, at.source, at.dest, part);
    at.Pass<Kernel>(part);
  }
}

template <class Kernel, bool kStream>
void Row(const HicolorLayout& layout, const uint8_t* source, uint8_t* dest, size_t count) {
  const HicolorLayout l = layout;  // a copy, which the stores cannot be thought to change
  // For a short row, aligning to a cache line costs more than it gains.
  constexpr size_t kLine = 64;
  constexpr size_t kLongRow = 2048;
  const size_t past = reinterpret_cast<uintptr_t>(dest) % kLine;
  if (!kStream && count >= kLongRow && past % Kernel::kDestBytes == 0) {
    const size_t head = (kLine - past) % kLine / Kernel::kDestBytes;
    Steps<Kernel, kStream>(l, source, dest, head);
    source += head * Kernel::kSourceBytes;
    dest += head * Kernel::kDestBytes;
    count -= head;
  }
  Steps<Kernel, kStream>(l, source, dest, count);
}

template <int kBytes, bool kStream>
void NarrowRow(const HicolorLayout& l, const uint8_t* source, uint8_t* dest, size_t count) {
#if HWY_ARCH_X86
  if (l.products.exact) return Row<Narrowing<kBytes, ByProducts>, kStream>(l, source, dest, count);
#endif
  return Row<Narrowing<kBytes, ByFields>, kStream>(l, source, dest, count);
}

bool IsOneShift(const HicolorPair& pair) {
  return pair.low_down == 0 && pair.low_up == pair.high_up;
}

// The fixed layouts have special loops: 4444; 565; 555; 1555.
template <bool kStream>
void WidenRow(const HicolorLayout& l, const uint8_t* source, uint8_t* dest, size_t count) {
  using enum Pairing;
  const HicolorPair& even = l.pairs[0];
  const HicolorPair& odd = l.pairs[1];
  const uint16_t alpha = l.channels[3].mask;
  HicolorRow row = Row<Widening<kAny, kAny, Alpha::kAny>, kStream>;
  if (alpha != 0 && IsOneShift(even) && IsOneShift(odd) && odd.high_up == 1) {
    row = Row<Widening<kOneShift, kStay, Alpha::kYes>, kStream>;
  } else if (even.low_down == 0 && odd.low_up == 0) {
    if (alpha == 0 && even.high_up == 1) {
      row = Row<Widening<kOnlyLowUp, kLowDown, Alpha::kNo>, kStream>;
    } else if (alpha == 0) {
      row = Row<Widening<kLowUp, kLowDown, Alpha::kNo>, kStream>;
    } else if (alpha == 0x8000) {
      row = Row<Widening<kLowUp, kLowDown, Alpha::kBit>, kStream>;
    }
  }
  return row(l, source, dest, count);
}

const HicolorRows& TargetHicolorRows() {
  static const HicolorRows kRows = {
      .target = hwy::TargetName(HWY_TARGET),
      .narrow_32 = {.stored = NarrowRow<4, false>, .streamed = NarrowRow<4, true>},
      .narrow_24 = {.stored = NarrowRow<3, false>, .streamed = NarrowRow<3, true>},
      .widen = {.stored = WidenRow<false>, .streamed = WidenRow<true>},
  };
  return kRows;
}

#endif

ZAV_END_TARGET();

#endif  // ZAV_HAVE_HIGHWAY

#if ZAV_ONCE
ZAV_SELECT_TABLE(HicolorRows, HicolorRows);
#endif
