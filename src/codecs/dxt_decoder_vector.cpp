// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// DXT decoders. The colors of several blocks are computed at once, one block to a 32-bit lane. Each
// row of a block is then a byte shuffle of its four colors, looked up by the row's index byte.

#include "base/endian.h"
#include "codecs/dxt_decoder.h"
#include "codecs/dxt_row_shuffles.h"
#include "platform/vector_table.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "codecs/dxt_decoder_vector.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which includes this file once per target.
#include <hwy/highway.h>

#include "platform/target_namespace.h"

ZAV_BEGIN_TARGET();

#if HWY_TARGET != HWY_SSE2 && HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

using D32 = hn::ScalableTag<uint32_t>;
using D16 = hn::Repartition<uint16_t, D32>;
using V32 = hn::Vec<D32>;
using Block8 = hn::Full128<uint8_t>;

/// Blocks whose colors are computed together.
constexpr size_t kMostBlocks = HWY_MAX_BYTES / 4;

enum class ColorOrder { kDxt1, kFourColors };

/// 5-6-5 words to B, G, R bytes with alpha 255.
HWY_INLINE V32 Expand565(V32 word) {
  const D32 d;
  const V32 blue = hn::And(hn::ShiftLeft<3>(word), hn::Set(d, 0x0000F8));
  const V32 green = hn::And(hn::ShiftLeft<5>(word), hn::Set(d, 0x00FC00));
  const V32 red = hn::And(hn::ShiftLeft<8>(word), hn::Set(d, 0xF80000));
  return hn::Or(hn::Or(blue, green), hn::Or(red, hn::Set(d, 0xFF000000u)));
}

/// (2 * a + b) / 3 per byte, truncated. x / 3 is x * 43691 >> 17 below 2^16: 43691 * 3 is 2^17 + 1,
/// so the product exceeds the quotient by x / (3 * 2^17), less than the third that separates it
/// from the next whole number. Bytes are split into two vectors of 16-bit lanes.
HWY_INLINE V32 TwoThirds(V32 a, V32 b) {
  const D32 d;
  const D16 d16;
  const auto low_bytes = hn::Set(d16, 0x00FF);
  const auto third = hn::Set(d16, uint16_t{43691});
  const auto a16 = hn::BitCast(d16, a);
  const auto b16 = hn::BitCast(d16, b);
  const auto mix = [&](auto p, auto q) HWY_ATTR {
    return hn::ShiftRight<1>(hn::MulHigh(hn::Add(hn::Add(p, p), q), third));
  };
  const auto even = mix(hn::And(a16, low_bytes), hn::And(b16, low_bytes));
  const auto odd = mix(hn::ShiftRight<8>(a16), hn::ShiftRight<8>(b16));
  return hn::BitCast(d, hn::Or(even, hn::ShiftLeft<8>(odd)));
}

/// (a + b) / 2 per byte, truncated: what both share, and half of where they differ.
HWY_INLINE V32 Half(V32 a, V32 b) {
  const D32 d;
  const V32 differing = hn::AndNot(hn::Set(d, 0x01010101), hn::Xor(a, b));
  return hn::Add(hn::And(a, b), hn::ShiftRight<1>(differing));
}

/// Stores the four colors of each of Lanes(D32) blocks, 16 bytes a block.
template <ColorOrder kOrder>
HWY_INLINE void StoreColors(V32 words, uint32_t* colors) {
  const D32 d;
  const V32 word0 = hn::And(words, hn::Set(d, 0xFFFF));
  const V32 word1 = hn::ShiftRight<16>(words);
  const V32 color0 = Expand565(word0);
  const V32 color1 = Expand565(word1);
  V32 color2 = TwoThirds(color0, color1);
  V32 color3 = TwoThirds(color1, color0);
  if (kOrder == ColorOrder::kDxt1) {
    const auto four = hn::Gt(hn::BitCast(hn::RebindToSigned<D32>(), word0),
                             hn::BitCast(hn::RebindToSigned<D32>(), word1));
    const auto four_colors = hn::RebindMask(d, four);
    color2 = hn::IfThenElse(four_colors, color2, Half(color0, color1));
    color3 = hn::IfThenElse(four_colors, color3, hn::Set(d, 0x00FFFF00));
  }
  hn::StoreInterleaved4(color0, color1, color2, color3, d, colors);
}

