// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// The decoders on random blocks against a second statement of the layouts, with every instruction
// set, and through the exported conversion.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "encodings/dxt.h"
#include "encodings/dxt_rows.h"
#include "support/page_end_buffer.h"
#include "support/picture_files.h"
#include "support/pictures.h"
#include "support/vector_targets.h"
#include "zav.h"

namespace zav::test {
namespace {

/// Pixel x, y of a block as B, G, R, A, from the bits.
void ReferencePixel(const uint8_t* block, int variant, int x, int y, uint8_t* out) {
  const uint8_t* color = block + (variant == 1 ? 0 : 8);
  const int word[2] = {color[0] + 256 * color[1], color[2] + 256 * color[3]};
  const int index = color[4 + y] >> 2 * x & 3;
  const bool three = variant == 1 && word[0] <= word[1];
  constexpr int kShift[3] = {0, 5, 11}, kBits[3] = {5, 6, 5};
  for (int channel = 0; channel < 3; ++channel) {
    int end[2];
    for (int i = 0; i < 2; ++i) {
      end[i] = (word[i] >> kShift[channel] & ((1 << kBits[channel]) - 1)) << (8 - kBits[channel]);
    }
    const int four_colors[4] = {end[0], end[1], (2 * end[0] + end[1]) / 3,
                                (end[0] + 2 * end[1]) / 3};
    const int three_colors[4] = {end[0], end[1], (end[0] + end[1]) / 2, channel == 0 ? 0 : 255};
    out[channel] = static_cast<uint8_t>(three ? three_colors[index] : four_colors[index]);
  }
  out[3] = three && index == 3 ? 0 : 255;
  const int pixel = 4 * y + x;
  if (variant == 3) out[3] = static_cast<uint8_t>((block[pixel / 2] >> pixel % 2 * 4 & 15) * 17);
  if (variant == 5) {
    // The codes are a little-endian number of 48 bits.
    uint64_t codes = 0;
    for (int i = 7; i >= 2; --i) codes = codes << 8 | block[i];
    const int code = static_cast<int>(codes >> 3 * pixel & 7);
    const int a0 = block[0], a1 = block[1], steps = a0 > a1 ? 7 : 5;
    int alpha = code == 0   ? a0
                : code == 1 ? a1
                            : ((steps + 1 - code) * a0 + (code - 1) * a1) / steps;
    if (a0 <= a1 && code == 6) alpha = 0;
    if (a0 <= a1 && code == 7) alpha = 255;
    out[3] = static_cast<uint8_t>(alpha);
  }
}

/// Random blocks, among them both orders of the ends, equal ends, and extremes.
std::vector<uint8_t> RandomBlocks(int variant, size_t count, Random& random) {
  const size_t bytes = variant == 1 ? 8 : 16;
  std::vector<uint8_t> blocks(count * bytes);
  for (uint8_t& byte : blocks) byte = random.Byte();
  for (size_t i = 0; i < count; ++i) {
    uint8_t* block = &blocks[i * bytes];
    uint8_t* ends = block + bytes - 8;
    const uint32_t kind = random.Below(6);
    if (kind == 0) std::memcpy(ends + 2, ends, 2);
    if (kind == 1) std::memset(ends, 0xFF, 2);
    if (kind == 2) std::memset(ends + 2, 0, 2);
    if (kind == 3) block[1] = block[0];
  }
  return blocks;
}

TEST(DxtDecode, EveryTargetEqualsTheReference) {
  ForEachVectorTarget([](const VectorTarget& target) {
    SCOPED_TRACE(target.name);
    Random random(5);
    for (const int variant : {1, 3, 5}) {
      const DxtRows& rows = SelectedDxtRows();
      const DxtBlockRow decode = variant == 1 ? rows.dxt1 : variant == 3 ? rows.dxt3 : rows.dxt5;
      for (size_t count = 1; count <= 41; ++count) {
        const std::vector<uint8_t> bytes = RandomBlocks(variant, count, random);
        PageEndBuffer blocks(bytes.data(), bytes.size());
        const size_t pitch = count * 16 + count % 5;
        PageEndBuffer pixels(pitch * 3 + count * 16);
        decode(blocks.data(), pixels.data(), static_cast<int64_t>(pitch), count);
        for (size_t i = 0; i < pixels.size(); ++i) {
          const size_t y = i / pitch, x = i % pitch / 4;
          uint8_t expected[4] = {};
          if (x < count * 4) {
            ReferencePixel(&bytes[x / 4 * (variant == 1 ? 8 : 16)], variant,
                           static_cast<int>(x % 4), static_cast<int>(y), expected);
          }
          ASSERT_EQ(pixels.data()[i], expected[i % pitch % 4]) << variant << " byte " << i;
        }
      }
    }
  });
}

TEST(DxtDecode, ThroughTheConversion) {
  Random random(6);
  for (const int format : {ZAV_FMT_DXT1, ZAV_FMT_DXT3, ZAV_FMT_DXT5}) {
    const int variant = format - ZAV_FMT_DXT1 + 1;
    for (const int side : {4, 6, 8, 13}) {
      std::vector<uint8_t> blocks = RandomBlocks(variant, 16, random);
      Image image;
      const auto size = static_cast<int32_t>(blocks.size());
      image.source = {blocks.data(), nullptr, side, side, 0, format, size, 0, 0, 0, 0};
      image.dest.format = ZAV_FMT_BGRA32;
      ASSERT_EQ(ZAV_CONVERT_RAW(&image), 1);
      const int across = side / 4, block_bytes = variant == 1 ? 8 : 16;
      for (int i = 0; i < side * side; ++i) {
        const int x = i % side, y = i / side, at = (y / 4 * across + x / 4) * block_bytes;
        // What no whole block covers is zero in the library's own buffer.
        uint8_t expected[4] = {};
        if (x / 4 < across && y / 4 < across) {
          ReferencePixel(&blocks[static_cast<size_t>(at)], variant, x % 4, y % 4, expected);
        }
        ASSERT_EQ(0, std::memcmp(image.dest.pixels + y * image.dest.pitch + x * 4, expected, 4));
      }
      // A source that says it has fewer bytes than its blocks take is refused.
      image.source.pitch = across * across * block_bytes - 1;
      image.dest = ZAV_GFXDEF{};
      image.dest.format = ZAV_FMT_BGRA32;
      EXPECT_EQ(ZAV_CONVERT_RAW(&image), 0);
    }
  }
}

}  // namespace
}  // namespace zav::test
