// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <array>

#include "base/endian.h"
#include "codecs/dxt_decoder.h"

namespace zav {
namespace {

struct Color {
  uint32_t blue, green, red;
};

Color Expand565(uint32_t word) {
  return {(word & 31) << 3, (word >> 5 & 63) << 2, (word >> 11) << 3};
}

/// (first_weight * a + second_weight * b) / sum, truncated, per channel.
Color Between(const Color& a, const Color& b, uint32_t first_weight, uint32_t second_weight) {
  const uint32_t sum = first_weight + second_weight;
  const auto mix = [=](uint32_t p, uint32_t q) {
    return (first_weight * p + second_weight * q) / sum;
  };
  return {mix(a.blue, b.blue), mix(a.green, b.green), mix(a.red, b.red)};
}

uint32_t Word(const Color& color) {
  return color.blue | color.green << 8 | color.red << 16 | 0xFF000000u;
}

/// The four colors of a color block. Only DXT1 has the three-color order, whose fourth color is
/// transparent.
std::array<uint32_t, 4> BlockColors(const uint8_t* block, bool dxt1) {
  const uint32_t word0 = LoadLe16(block);
  const uint32_t word1 = LoadLe16(block + 2);
  const Color color0 = Expand565(word0);
  const Color color1 = Expand565(word1);
  if (dxt1 && word0 <= word1) {
    return {Word(color0), Word(color1), Word(Between(color0, color1, 1, 1)), 0x00FFFF00u};
  }
  return {Word(color0), Word(color1), Word(Between(color0, color1, 2, 1)),
          Word(Between(color0, color1, 1, 2))};
}

void DecodeColors(const uint8_t* block, uint8_t* pixels, int64_t pitch, bool dxt1) {
  const std::array<uint32_t, 4> colors = BlockColors(block, dxt1);
  for (int y = 0; y < 4; ++y) {
    const uint32_t indices = block[4 + y];
    for (int64_t x = 0; x < 4; ++x) {
      StoreLe32(pixels + y * pitch + x * 4, colors[indices >> 2 * x & 3]);
    }
  }
}

std::array<uint8_t, 8> BlockAlphas(uint32_t a0, uint32_t a1) {
  std::array<uint8_t, 8> alphas = {
      static_cast<uint8_t>(a0), static_cast<uint8_t>(a1), 0, 0, 0, 0, 0, 255};
  const uint32_t steps = a0 > a1 ? 7 : 5;
  for (uint32_t i = 1; i < steps; ++i) {
    alphas[i + 1] = static_cast<uint8_t>(((steps - i) * a0 + i * a1) / steps);
  }
  return alphas;
}

void Dxt1Row(const uint8_t* blocks, uint8_t* pixels, int64_t pitch, size_t count) {
  for (size_t i = 0; i < count; ++i) DecodeColors(blocks + i * 8, pixels + i * 16, pitch, true);
}

void Dxt3Row(const uint8_t* blocks, uint8_t* pixels, int64_t pitch, size_t count) {
  for (size_t i = 0; i < count; ++i, blocks += 16, pixels += 16) {
    DecodeColors(blocks + 8, pixels, pitch, false);
    for (int64_t k = 0; k < 16; ++k) {
      const uint32_t nibble = blocks[k / 2] >> k % 2 * 4 & 15u;
      pixels[k / 4 * pitch + k % 4 * 4 + 3] = static_cast<uint8_t>(nibble * 17);
    }
  }
}

void Dxt5Row(const uint8_t* blocks, uint8_t* pixels, int64_t pitch, size_t count) {
  for (size_t i = 0; i < count; ++i, blocks += 16, pixels += 16) {
    DecodeColors(blocks + 8, pixels, pitch, false);
    const std::array<uint8_t, 8> alphas = BlockAlphas(blocks[0], blocks[1]);
    const uint64_t indices = LoadLe32(blocks + 2) | uint64_t{LoadLe16(blocks + 6)} << 32;
    for (int64_t k = 0; k < 16; ++k) {
      pixels[k / 4 * pitch + k % 4 * 4 + 3] = alphas[indices >> 3 * k & 7];
    }
  }
}

constexpr DxtRows kPlain = {.target = "plain", .dxt1 = Dxt1Row, .dxt3 = Dxt3Row, .dxt5 = Dxt5Row};

}  // namespace

const DxtRows& PlainDxtRows() { return kPlain; }

}  // namespace zav
