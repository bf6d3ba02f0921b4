// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "zav.h"

namespace zav::test {

/// Repeatable noise (xorshift64*).
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u + 1) {}
  uint32_t Next();
  /// 0 to bound - 1.
  uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(uint64_t{Next()} * bound >> 32); }
  uint8_t Byte() { return static_cast<uint8_t>(Next() >> 24); }

 private:
  uint64_t state_;
};

/// Bytes of so many different values, 256 at most, spread over the whole range.
std::vector<uint8_t> NoiseBytes(size_t count, uint64_t seed, uint32_t symbols = 256);

/// Compares all fields but not the padding after them.
bool SameDefinition(const ZAV_GFXDEF& a, const ZAV_GFXDEF& b);

/// A definition with these fields; the others are zero.
ZAV_GFXDEF Definition(int32_t format, int32_t width, int32_t height, int32_t pitch = 0,
                      uint8_t* pixels = nullptr, uint8_t* palette = nullptr);

/// A picture with its memory. Rows are `pitch` bytes apart. Padding bytes are noise: reading them
/// changes results.
struct Picture {
  ZAV_GFXDEF definition{};
  std::vector<uint8_t> pixels;
  std::vector<uint8_t> palette;

  Picture() = default;
  Picture(Picture&&) = default;
  Picture& operator=(Picture&&) = default;

  uint8_t* Row(int32_t y) { return pixels.data() + int64_t{y} * definition.pitch; }
};

/// Noise in any uncompressed format; pitch 0 means rows without padding.
Picture NoisePicture(int32_t format, int32_t width, int32_t height, int32_t pitch, uint64_t seed);

/// A picture in BGRA32 that changes with every flip, channel swap or shift: gradients of different
/// slopes in every channel, a bright corner, and soft alpha.
Picture AsymmetricPicture(int32_t width, int32_t height);

/// A sprite in BGRA32 or PAL8: squares of `block` pixels, some empty, some of a few flat colors,
/// the first and some others noise. Empty pixels are zero, all others have some alpha. No two
/// palette entries are equal; the first is zero.
Picture SpritePicture(int32_t format, int32_t width, int32_t height, int32_t block, uint64_t seed);

}  // namespace zav::test
