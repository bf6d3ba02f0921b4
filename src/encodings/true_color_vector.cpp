// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/true_color_rows.h"
#include "platform/vector_table.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "encodings/true_color_vector.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which includes this file once per target.
#include <hwy/highway.h>

#include "encodings/true_color_blocks-inl.h"
#include "platform/target_namespace.h"

ZAV_BEGIN_TARGET();

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

// Without an instruction that shuffles bytes, vectors gain nothing.
const TrueColorTables& TargetTrueColor() { return PlainTrueColor(); }

#else

// --- 32-bit swap ---------------------------------------------------------------------------------

template <size_t kBytes, bool kStream = false>
size_t SwapVectors32(const uint8_t* source, uint8_t* dest, size_t first, size_t count) {
  const Bytes<kBytes> d;
  const auto shuffle = LoadShuffle<kBytes>(kSwap32);
  for (; count - first >= kBytes / 4; first += kBytes / 4) {
    Put<kStream, kBytes>(hn::TableLookupBytes(hn::LoadU(d, source + first * 4), shuffle),
                         dest + first * 4);
  }
  return first;
}

void SwapRow32(const uint8_t* source, uint8_t* dest, size_t count) {
  size_t done = SwapVectors32<kWideBytes>(source, dest, 0, count);
  done = SwapVectors32<16>(source, dest, done, count);
  PlainTrueColor().rows.swap_red_blue_32(source + done * 4, dest + done * 4, count - done);
}

// --- 24-bit swap ---------------------------------------------------------------------------------

// A byte of a swapped row comes from two bytes further on (byte 0 of a pixel), the same place (byte
// 1) or two bytes before (byte 2). So three loads, two bytes apart, are blended by place.
constexpr uint8_t kFirstOfThree[36] = {
    255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0,
    255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0, 255, 0, 0,
};
static_assert(kWideBytes + 3 <= sizeof(kFirstOfThree));

template <size_t kBytes>
struct SwapMasks24 {
  explicit SwapMasks24(size_t start)
      : first(hn::MaskFromVec(hn::LoadU(Bytes<kBytes>(), kFirstOfThree + start % 3))),
        last(hn::MaskFromVec(hn::LoadU(Bytes<kBytes>(), kFirstOfThree + start % 3 + 1))) {}

  Vector<kBytes> Swap(const uint8_t* source) const {
    const Bytes<kBytes> d;
    return hn::IfThenElse(first, hn::LoadU(d, source + 2),
                          hn::IfThenElse(last, hn::LoadU(d, source - 2), hn::LoadU(d, source)));
  }

  hn::Mask<Bytes<kBytes> > first, last;
};

/// Three vectors at a time, which hold whole pixels. All are loaded before one is stored, so this
/// works in place. Bytes that the loads get from neighbouring pixels are masked out.
template <size_t kBytes, bool kStream = false>
size_t SwapVectors24(const uint8_t* source, uint8_t* dest, size_t first, size_t count) {
  const SwapMasks24<kBytes> masks0(0), masks1(kBytes), masks2(2 * kBytes);
  for (; count - first >= kBytes; first += kBytes) {
    const uint8_t* from = source + first * 3;
    uint8_t* to = dest + first * 3;
    PrefetchAhead<kStream, kBytes * 3>(from);
    const auto v0 = masks0.Swap(from);
    const auto v1 = masks1.Swap(from + kBytes);
    const auto v2 = masks2.Swap(from + 2 * kBytes);
    Put<kStream, kBytes>(v0, to);
    Put<kStream, kBytes>(v1, to + kBytes);
    Put<kStream, kBytes>(v2, to + 2 * kBytes);
  }
  return first;
}

void SwapRow24(const uint8_t* source, uint8_t* dest, size_t count) {
  const auto plain = PlainTrueColor().rows.swap_red_blue_24;
  if (count < 2) return plain(source, dest, count);
  plain(source, dest, 1);  // the loads begin two bytes early, and end two late
  size_t done = SwapVectors24<kWideBytes>(source, dest, 1, count - 1);
  if (kWideBytes > 16) done = SwapVectors24<16>(source, dest, done, count - 1);
  plain(source + done * 3, dest + done * 3, count - done);
}

// --- rows ----------------------------------------------------------------------------------------

