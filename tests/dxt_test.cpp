// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Blocks: the decoders against a plain reference. The encoder gives the same blocks on every
// target, close to their pixels, and exact for the 16-bit colors of the format. The layers hold
// blocks.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "base/endian.h"
#include "codecs/dxt_block_encoder.h"
#include "codecs/dxt_decoder.h"
#include "codecs/dxt_encoder.h"
#include "encodings/dxt.h"
#include "support/container_files.h"
#include "support/page_end_buffer.h"
#include "support/pictures.h"
#include "support/vector_targets.h"

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

/// Random blocks, some with equal or extreme ends, in both orders.
Bytes RandomBlocks(int variant, size_t count, Random& random) {
  const size_t bytes = variant == 1 ? 8 : 16;
  Bytes blocks(count * bytes);
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

// Through the export, into the host's buffer and the library's.
TEST(DxtDecode, EveryTargetEqualsTheReference) {
  ForEachVectorTarget([](const VectorTarget& target) {
    SCOPED_TRACE(target.name);
    ASSERT_STREQ(SelectedDxtRows().target, HasVectors(target) ? target.name : "plain");
    Random random(5);
    for (int round = 0; round < 3 * 3 * 42; ++round) {
      const int variant = round % 3 * 2 + 1, across = round / 9, down = round / 3 % 3;
      const int width = across * 4 + 1 + round % 4, height = down * 4 + 1 + round / 4 % 4;
      const auto whole = static_cast<size_t>(width / 4) * static_cast<size_t>(height / 4);
      const Bytes bytes = RandomBlocks(variant, whole, random);
      PageEndBuffer blocks(bytes.data(), bytes.size());
      const int pitch = width * 4 + round % 5;
      PageEndBuffer pixels(static_cast<size_t>(pitch * (height - 1) + width * 4));
      std::memset(pixels.data(), 0xA5, pixels.size());
      const bool own = round % 2 != 0;
      Image image;
      image.dest = Definition(ZAV_FMT_BGRA32, 0, 0, own ? pitch : 0, own ? pixels.data() : nullptr);
      ASSERT_TRUE(image.Convert(Definition(ZAV_FMT_DXT1 + variant - 1, width, height,
                                           static_cast<int32_t>(bytes.size()), blocks.data())));
      for (int i = 0; i < image.dest.pitch * (height - 1) + width * 4; ++i) {
        const int y = i / image.dest.pitch, x = i % image.dest.pitch / 4;
        // Pixels outside whole blocks are zero in the library's buffer.
        uint8_t expected[4] = {};
        if (own) std::memset(expected, 0xA5, 4);
        if (x < width / 4 * 4 && y < height / 4 * 4) {
          const int block = (y / 4 * (width / 4) + x / 4) * (variant == 1 ? 8 : 16);
          ReferencePixel(&bytes[static_cast<size_t>(block)], variant, x % 4, y % 4, expected);
        }
        ASSERT_EQ(image.dest.pixels[i], expected[i % image.dest.pitch % 4])
            << variant << ", " << width << " x " << height << ", byte " << i;
      }
      // Sources with fewer bytes than their blocks take are refused.
      if (bytes.size() < 2) continue;
      --image.source.pitch;
      EXPECT_EQ(ZAV_CONVERT_RAW(&image), 0);
    }
  });
}

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

Bytes Encode(int variant, const Picture& picture) {
  const ZAV_GFXDEF& d = picture.definition;
  Bytes blocks(static_cast<size_t>(DxtBlockBytes(variant, d.width, d.height)));
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
        const Bytes expected = Encode(variant, picture);
        ForEachVectorTarget([&](const VectorTarget& target) {
          EXPECT_EQ(Encode(variant, picture), expected)
              << target.name << " variant " << variant << " kind " << kind;
        });
      }
    }
  }
}

/// Root of the mean squared difference over the chosen channels, after decoding.
double DifferenceAfter(int format, Picture& picture, int first, int last) {
  Image image;
  EXPECT_TRUE(image.Convert(picture.definition, format));
  const Bytes back = PixelsAs(image.dest, ZAV_FMT_BGRA32);
  EXPECT_EQ(back.size(), picture.pixels.size());
  double sum = 0;
  for (size_t i = 0; i < back.size(); ++i) {
    const int channel = static_cast<int>(i % 4), difference = back[i] - picture.pixels[i];
    if (channel >= first && channel <= last) sum += difference * difference;
  }
  return std::sqrt(sum * 4 / double(back.size()) / (last - first + 1));
}

