// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Included once per target, after hwy/highway.h, and by the plain code without it.

#if defined(ZAV_CODECS_DXT_BLOCK_ENCODER_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZAV_CODECS_DXT_BLOCK_ENCODER_INL_H_
#undef ZAV_CODECS_DXT_BLOCK_ENCODER_INL_H_
#else
#define ZAV_CODECS_DXT_BLOCK_ENCODER_INL_H_
#endif

#include <cstddef>
#include <cstdint>

#include "base/endian.h"
#include "codecs/dxt_alpha_fit-inl.h"
#include "codecs/dxt_block_encoder.h"
#include "codecs/dxt_color_fit-inl.h"
#include "platform/target_namespace.h"

ZAV_BEGIN_TARGET();

/// Encodes one block per lane; see dxt_color_fit-inl.h for what `L` offers.
template <typename L>
class BlockEncoder {
  using V = typename L::V;
  using M = typename L::M;

 public:
  static void Encode(const uint32_t (*rows)[4 * kMostDxtLanes], DxtAlpha alpha, uint8_t* blocks,
                     size_t count) {
    BlockPixels<L> pixels;
    Load(rows, alpha == DxtAlpha::kPunchThrough, pixels);
    const BlockColors<L> colors(pixels, OnGrid(pixels));
    if (alpha == DxtAlpha::kPunchThrough) {
      StoreColors(PunchThrough(colors), blocks, 8, count);
      return;
    }
    StoreColors(ColorFit<L, 3>(colors).Run(), blocks + 8, 16, count);
    if (alpha == DxtAlpha::kExplicit) {
      StoreExplicit(pixels, blocks, count);
    } else {
      StoreInterpolated(pixels, blocks, count);
    }
  }

 private:
  using LaneInts = int32_t[kMostDxtLanes];

  static void Load(const uint32_t (*rows)[4 * kMostDxtLanes], bool punch_through,
                   BlockPixels<L>& pixels) {
    const V byte = L::Set(255);
    for (int y = 0; y < 4; ++y) {
      V row[4];
      L::LoadColumns(rows[y], row);
      for (int x = 0; x < 4; ++x) {
        const int i = 4 * y + x;
        const V alpha = L::And(L::Shr(24, row[x]), byte);
        pixels.alpha[i] = alpha;
        pixels.opaque[i] = punch_through ? L::Bits(L::Gt(alpha, L::Set(127))) : L::Set(-1);
        const V seen = L::And(row[x], pixels.opaque[i]);
        pixels.red[i] = L::And(L::Shr(16, seen), byte);
        pixels.green_blue[i] = L::Or(L::And(L::Shr(8, seen), byte), L::Shl(16, L::And(seen, byte)));
      }
    }
  }

  /// All ones in lanes whose colors are all multiples of 8, 4 and 8.
  static V OnGrid(const BlockPixels<L>& pixels) {
    V low_bits = L::Set(0);
    for (int i = 0; i < 16; ++i) {
      const V off = L::Or(L::And(pixels.red[i], L::Set(7)),
                          L::And(pixels.green_blue[i], L::Set(3 | 7 << 16)));
      low_bits = L::Or(low_bits, off);
    }
    return L::Bits(L::Eq(low_bits, L::Set(0)));
  }

  static V Swapped(V ends) { return L::Or(L::Shl(16, ends), High(ends)); }
  static V Low(V ends) { return L::And(ends, L::Set(0xFFFF)); }
  static V High(V ends) { return L::And(L::Shr(16, ends), L::Set(0xFFFF)); }