HWY_INLINE hn::Vec<Block8> RowColors(hn::Vec<Block8> colors, uint8_t indices) {
  return hn::TableLookupBytes(colors, hn::Load(Block8(), kDxtRowShuffles.control[indices]));
}

/// Moves four bytes of `alphas`, from 4 * row on, to the alpha bytes of four pixels.
HWY_INLINE hn::Vec<Block8> RowAlphas(hn::Vec<Block8> alphas, int row) {
  alignas(16) static constexpr uint8_t kSpread[4][16] = {
      {128, 128, 128, 0, 128, 128, 128, 1, 128, 128, 128, 2, 128, 128, 128, 3},
      {128, 128, 128, 4, 128, 128, 128, 5, 128, 128, 128, 6, 128, 128, 128, 7},
      {128, 128, 128, 8, 128, 128, 128, 9, 128, 128, 128, 10, 128, 128, 128, 11},
      {128, 128, 128, 12, 128, 128, 128, 13, 128, 128, 128, 14, 128, 128, 128, 15}};
  return hn::TableLookupBytesOr0(alphas, hn::Load(Block8(), kSpread[row]));
}

/// The 16 nibbles of 8 bytes, each n as n * 17.
HWY_INLINE hn::Vec<Block8> Dxt3Alphas(const uint8_t* block) {
  const Block8 d;
  const hn::Full64<uint8_t> d64;
  const auto bytes = hn::LoadU(d64, block);
  const auto low = hn::And(bytes, hn::Set(d64, 0x0F));
  const auto high = hn::BitCast(
      d64,
      hn::ShiftRight<4>(hn::BitCast(hn::Full64<uint16_t>(), hn::And(bytes, hn::Set(d64, 0xF0)))));
  const auto nibbles =
      hn::InterleaveLower(d, hn::ZeroExtendVector(d, low), hn::ZeroExtendVector(d, high));
  return hn::Or(nibbles,
                hn::BitCast(d, hn::ShiftLeft<4>(hn::BitCast(hn::Full128<uint16_t>(), nibbles))));
}

/// The 16 alphas that a DXT5 block's 3-bit indices select.
HWY_INLINE hn::Vec<Block8> Dxt5Alphas(const uint8_t* block) {
  const Block8 d;
  const hn::Full128<uint16_t> d16;
  const hn::Full128<uint64_t> d64;
  // Weights of the two ends, then the reciprocals of 7 and 5, rounded up: the numerators are at
  // most 1785 and 1275, far below where the excess would reach the next whole number.
  alignas(16) static constexpr uint16_t kFirst[2][8] = {{5, 0, 4, 3, 2, 1, 0, 0},
                                                        {7, 0, 6, 5, 4, 3, 2, 1}};
  alignas(16) static constexpr uint16_t kSecond[2][8] = {{0, 5, 1, 2, 3, 4, 0, 0},
                                                         {0, 7, 1, 2, 3, 4, 5, 6}};
  static constexpr uint16_t kReciprocal[2] = {13108, 9363};
  alignas(16) static constexpr uint16_t kFixed[2][8] = {{0, 0, 0, 0, 0, 0, 0, 255}, {}};
  const size_t order = block[0] > block[1] ? 1 : 0;
  const auto sums = hn::Add(hn::Mul(hn::Load(d16, kFirst[order]), hn::Set(d16, block[0])),
                            hn::Mul(hn::Load(d16, kSecond[order]), hn::Set(d16, block[1])));
  const auto values =
      hn::Or(hn::MulHigh(sums, hn::Set(d16, kReciprocal[order])), hn::Load(d16, kFixed[order]));
  // Moves the 24 bits of either half to the low end of 64, then spreads 8 indices of 3 bits to a
  // byte each.
  alignas(16) static constexpr uint8_t kHalves[16] = {2, 3, 4, 128, 128, 128, 128, 128,
                                                      5, 6, 7, 128, 128, 128, 128, 128};
  const auto bytes = hn::ZeroExtendVector(d, hn::LoadU(hn::Full64<uint8_t>(), block));
  auto spread = hn::BitCast(d64, hn::TableLookupBytesOr0(bytes, hn::Load(d, kHalves)));
  spread = hn::And(hn::Or(spread, hn::ShiftLeft<20>(spread)), hn::Set(d64, 0x00000FFF00000FFFull));
  spread = hn::And(hn::Or(spread, hn::ShiftLeft<10>(spread)), hn::Set(d64, 0x003F003F003F003Full));
  spread = hn::And(hn::Or(spread, hn::ShiftLeft<5>(spread)), hn::Set(d64, 0x0707070707070707ull));
  // A value is a pair of bytes (v, 0): the table's entry is twice the index.
  const auto entries = hn::BitCast(d, hn::Add(spread, spread));
  return hn::TableLookupBytes(hn::BitCast(d, values), entries);
}

