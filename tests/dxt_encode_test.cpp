// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// The block encoder: the same blocks on every target, valid in every layout, near to their pixels,
// exact where the library's own 16-bit colours come back.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "encodings/dxt.h"
#include "platform/dxt_block_encoder.h"
#include "platform/dxt_encoder.h"
#include "support/container_files.h"
#include "support/page_end_buffer.h"
#include "support/pictures.h"
#include "support/vector_targets.h"
#include "zav.h"

namespace zav::test {
namespace {

enum class Kind { kNoise, kGradient, kFlat, kTwoColors, kSoftAlpha, kHardAlpha, kGrid, kMixed };
constexpr int kKinds = 8;

/// Blocks of one kind; kMixed has neighbours of all kinds.
Picture BlockPicture(Kind kind, int width, int height, uint64_t seed) {
  Picture picture = NoisePicture(ZAV_FMT_BGRA32, width, height, 0, seed);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      uint8_t* p = picture.Row(y) + x * 4;
      const int block = x / 4 + y / 4 * (width / 4);
      const Kind its = kind == Kind::kMixed ? static_cast<Kind>(block * 5 % 7) : kind;
      for (int k = 0; k < 4; ++k) {
        int value = p[k];
        if (its == Kind::kGradient) value = x * (k + 1) + y * (5 - k) + block;
        if (its == Kind::kFlat) value = block * (29 + 2 * k);
        if (its == Kind::kTwoColors) {
          value = (x * 7 + y * 3) % 5 < 2 ? block * 31 + k * 50 : 255 - k * 60;
        }
        if (its == Kind::kSoftAlpha && k == 3) value = std::min(255, (x + y) * 12);
        if (its == Kind::kHardAlpha && k == 3) value = (x * 5 + y * 11) % 7 < 3 ? 0 : 255;
        if (its == Kind::kGrid && k < 3) value &= k == 1 ? 0xFC : 0xF8;
        p[k] = static_cast<uint8_t>(value);
      }
    }
  }
  return picture;
}

std::vector<uint8_t> Encode(int variant, const Picture& picture) {
  const ZAV_GFXDEF& d = picture.definition;
  std::vector<uint8_t> blocks(static_cast<size_t>(DxtBlockBytes(variant, d.width, d.height)));
  EncodeDxt(variant, d.pixels, d.width, d.height, d.pitch, blocks.data());
  return blocks;
}

TEST(DxtEncode, EveryTargetGivesTheSameBlocks) {
  const VectorTarget plain = {0, "plain"};
  for (int kind = 0; kind < kKinds; ++kind) {
    for (const int width : {4, 12, 32, 68}) {
      const Picture picture = BlockPicture(static_cast<Kind>(kind), width, 12, 9);
      for (int variant = 1; variant <= 5; ++variant) {
        ForceVectorTarget(plain);
        EXPECT_STREQ(SelectedDxtEncoder().target, "plain");
        const std::vector<uint8_t> expected = Encode(variant, picture);
        ForEachVectorTarget([&](const VectorTarget& target) {
          EXPECT_EQ(Encode(variant, picture), expected)
              << target.name << " variant " << variant << " kind " << kind;
        });
      }
    }
  }
}

/// Root of the mean squared difference over the chosen channels, after the library's own decoder.
double DifferenceAfter(int format, Picture& picture, int first, int last) {
  Image image, back;
  image.source = picture.definition;
  image.dest.format = format;
  EXPECT_EQ(ZAV_CONVERT_RAW(&image), 1);
  back.source = image.dest;
  back.dest.format = ZAV_FMT_BGRA32;
  EXPECT_EQ(ZAV_CONVERT_RAW(&back), 1);
  double sum = 0;
  for (int y = 0; y < picture.definition.height; ++y) {
    for (int i = 0; i < picture.definition.width * 4; ++i) {
      if (i % 4 < first || i % 4 > last) continue;
      const double d = double{1} * back.dest.pixels[y * back.dest.pitch + i] - picture.Row(y)[i];
      sum += d * d;
    }
  }
  return std::sqrt(sum /
                   (picture.definition.width * picture.definition.height * (last - first + 1)));
}

