// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/hicolor_rows.h"
#include "platform/vector_target.h"

#ifdef ZAV_HAVE_HIGHWAY

#include <algorithm>
#include <cstring>

#include <hwy/cache_control.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "encodings/hicolor_vector.cpp"
#include <hwy/foreach_target.h>
// The order matters.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zav::HWY_NAMESPACE {

#if HWY_TARGET == HWY_EMU128 || HWY_TARGET == HWY_SCALAR

const HicolorRows& Rows() { return PlainHicolorRows(); }

#else

namespace hn = hwy::HWY_NAMESPACE;

using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::ScalableTag<uint16_t>;
using D32 = hn::ScalableTag<uint32_t>;
using V16 = hn::Vec<D16>;
using V32 = hn::Vec<D32>;

/// Pixels in one vector of words, and the bytes of that vector.
constexpr size_t kPixels = hn::MaxLanes(D16());
constexpr size_t kVectorBytes = kPixels * 2;
constexpr size_t kBlocks = kVectorBytes / 16;

template <bool kStream>
constexpr HicolorRun kRun = {HWY_TARGET, kStream};

/// Indices of 32-bit lanes that move whole groups of 64 bits. Interleaving works within blocks of
/// 128 bits; these put the groups where that leaves the pixels in order.
struct LaneTable {
  alignas(64) uint32_t lanes[kBlocks * 4];
};

/// Group 2b comes from group b, group 2b + 1 from group kBlocks + b: halves into blocks.
constexpr LaneTable SplitHalves() {
  LaneTable table{};
  for (size_t i = 0; i < kBlocks * 4; ++i) {
    const size_t group = i / 2;
    table.lanes[i] = static_cast<uint32_t>((group / 2 + group % 2 * kBlocks) * 2 + i % 2);
  }
  return table;
}

/// The inverse.
constexpr LaneTable JoinHalves() {
  LaneTable table{};
  for (size_t i = 0; i < kBlocks * 4; ++i) {
    const size_t group = i / 2;
    table.lanes[i] = static_cast<uint32_t>((group % kBlocks * 2 + group / kBlocks) * 2 + i % 2);
  }
  return table;
}

constexpr LaneTable kSplitHalves = SplitHalves();
constexpr LaneTable kJoinHalves = JoinHalves();

HWY_INLINE V16 MoveGroups(V16 v, const LaneTable& table) {
  if constexpr (kBlocks == 1) return v;
  const D32 d32;
  return hn::BitCast(
      D16(), hn::TableLookupLanes(hn::BitCast(d32, v), hn::SetTableIndices(d32, table.lanes)));
}

HWY_INLINE V16 Channels(V16 words, const HicolorChannel& channel) {
  return hn::And(hn::ShiftRightSame(words, channel.shift), hn::Set(D16(), channel.reach));
}

/// Two vectors of pixels, as 32-bit lanes, to one of words. A word that holds a channel in its high
/// byte gives the field whatever its low byte holds: `reach` ends where the channel's bits end. So
/// bytes 1 and 3 are taken as they stand in the two halves of a lane; bytes 0 and 2 are moved up.
/// From 24-bit pixels byte 3 is byte 2 once more.
template <int kBytes, bool kAlpha>
HWY_INLINE V16 NarrowVectors(const HicolorLayout& l, V32 first, V32 second) {
  const D16 d16;
  // Words of `first` in the even places, of `second` in the odd ones.
  const V16 low = hn::OddEven(hn::BitCast(d16, hn::ShiftLeft<16>(second)), hn::BitCast(d16, first));
  const V16 high =
      hn::OddEven(hn::BitCast(d16, second), hn::BitCast(d16, hn::ShiftRight<16>(first)));
  const V16 field0 = Channels(hn::ShiftLeft<8>(low), l.channels[0]);
  const V16 field1 = Channels(low, l.channels[1]);
  const V16 field2 = Channels(kBytes == 4 ? hn::ShiftLeft<8>(high) : high, l.channels[2]);
  V16 words = hn::Or(hn::Or(field0, field1), field2);
  if constexpr (kAlpha) {
    words = hn::Or(words,
                   kBytes == 4 ? Channels(high, l.channels[3]) : hn::Set(d16, l.channels[3].mask));
  }
  alignas(16) static constexpr uint8_t kEvenThenOdd[16] = {0, 1, 4, 5, 8,  9,  12, 13,
                                                           2, 3, 6, 7, 10, 11, 14, 15};
  const auto even_then_odd = hn::LoadDup128(D8(), kEvenThenOdd);
  return MoveGroups(hn::BitCast(d16, hn::TableLookupBytes(hn::BitCast(D8(), words), even_then_odd)),
                    kJoinHalves);
}

/// Loads 12 bytes for each block of 16: four 24-bit pixels, and 4 bytes that follow them.
template <class D>
HWY_INLINE hn::Vec<D> LoadTriples(D d, const uint8_t* source) {
  if constexpr (hn::MaxLanes(D()) == 16) {
    return hn::LoadU(d, source);
  } else {
    const hn::Half<D> half;
    return hn::Combine(d, LoadTriples(half, source + hn::MaxLanes(half) / 4 * 3),
                       LoadTriples(half, source));
  }
}

template <int kBytes>
HWY_INLINE V32 LoadPixels(const uint8_t* source) {
  const D8 d8;
  if constexpr (kBytes == 4) {
    return hn::BitCast(D32(), hn::LoadU(d8, source));
  } else {
    alignas(16) static constexpr uint8_t kSpread[16] = {0, 1, 2, 2, 3, 4,  5,  5,
                                                        6, 7, 8, 8, 9, 10, 11, 11};
    return hn::BitCast(D32(),
                       hn::TableLookupBytes(LoadTriples(d8, source), hn::LoadDup128(d8, kSpread)));
  }
}

