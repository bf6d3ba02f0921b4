// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/hicolor_rows.h"
#include "platform/vector_table.h"

#ifdef ZAV_HAVE_HIGHWAY

#include <hwy/cache_control.h>

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "encodings/hicolor_vector.cpp"
#include <hwy/foreach_target.h>
// The order matters.
#include <hwy/highway.h>

#include "platform/byte_pairs-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zav::HWY_NAMESPACE {

#if HWY_TARGET == HWY_EMU128 || HWY_TARGET == HWY_SCALAR

const HicolorRows& HicolorTable() { return PlainHicolorRows(); }

#else

namespace hn = hwy::HWY_NAMESPACE;

// 256 bits are enough to be bound by memory, and leave one or two blocks of 128 bits whose order
// has to be looked after.
using D8 = hn::CappedTag<uint8_t, 32>;
using D16 = hn::Repartition<uint16_t, D8>;
using D32 = hn::Repartition<uint32_t, D8>;
using V8 = hn::Vec<D8>;
using V16 = hn::Vec<D16>;
using V32 = hn::Vec<D32>;

/// Pixels in one vector of words.
constexpr size_t kPixels = hn::MaxLanes(D16());
constexpr size_t kBlocks = kPixels / 8;
constexpr size_t kVectorBytes = kPixels * 2;
static_assert(kBlocks == 1 || kBlocks == 2);

template <bool kStream>
constexpr HicolorRun kRun = {HWY_TARGET, kStream};

template <bool kStream>
HWY_INLINE void Store(V8 bytes, uint8_t* dest) {
  if constexpr (kStream) {
    hn::Stream(bytes, D8(), dest);
  } else {
    hn::StoreU(bytes, D8(), dest);
  }
}

// What Highway has no name for: 32-bit lanes to words, block by block.
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
HWY_INLINE V16 PackBlocks(V32 first, V32 second) {
  return V16{_mm256_packus_epi32(first.raw, second.raw)};
}
#elif HWY_ARCH_X86
HWY_INLINE V16 PackBlocks(V32 first, V32 second) {
  return V16{_mm_packus_epi32(first.raw, second.raw)};
}
#endif

/// Puts the words of two whole vectors, packed block by block, in their order.
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
HWY_INLINE V16 OrderBlocks(V16 words) {
  return V16{_mm256_permute4x64_epi64(words.raw, _MM_SHUFFLE(3, 1, 2, 0))};
}
#else
static_assert(kBlocks == 1);
HWY_INLINE V16 OrderBlocks(V16 words) { return words; }
#endif

/// Half the pixels of a step each, as 32-bit lanes. Narrowing puts four pixels of `first` and four
/// of `second` into each block; 24-bit pixels are loaded so that this is their order.
struct PixelVectors {
  V32 first;
  V32 second;
};

/// Four 24-bit pixels to a block; byte 3 of a lane is byte 2 once more. Reads 4 bytes beyond.
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
            hn::BitCast(D32(), hn::LoadU(d8, source + kVectorBytes))};
  }
}