enum class AlphaKind { kNone, kDxt3, kDxt5 };

template <AlphaKind kAlpha>
HWY_INLINE void StoreBlock(const uint8_t* block, const uint32_t* colors, uint8_t* pixels,
                           int64_t pitch) {
  const Block8 d;
  constexpr size_t kIndices = kAlpha == AlphaKind::kNone ? 4 : 12;
  auto palette = hn::BitCast(d, hn::Load(hn::Full128<uint32_t>(), colors));
  if constexpr (kAlpha == AlphaKind::kNone) {
    for (int row = 0; row < 4; ++row) {
      hn::StoreU(RowColors(palette, block[kIndices + static_cast<size_t>(row)]), d,
                 pixels + row * pitch);
    }
  } else {
    const auto alphas = kAlpha == AlphaKind::kDxt3 ? Dxt3Alphas(block) : Dxt5Alphas(block);
    palette = hn::BitCast(d, hn::And(hn::BitCast(hn::Full128<uint32_t>(), palette),
                                     hn::Set(hn::Full128<uint32_t>(), 0x00FFFFFF)));
    for (int row = 0; row < 4; ++row) {
      const auto row_colors = RowColors(palette, block[kIndices + static_cast<size_t>(row)]);
      hn::StoreU(hn::Or(row_colors, RowAlphas(alphas, row)), d, pixels + row * pitch);
    }
  }
}

template <AlphaKind kAlpha, ColorOrder kOrder>
void DecodeRow(const uint8_t* blocks, uint8_t* pixels, int64_t pitch, size_t count) {
  const D32 d;
  const size_t lanes = hn::Lanes(d);
  constexpr size_t kBlockBytes = kAlpha == AlphaKind::kNone ? 8 : 16;
  constexpr size_t kColors = kBlockBytes - 8;
  alignas(HWY_MAX_BYTES) uint32_t words[kMostBlocks] = {};
  alignas(HWY_MAX_BYTES) uint32_t colors[kMostBlocks * 4];
  for (size_t i = 0; i < count; i += lanes) {
    const size_t together = count - i < lanes ? count - i : lanes;
    for (size_t k = 0; k < together; ++k) {
      const uint8_t* color_block = blocks + k * kBlockBytes + kColors;
      words[k] = LoadLe32(color_block);
    }
    StoreColors<kOrder>(hn::Load(d, words), colors);
    for (size_t k = 0; k < together; ++k) {
      StoreBlock<kAlpha>(blocks + k * kBlockBytes, colors + k * 4, pixels + k * 16, pitch);
    }
    blocks += together * kBlockBytes;
    pixels += together * 16;
  }
}

const DxtRows& TargetDxtRows() {
  static const DxtRows kRows = {.target = hwy::TargetName(HWY_TARGET),
                                .dxt1 = DecodeRow<AlphaKind::kNone, ColorOrder::kDxt1>,
                                .dxt3 = DecodeRow<AlphaKind::kDxt3, ColorOrder::kFourColors>,
                                .dxt5 = DecodeRow<AlphaKind::kDxt5, ColorOrder::kFourColors>};
  return kRows;
}

#else

// Without byte shuffles, use the plain code.
const DxtRows& TargetDxtRows() { return PlainDxtRows(); }

#endif

ZAV_END_TARGET();

#endif  // ZAV_HAVE_HIGHWAY

#if ZAV_ONCE
ZAV_SELECT_TABLE(DxtRows, DxtRows);
#endif