  /// In DXT1 the order of the ends says whether a block has four colors, or three and transparency.
  static ColorBlock<L> PunchThrough(const BlockColors<L>& colors) {
    ColorBlock<L> four = ColorFit<L, 3>(colors).Run();
    ColorBlock<L> three = ColorFit<L, 2>(colors).Run();
    // Four: the greater word first. Equal words would mean three colors: all pixels take the first.
    const M ascending = L::Gt(High(four.ends), Low(four.ends));
    four.indices = L::Select(ascending, L::Xor(four.indices, L::Set(0x55555555)), four.indices);
    four.ends = L::Select(ascending, Swapped(four.ends), four.ends);
    four.indices = L::Select(L::Eq(High(four.ends), Low(four.ends)), L::Set(0), four.indices);
    // Three: the greater word last; indices 2 (between) and 3 (transparent) stay.
    const M descending = L::Gt(Low(three.ends), High(three.ends));
    const V ends_only = L::AndNot(L::Shr(1, three.indices), L::Set(0x55555555));
    three.indices = L::Select(descending, L::Xor(three.indices, ends_only), three.indices);
    three.ends = L::Select(descending, Swapped(three.ends), three.ends);

    const V error = L::Select(L::Eq(colors.count, L::Set(16)), four.error, L::Set(0x7FFFFFFF));
    const M better = L::Gt(error, three.error);
    return {L::Select(better, three.ends, four.ends),
            L::Select(better, three.indices, four.indices),
            L::Select(better, three.error, four.error)};
  }

  static void StoreColors(const ColorBlock<L>& colors, uint8_t* blocks, size_t stride,
                          size_t count) {
    alignas(64) LaneInts ends = {}, indices = {};
    L::Store(colors.ends, ends);
    L::Store(colors.indices, indices);
    for (size_t i = 0; i < count; ++i, blocks += stride) {
      StoreLe32(blocks, static_cast<uint32_t>(ends[i]));
      StoreLe32(blocks + 4, static_cast<uint32_t>(indices[i]));
    }
  }

  /// The nearest of the 16 alphas n * 17.
  static void StoreExplicit(const BlockPixels<L>& pixels, uint8_t* blocks, size_t count) {
    for (int half = 0; half < 2; ++half) {
      V nibbles = L::Set(0);
      for (int i = 7; i >= 0; --i) {
        // x / 17 is x * 3856 >> 16 below 272: 3856 * 17 is 2^16 + 16.
        const V rounded = L::Add(pixels.alpha[8 * half + i], L::Set(8));
        nibbles = L::Or(L::Shl(4, nibbles), L::Shr(16, L::Mul(rounded, L::Set(3856))));
      }
      alignas(64) LaneInts words = {};
      L::Store(nibbles, words);
      for (size_t i = 0; i < count; ++i) {
        StoreLe32(blocks + i * 16 + static_cast<size_t>(half) * 4, static_cast<uint32_t>(words[i]));
      }
    }
  }

  static void StoreInterpolated(const BlockPixels<L>& pixels, uint8_t* blocks, size_t count) {
    V pairs[8];
    for (int i = 0; i < 8; ++i) {
      pairs[i] = L::Or(pixels.alpha[i], L::Shl(16, pixels.alpha[i + 8]));
    }
    const AlphaBlock<L> seven = AlphaFit<L, 7>(pairs).Run();
    const AlphaBlock<L> five = L::AllZero(seven.error) ? seven : AlphaFit<L, 5>(pairs).Run();
    const M better = L::Gt(seven.error, five.error);
    const V low = L::Select(better, five.indices_low, seven.indices_low);
    const V high = L::Select(better, five.indices_high, seven.indices_high);
    // Two ends and 48 bits of indices, as two words.
    const V ends = L::Or(L::Select(better, five.end0, seven.end0),
                         L::Shl(8, L::Select(better, five.end1, seven.end1)));
    alignas(64) LaneInts first = {}, second = {};
    L::Store(L::Or(ends, L::Shl(16, low)), first);
    L::Store(L::Or(L::And(L::Shr(16, low), L::Set(255)), L::Shl(8, high)), second);
    for (size_t i = 0; i < count; ++i) {
      StoreLe32(blocks + i * 16, static_cast<uint32_t>(first[i]));
      StoreLe32(blocks + i * 16 + 4, static_cast<uint32_t>(second[i]));
    }
  }
};

ZAV_END_TARGET();

#endif  // per target