/// Converts a row in whole blocks; returns how many pixels are left to the plain loop.
template <typename Block>
size_t RunBlocks(const Block& block, const uint8_t* source, uint8_t* dest, size_t count) {
  size_t first = 0;
  for (; first + Block::kPixels <= count; first += Block::kPixels) block(source, dest, first);
  if (first == 0 || first == count || source == dest) return count - first;
  block(source, dest, count - Block::kPixels);
  return 0;
}

template <template <size_t, bool, bool> class Block, bool kSwap, PixelRow TrueColorRows::*kPlain>
void Row(const uint8_t* source, uint8_t* dest, size_t count) {
  using Wide = Block<kWideBytes, kSwap, false>;
  using Narrow = Block<16, kSwap, false>;
  const size_t left = count < Wide::kPixels ? RunBlocks(Narrow(), source, dest, count)
                                            : RunBlocks(Wide(), source, dest, count);
  if (left == 0) return;
  const size_t done = count - left;
  (PlainTrueColor().rows.*kPlain)(source + done * Wide::kSourceBytes,
                                  dest + done * Wide::kDestBytes, left);
}

template <typename Block, PaletteRow TrueColorRows::*kPlain>
void LookupRow(const uint8_t* source, const uint8_t* palette, uint8_t* dest, size_t count) {
  const size_t left = RunBlocks(Block(palette), source, dest, count);
  if (left == 0) return;
  const size_t done = count - left;
  (PlainTrueColor().rows.*kPlain)(source + done, palette, dest + done * Block::kDestBytes, left);
}

// Streamed rows consist of whole blocks.

void StreamSwap32(const uint8_t* source, uint8_t* dest, size_t count) {
  SwapVectors32<kWideBytes, true>(source, dest, 0, count);
}

void StreamSwap24(const uint8_t* source, uint8_t* dest, size_t count) {
  SwapVectors24<kWideBytes, true>(source, dest, 0, count);
}

template <template <size_t, bool, bool> class Block, bool kSwap>
void StreamBlocks(const uint8_t* source, uint8_t* dest, size_t count) {
  RunBlocks(Block<kWideBytes, kSwap, true>(), source, dest, count);
}

template <typename Block>
void StreamLookup(const uint8_t* source, const uint8_t* palette, uint8_t* dest, size_t count) {
  RunBlocks(Block(palette), source, dest, count);
}

const TrueColorTables& TargetTrueColor() {
  static const TrueColorTables kTables = {
      .target = hwy::TargetName(HWY_TARGET),
      .rows =
          {
              .swap_red_blue_32 = SwapRow32,
              .swap_red_blue_24 = SwapRow24,
              .narrow_32_to_24 = Row<NarrowBlock, false, &TrueColorRows::narrow_32_to_24>,
              .narrow_32_to_24_swap = Row<NarrowBlock, true, &TrueColorRows::narrow_32_to_24_swap>,
              .widen_24_to_32 = Row<WidenBlock, false, &TrueColorRows::widen_24_to_32>,
              .widen_24_to_32_swap = Row<WidenBlock, true, &TrueColorRows::widen_24_to_32_swap>,
              .lookup_32 = LookupRow<LookupBlock32<false>, &TrueColorRows::lookup_32>,
              .lookup_24 = LookupRow<LookupBlock24<false>, &TrueColorRows::lookup_24>,
          },
      .streaming =
          {
              .swap_red_blue_32 = StreamSwap32,
              .swap_red_blue_24 = StreamSwap24,
              .narrow_32_to_24 = StreamBlocks<NarrowBlock, false>,
              .narrow_32_to_24_swap = StreamBlocks<NarrowBlock, true>,
              .widen_24_to_32 = StreamBlocks<WidenBlock, false>,
              .widen_24_to_32_swap = StreamBlocks<WidenBlock, true>,
              .lookup_32 = StreamLookup<LookupBlock32<true> >,
              .lookup_24 = StreamLookup<LookupBlock24<true> >,
          },
  };
  return kTables;
}

#endif

ZAV_END_TARGET();

#endif  // ZAV_HAVE_HIGHWAY

#if ZAV_ONCE
ZAV_SELECT_TABLE(TrueColorTables, TrueColor);
#endif