/// Narrowing by fields, for any masks. A word that holds a channel in its high byte gives the field
/// whatever its low byte holds: `reach` ends where the channel's bits end. So bytes 1 and 3 are
/// taken as they stand in the two halves of a lane; bytes 0 and 2 are moved up.
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
  static HWY_INLINE V32 Words(const HicolorProducts& p, V32 pixels) {
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
    return PackBlocks(Words(l.products, pixels.first), Words(l.products, pixels.second));
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

/// How a pair of channels is widened: both bytes by one left shift, the low byte by a left or by a
/// right shift of its own, or by whichever it is.
enum class Pairing { kOneShift, kLowUp, kLowDown, kAny };
enum class Alpha { kNo, kYes, kAny };

template <Pairing kEven, Pairing kOdd, Alpha kAlpha>
struct Widening {
  static constexpr size_t kSourceBytes = 2;
  static constexpr size_t kDestBytes = 4;
  static constexpr size_t kReadBeyond = 0;

  template <Pairing kPairing>
  static HWY_INLINE V8 Pair(const HicolorPair& p, V16 words) {
    const D8 d8;
    const D16 d16;
    const V16 high = hn::Mul(words, hn::Set(d16, p.high_up));
    if constexpr (kPairing == Pairing::kOneShift) {
      return hn::BitCast(d8, hn::And(high, hn::Set(d16, p.mask)));
    } else {
      V16 low;
      if constexpr (kPairing != Pairing::kLowDown) low = hn::Mul(words, hn::Set(d16, p.low_up));
      if constexpr (kPairing != Pairing::kLowUp) {
        const V16 down = hn::MulHigh(words, hn::Set(d16, p.low_down));
        low = kPairing == Pairing::kAny ? hn::Or(low, down) : down;
      }
      return hn::BitCast(d8, hn::Or(hn::And(low, hn::Set(d16, p.mask & 0xFF)),
                                    hn::And(high, hn::Set(d16, p.mask & 0xFF00))));
    }
  }

  template <bool kStream>
  static HWY_INLINE void Step(const HicolorLayout& l, const uint8_t* source, uint8_t* dest) {
    const D8 d8;
    const D16 d16;
    const hn::RebindToSigned<D8> di8;
    const V16 words = hn::BitCast(d16, hn::LoadU(d8, source));
    const V8 even = Pair<kEven>(l.pairs[0], words);
    V8 odd = Pair<kOdd>(l.pairs[1], words);
    if constexpr (kAlpha != Alpha::kYes) odd = hn::Or(odd, HighBytes(l.opaque));
    if constexpr (kAlpha != Alpha::kNo) {
      // The fill has nothing for the green bytes, so it may go by their signs too.
      const auto filled = hn::BitCast(di8, hn::Or(odd, HighBytes(l.fill)));
      const auto signs = hn::BitCast(di8, odd);
      odd = hn::BitCast(d8, hn::IfNegativeThenElse(signs, filled, signs));
    }
    const V8 low = hn::InterleaveLower(d8, even, odd);
    const V8 high = hn::InterleaveUpper(d8, even, odd);
    if constexpr (kBlocks == 1) {
      Store<kStream>(low, dest);
      Store<kStream>(high, dest + kVectorBytes);
    } else {
      Store<kStream>(hn::ConcatLowerLower(d8, high, low), dest);
      Store<kStream>(hn::ConcatUpperUpper(d8, high, low), dest + kVectorBytes);
    }
  }

  static HWY_INLINE V8 HighBytes(uint8_t value) {
    return hn::BitCast(D8(), hn::Set(D16(), static_cast<uint16_t>(value << 8)));
  }
};

/// Fewer pixels than a step, by way of memory of our own.
template <class Kernel>
HWY_INLINE void PartialStep(const HicolorLayout& l, const uint8_t* source, uint8_t* dest,
                            size_t count) {
  alignas(64) uint8_t in[kPixels * Kernel::kSourceBytes + Kernel::kReadBeyond] = {};
  alignas(64) uint8_t out[kPixels * Kernel::kDestBytes];
  std::memcpy(in, source, count * Kernel::kSourceBytes);
  Kernel::template Step<false>(l, in, out);
  std::memcpy(dest, out, count * Kernel::kDestBytes);
}

/// The processor's own prefetching stops at the ends of pages; asking half a page ahead makes large
/// pictures a sixth faster. The address may lie beyond the buffer: nothing is read through it.
HWY_INLINE void PrefetchAhead(const uint8_t* source, size_t bytes) {
  constexpr size_t kAhead = 2048;
  for (size_t i = 0; i < bytes; i += 64) {
    hwy::Prefetch(
        reinterpret_cast<const uint8_t*>(reinterpret_cast<uintptr_t>(source) + kAhead + i));
  }
}

template <class Kernel, bool kStream>
HWY_INLINE void Steps(const HicolorLayout& l, const uint8_t* source, uint8_t* dest, size_t count) {
  constexpr size_t kPixelsBeyond =
      (Kernel::kReadBeyond + Kernel::kSourceBytes - 1) / Kernel::kSourceBytes;
  for (; count >= kPixels + kPixelsBeyond; count -= kPixels) {
    if constexpr (kStream) PrefetchAhead(source, kPixels * Kernel::kSourceBytes);
    Kernel::template Step<kStream>(l, source, dest);
    source += kPixels * Kernel::kSourceBytes;
    dest += kPixels * Kernel::kDestBytes;
  }
  while (count != 0) {
    const size_t part = std::min(count, kPixels);
    PartialStep<Kernel>(l, source, dest, part);
    source += part * Kernel::kSourceBytes;
    dest += part * Kernel::kDestBytes;
    count -= part;
  }
}

template <class Kernel, bool kStream>
const HicolorRun* Row(const HicolorLayout& layout, const uint8_t* source, uint8_t* dest,
                      size_t count) {
  const HicolorLayout l = layout;  // a copy, which the stores cannot be thought to change
  // A short row does not earn the start that reaching a cache line costs.
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
  return &kRun<kStream>;
}

template <int kBytes, bool kStream>
const HicolorRun* NarrowRow(const HicolorLayout& l, const uint8_t* source, uint8_t* dest,
                            size_t count) {
#if HWY_ARCH_X86
  if (l.products.exact) return Row<Narrowing<kBytes, ByProducts>, kStream>(l, source, dest, count);
#endif
  return Row<Narrowing<kBytes, ByFields>, kStream>(l, source, dest, count);
}

bool IsOneShift(const HicolorPair& pair) {
  return pair.low_down == 0 && pair.low_up == pair.high_up;
}

// The fixed layouts have loops of their own: 4444; 1555; 565 and 555.
template <bool kStream>
const HicolorRun* WidenRow(const HicolorLayout& l, const uint8_t* source, uint8_t* dest,
                           size_t count) {
  using enum Pairing;
  const bool alpha = l.channels[3].mask != 0;
  HicolorRow row = Row<Widening<kAny, kAny, Alpha::kAny>, kStream>;
  if (alpha && IsOneShift(l.pairs[0]) && IsOneShift(l.pairs[1])) {
    row = Row<Widening<kOneShift, kOneShift, Alpha::kYes>, kStream>;
  } else if (l.pairs[0].low_down == 0 && l.pairs[1].low_up == 0) {
    row = alpha ? Row<Widening<kLowUp, kLowDown, Alpha::kYes>, kStream>
                : Row<Widening<kLowUp, kLowDown, Alpha::kNo>, kStream>;
  }
  return row(l, source, dest, count);
}

const HicolorRows& HicolorTable() {
  static constexpr HicolorRows kRows = {
      {NarrowRow<4, false>, NarrowRow<4, true>},
      {NarrowRow<3, false>, NarrowRow<3, true>},
      {WidenRow<false>, WidenRow<true>},
  };
  return kRows;
}

#endif

}  // namespace zav::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // ZAV_HAVE_HIGHWAY

#if !defined(ZAV_HAVE_HIGHWAY) || HWY_ONCE
namespace zav {

ZAV_SELECT_TABLE(HicolorRows, SelectedHicolorRows, HicolorTable, PlainHicolorRows)

}  // namespace zav
#endif