TEST(DxtEncode, StaysNearItsPixels) {
  // Within what two ends of 5-6-5 can do for the kind; a wrong order, index or channel is far off.
  for (const int format : {ZAV_FMT_DXT1, ZAV_FMT_DXT3, ZAV_FMT_DXT5}) {
    for (const Kind kind : {Kind::kGradient, Kind::kFlat, Kind::kTwoColors}) {
      Picture picture = BlockPicture(kind, 64, 64, 3);
      if (format == ZAV_FMT_DXT1) {
        for (size_t i = 3; i < picture.pixels.size(); i += 4) picture.pixels[i] = 255;
      }
      EXPECT_LT(DifferenceAfter(format, picture, 0, 2), kind == Kind::kGradient ? 14 : 7)
          << format << " kind " << static_cast<int>(kind);
      const double alpha = DifferenceAfter(format, picture, 3, 3);
      EXPECT_LT(alpha, format == ZAV_FMT_DXT1 ? 0.1 : format == ZAV_FMT_DXT3 ? 8 : 2.5) << format;
    }
    Picture soft = BlockPicture(Kind::kSoftAlpha, 64, 64, 3);
    if (format == ZAV_FMT_DXT1) continue;
    EXPECT_LT(DifferenceAfter(format, soft, 3, 3), format == ZAV_FMT_DXT3 ? 5.5 : 1.2) << format;
  }
  Picture hard = BlockPicture(Kind::kHardAlpha, 64, 64, 3);
  for (const int format : {ZAV_FMT_DXT1, ZAV_FMT_DXT3, ZAV_FMT_DXT5}) {
    EXPECT_EQ(DifferenceAfter(format, hard, 3, 3), 0) << format;
  }
}

TEST(DxtEncode, OwnSixteenBitColorsComeBack) {
  Random random(12);
  for (int round = 0; round < 400; ++round) {
    Picture picture = NoisePicture(ZAV_FMT_BGRA32, 4, 4, 0, static_cast<uint64_t>(round));
    // One or two colours of the grid always fit; three where the third lies between them.
    uint32_t colors[3];
    for (uint32_t& color : colors) color = random.Next() & 0xF8FCF8;
    if (round % 3 == 2) {
      colors[1] = (colors[0] + 0x183018 * (random.Below(4))) & 0xF8FCF8;
      colors[2] = 0;
      for (int shift = 0; shift < 24; shift += 8) {
        colors[2] |= (2 * (colors[0] >> shift & 255) + (colors[1] >> shift & 255)) / 3 << shift;
      }
      if ((colors[2] & 0x070307) != 0) colors[2] = colors[0];
    }
    for (size_t i = 0; i < 16; ++i) {
      uint32_t color = colors[random.Below(1 + static_cast<uint32_t>(round) % 3)];
      for (size_t k = 0; k < 3; ++k)
        picture.pixels[i * 4 + k] = static_cast<uint8_t>(color >> 8 * k);
      picture.pixels[i * 4 + 3] = 255;
    }
    for (const int format : {ZAV_FMT_DXT1, ZAV_FMT_DXT3, ZAV_FMT_DXT5}) {
      ASSERT_EQ(DifferenceAfter(format, picture, 0, 3), 0) << format << " round " << round;
    }
  }
}

TEST(DxtEncode, SizesThatBlocksDoNotCoverAreRefused) {
  const Picture picture = NoisePicture(ZAV_FMT_BGRA32, 16, 16, 0, 1);
  for (int variant = 1; variant <= 5; ++variant) {
    const int bytes = variant == 1 ? 32 : 64;
    PageEndBuffer blocks(static_cast<size_t>(bytes));
    const auto compress = [&](int width, int height, int room, uint8_t* into) {
      constexpr bool (*kCompress[])(DxtJob&) = {CompressToDXT1, CompressToDXT2, CompressToDXT3,
                                                CompressToDXT4, CompressToDXT5};
      DxtJob job;
      job.width = width, job.height = height, job.pitch = 64;
      job.pixels = picture.definition.pixels;
      job.blocks = into, job.block_bytes = room;
      return kCompress[variant - 1](job);
    };
    std::memset(blocks.data(), 0xEE, blocks.size());
    for (const auto& [width, height] : {std::pair{6, 4}, {2, 2}, {4, 7}, {0, 4}, {-4, 4}}) {
      EXPECT_FALSE(compress(width, height, bytes, blocks.data()));
    }
    EXPECT_FALSE(compress(8, 8, bytes - 1, blocks.data()));
    ForceDdrawState(DdrawState::kFailed);
    EXPECT_FALSE(compress(8, 8, bytes, blocks.data()));
    ForceDdrawState(DdrawState::kNotTried);
    EXPECT_EQ(std::count(blocks.data(), blocks.data() + bytes, 0xEE), bytes);
    EXPECT_TRUE(compress(8, 8, bytes, blocks.data()));
    EXPECT_TRUE(compress(16, 16, 0, nullptr)) << "allocates its own";
  }
}

}  // namespace
}  // namespace zav::test