template <bool kStream>
HWY_INLINE void StoreWords(V16 words, uint8_t* dest) {
  const D8 d8;
  if constexpr (kStream) {
    hn::Stream(hn::BitCast(d8, words), d8, dest);
  } else {
    hn::StoreU(hn::BitCast(d8, words), d8, dest);
  }
}

template <int kBytes, bool kAlpha>
struct Narrowing {
  static constexpr size_t kSourceBytes = kBytes;
  static constexpr size_t kDestBytes = 2;
  static constexpr size_t kReadBeyond = kBytes == 4 ? 0 : 4;

  template <bool kStream>
  static HWY_INLINE void Step(const HicolorLayout& l, const uint8_t* source, uint8_t* dest) {
    const V32 first = LoadPixels<kBytes>(source);
    const V32 second = LoadPixels<kBytes>(source + kPixels / 2 * kBytes);
    StoreWords<kStream>(NarrowVectors<kBytes, kAlpha>(l, first, second), dest);
  }
};

template <bool kAlpha>
struct Widening {
  static constexpr size_t kSourceBytes = 2;
  static constexpr size_t kDestBytes = 4;
  static constexpr size_t kReadBeyond = 0;

  /// The channel's byte in the high half of every word, the low half 0.
  static HWY_INLINE V16 High(V16 words, const HicolorChannel& channel) {
    return hn::ShiftLeftSame(hn::And(words, hn::Set(D16(), channel.reach)), channel.shift);
  }

  template <bool kStream>
  static HWY_INLINE void Step(const HicolorLayout& l, const uint8_t* source, uint8_t* dest) {
    const D16 d16;
    const hn::RebindToSigned<D16> di16;
    const V16 words = MoveGroups(hn::BitCast(d16, hn::LoadU(D8(), source)), kSplitHalves);
    V16 alpha = hn::Set(d16, 0xFF00);
    if constexpr (kAlpha) {
      alpha = High(words, l.channels[3]);
      const V16 opaque = hn::BitCast(d16, hn::BroadcastSignBit(hn::BitCast(di16, alpha)));
      alpha = hn::Or(alpha, hn::And(opaque, hn::Set(d16, static_cast<uint16_t>(l.fill << 8))));
    }
    const V16 low =
        hn::Or(High(words, l.channels[1]), hn::ShiftRight<8>(High(words, l.channels[0])));
    const V16 high = hn::Or(alpha, hn::ShiftRight<8>(High(words, l.channels[2])));
    StoreWords<kStream>(hn::InterleaveLower(d16, low, high), dest);
    StoreWords<kStream>(hn::InterleaveUpper(d16, low, high), dest + kVectorBytes);
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

template <class Kernel, bool kStream>
HWY_INLINE void Steps(const HicolorLayout& l, const uint8_t* source, uint8_t* dest, size_t count) {
  constexpr size_t kNeeded =
      kPixels + (Kernel::kReadBeyond + Kernel::kSourceBytes - 1) / Kernel::kSourceBytes;
  while (count >= kNeeded) {
    Kernel::template Step<kStream>(l, source, dest);
    source += kPixels * Kernel::kSourceBytes;
    dest += kPixels * Kernel::kDestBytes;
    count -= kPixels;
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
HWY_INLINE void Row(const HicolorLayout& layout, const uint8_t* source, uint8_t* dest,
                    size_t count) {
  const HicolorLayout l = layout;  // a copy, which the stores cannot be thought to change
  // Non-temporal stores want their address aligned, and whole cache lines.
  constexpr size_t kLine = 64;
  const size_t beyond = reinterpret_cast<uintptr_t>(dest) % kLine;
  if (!kStream || beyond % Kernel::kDestBytes != 0) {
    Steps<Kernel, false>(l, source, dest, count);
    return;
  }
  const size_t head = std::min((kLine - beyond) % kLine / Kernel::kDestBytes, count);
  Steps<Kernel, false>(l, source, dest, head);
  Steps<Kernel, kStream>(l, source + head * Kernel::kSourceBytes, dest + head * Kernel::kDestBytes,
                         count - head);
}

template <int kBytes, bool kStream>
const HicolorRun* NarrowRow(const HicolorLayout& layout, const uint8_t* source, uint8_t* dest,
                            size_t count) {
  if (layout.channels[3].mask == 0) {
    Row<Narrowing<kBytes, false>, kStream>(layout, source, dest, count);
  } else {
    Row<Narrowing<kBytes, true>, kStream>(layout, source, dest, count);
  }
  return &kRun<kStream>;
}

template <bool kStream>
const HicolorRun* WidenRow(const HicolorLayout& layout, const uint8_t* source, uint8_t* dest,
                           size_t count) {
  if (layout.channels[3].mask == 0) {
    Row<Widening<false>, kStream>(layout, source, dest, count);
  } else {
    Row<Widening<true>, kStream>(layout, source, dest, count);
  }
  return &kRun<kStream>;
}

void Flush() { hwy::FlushStream(); }

const HicolorRows& Rows() {
  static constexpr HicolorRows kRows = {
      {NarrowRow<4, false>, NarrowRow<4, true>},
      {NarrowRow<3, false>, NarrowRow<3, true>},
      {WidenRow<false>, WidenRow<true>},
      Flush,
  };
  return kRows;
}

#endif

}  // namespace zav::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zav {

HWY_EXPORT(Rows);

const HicolorRows& SelectedHicolorRows() {
  return PlainForced() ? PlainHicolorRows() : HWY_DYNAMIC_DISPATCH(Rows)();
}

}  // namespace zav
#endif

#else

namespace zav {

const HicolorRows& SelectedHicolorRows() { return PlainHicolorRows(); }

}  // namespace zav

#endif