TEST(DxtEncode, StaysNearItsPixels) {
  // What two ends of 5-6-5, and alphas of one, four and eight bits, can reach for the kind.
  const struct {
    Kind kind;
    int first, last;
    double limit[3];
  } rows[] = {{Kind::kGradient, 0, 2, {14, 14, 14}},
              {Kind::kTwoColors, 0, 2, {7, 7, 7}},
              {Kind::kTwoColors, 3, 3, {0.1, 8, 2.5}},
              {Kind::kSoftAlpha, 3, 3, {0.1, 5.5, 1.2}}};
  for (const auto& row : rows) {
    for (const int format : {ZAV_FMT_DXT1, ZAV_FMT_DXT3, ZAV_FMT_DXT5}) {
      Picture picture = BlockPicture(row.kind, 64, 64, 3);
      for (size_t i = 3; format == ZAV_FMT_DXT1 && i < picture.pixels.size(); i += 4) {
        picture.pixels[i] = 255;
      }
      EXPECT_LT(DifferenceAfter(format, picture, row.first, row.last),
                row.limit[(format - ZAV_FMT_DXT1) / 2])
          << format << " kind " << static_cast<int>(row.kind);
      Picture hard = BlockPicture(Kind::kHardAlpha, 64, 64, 3);
      EXPECT_EQ(DifferenceAfter(format, hard, 3, 3), 0) << format;
    }
  }
}

TEST(DxtEncode, OwnSixteenBitColorsComeBack) {
  Random random(12);
  for (int round = 0; round < 400; ++round) {
    Picture picture = NoisePicture(ZAV_FMT_BGRA32, 4, 4, 0, static_cast<uint64_t>(round));
    // One or two colors of the grid always fit; a third if it is between them, here in red.
    uint32_t colors[3];
    for (uint32_t& color : colors) color = random.Next() & 0xF8FCF8;
    if (round % 3 == 2) {
      const uint32_t step = 0x080000 * random.Below(5), low = colors[0] & 0x78FCF8;
      colors[0] = low, colors[1] = low + 3 * step, colors[2] = low + step;
    }
    for (size_t i = 0; i < 16; ++i) {
      const uint32_t color = colors[random.Below(1 + static_cast<uint32_t>(round) % 3)];
      StoreLe32(&picture.pixels[i * 4], color | 0xFF000000);
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
      DxtJob job;
      job.width = width, job.height = height, job.pitch = 64;
      job.pixels = picture.definition.pixels;
      job.blocks = into, job.block_bytes = room;
      return CompressSurface(job, variant);
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

/// The blocks of the picture with its edge pixels repeated to whole blocks.
Bytes PaddedBlocks(int variant, Picture& picture) {
  const int width = picture.definition.width, height = picture.definition.height;
  const int padded_width = (width + 3) / 4 * 4, padded_height = (height + 3) / 4 * 4;
  Bytes padded;
  for (int y = 0; y < padded_height; ++y) {
    for (int x = 0; x < padded_width; ++x) {
      const uint8_t* pixel = picture.Row(std::min(y, height - 1)) + std::min(x, width - 1) * 4;
      padded.insert(padded.end(), pixel, pixel + 4);
    }
  }
  Bytes blocks(static_cast<size_t>(DxtBlockBytes(variant, padded_width, padded_height)));
  EncodeDxt(variant, padded.data(), padded_width, padded_height, padded_width * 4, blocks.data());
  return blocks;
}

TEST(DxtLayers, HoldTheBlocksOfThePaddedPicture) {
  for (int variant = 1; variant <= 5; ++variant) {
    for (int packed = 0; packed < 2; ++packed) {
      for (const auto& [width, height] :
           {std::pair{1, 1}, {4, 4}, {5, 9}, {6, 5}, {8, 8}, {13, 3}, {300, 401}}) {
        SCOPED_TRACE(testing::Message() << "DXT" << variant << " " << width << "x" << height);
        Picture picture = AsymmetricPicture(width, height);
        const Bytes blocks = PaddedBlocks(variant, picture);
        Image other;  // in a format that the layer converts first
        ASSERT_TRUE(
            other.Convert(picture.definition, packed == 0 ? ZAV_FMT_RGBA32 : ZAV_FMT_BGRA32));
        Bytes file = WriteOne(Layer(ZAV_LAYER_DXT1 + variant - 1, {packed}), other.dest);
        EXPECT_EQ(LoadLe32(&file[4 + 37 + 6]), static_cast<uint32_t>(width));
        EXPECT_EQ(LoadLe32(&file[4 + 37 + 10]), static_cast<uint32_t>(height));
        Image image;
        ASSERT_TRUE(ReadOne(image, file));
        ASSERT_EQ(image.source.width, (width + 3) / 4 * 4);
        ASSERT_EQ(image.source.height, (height + 3) / 4 * 4);
        ASSERT_EQ(image.source.format, ZAV_FMT_DXT1 + variant - 1);
        ASSERT_EQ(image.source.bytes_per_pixel, 0);
        // Formats that are only copied have no rule for their size.
        const int pitch = variant % 2 == 0 ? 0 : static_cast<int>(blocks.size());
        ASSERT_EQ(image.source.pitch, pitch);
        ASSERT_EQ(Probe("zav", file).pitch, pitch);
        ASSERT_EQ(std::memcmp(image.source.pixels, blocks.data(), blocks.size()), 0);
        EXPECT_EQ(image.converter->source.owns_pixels(), packed == 1);
      }
    }
  }
}

}  // namespace
}  // namespace zav::test
