// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "convert/pipeline.h"
#include "convert/surface.h"
#include "kinds/quantizer_rows.h"
#include "support/failing_heap.h"
#include "support/page_end_buffer.h"
#include "support/plain_quantizer.h"
#include "support/vector_targets.h"

namespace zav::test {
namespace {

using Palette = std::array<uint8_t, ZAV_PALETTE_BYTES>;

/// Quantizes into guarded buffers and compares with the reference.
void ExpectAsPlain(Picture& picture, int32_t dest_pitch, const std::string& what) {
  const ZAV_GFXDEF& source = picture.definition;
  const auto height = static_cast<size_t>(source.height);
  // Neither side may be touched behind its last row's last pixel.
  PageEndBuffer readable(picture.pixels.data(), static_cast<size_t>(source.pitch) * (height - 1) +
                                                    static_cast<size_t>(source.width) * 4);
  const size_t dest_bytes =
      static_cast<size_t>(dest_pitch) * (height - 1) + static_cast<size_t>(source.width);
  std::vector<uint8_t> expected(dest_bytes, 0xA5);
  Palette expected_palette;
  QuantizePlain(source, expected.data(), dest_pitch, expected_palette.data());

  PageEndBuffer dest(dest_bytes);
  PageEndBuffer palette(ZAV_PALETTE_BYTES);
  ScopedConverter converter;
  converter.source.definition() = source;
  converter.source.pixels = readable.data();
  converter.dest.format = ZAV_FMT_PAL8;
  converter.dest.pixels = dest.data();
  converter.dest.palette = palette.data();
  converter.dest.pitch = dest_pitch;
  ForEachVectorTarget([&](const VectorTarget& target) {
    std::memset(dest.data(), 0xA5, dest_bytes);
    std::memset(palette.data(), 0xA5, ZAV_PALETTE_BYTES);
    ASSERT_TRUE(ConvertSurface(converter)) << what;
    EXPECT_EQ(std::memcmp(palette.data(), expected_palette.data(), ZAV_PALETTE_BYTES), 0)
        << what << " on " << target.name;
    EXPECT_EQ(std::memcmp(dest.data(), expected.data(), dest_bytes), 0)
        << what << " on " << target.name;
  });
}

TEST(Quantizer, MatchesTheReferenceOnEveryKindOfPicture) {
  constexpr std::array<std::array<int32_t, 4>, 8> kSizes = {{// width, height, paddings
                                                             {1, 1, 0, 0},
                                                             {7, 5, 4, 3},
                                                             {16, 16, 0, 0},
                                                             {3, 400, 0, 1},
                                                             {900, 3, 0, 0},
                                                             {67, 61, 8, 5},
                                                             {128, 128, 0, 0},
                                                             {400, 300, 12, 0}}};
  for (const ColorPicture& colors : ColorPictures()) {
    for (const auto& [width, height, source_padding, dest_padding] : kSizes) {
      for (uint64_t seed = 1; seed <= 3; ++seed) {
        Picture picture = MakeColorPicture(colors, width, height, width * 4 + source_padding, seed);
        std::string what = colors.name;
        what.append(" ").append(std::to_string(width)).append(" x ").append(std::to_string(height));
        ExpectAsPlain(picture, width + dest_padding, what);
      }
    }
  }
}

// Palettes around the limit, over colour cubes of every extent, so that leaves end at every depth;
// in runs and not.
TEST(Quantizer, MatchesTheReferenceAtEveryCountExtentAndRunLength) {
  Random random(5);
  for (const uint32_t count : {2u, 255u, 256u, 257u, 300u, 700u, 4000u}) {
    for (int bits = 1; bits <= 8; ++bits) {
      for (const uint32_t longest_run : {1u, 30u}) {
        std::vector<uint32_t> colors(count);
        const uint32_t corner = random.Next();
        const uint32_t mask = 0x010101u * ((1u << bits) - 1);
        for (uint32_t& color : colors) color = (corner & ~mask) | (random.Next() & mask);
        uint32_t color = 0;
        uint32_t run = 0;
        const ColorPicture runs = {"runs", [&](int32_t, int32_t, Random& noise) {
                                     if (run == 0) {
                                       run = 1 + noise.Below(longest_run);
                                       color = colors[noise.Below(count)];
                                     }
                                     --run;
                                     return color;
                                   }};
        Picture picture = MakeColorPicture(runs, 90, 100);
        ExpectAsPlain(picture, 90,
                      std::to_string(count) + " of " + std::to_string(bits) + " bits in runs of " +
                          std::to_string(longest_run));
      }
    }
  }
}

struct Quantized {
  std::vector<uint8_t> indices;
  Palette palette;
};

Quantized Quantize(std::vector<uint32_t> colors) {
  std::vector<uint8_t> pixels(colors.size() * 4);
  for (size_t i = 0; i < colors.size(); ++i) StoreLe32(&pixels[i * 4], colors[i]);
  ScopedConverter converter;
  converter.source.pixels = pixels.data();
  converter.source.width = static_cast<int32_t>(colors.size());
  converter.source.height = 1;
  converter.source.format = ZAV_FMT_BGRA32;
  converter.dest.format = ZAV_FMT_PAL8;
  EXPECT_TRUE(ConvertSurface(converter));
  Quantized result;
  result.indices.assign(converter.dest.pixels, converter.dest.pixels + colors.size());
  std::memcpy(result.palette.data(), converter.dest.palette, ZAV_PALETTE_BYTES);
  return result;
}

uint32_t Entry(const Quantized& quantized, size_t index) {
  return LoadLe32(&quantized.palette[index * 4]);
}

// Written out by hand, since the reference could share a mistake.
TEST(Quantizer, KnownPalettes) {
  const Quantized primaries = Quantize({0x00FF0000, 0x7F00FF00, 0xFF0000FF, 0x10FF0000});
  EXPECT_EQ(primaries.indices, (std::vector<uint8_t>{2, 1, 0, 2}));
  EXPECT_EQ(Entry(primaries, 0), 0xFF0000FFu);
  EXPECT_EQ(Entry(primaries, 1), 0xFF00FF00u);
  EXPECT_EQ(Entry(primaries, 2), 0xFFFF0000u);
  for (size_t i = 3; i < 256; ++i) EXPECT_EQ(Entry(primaries, i), 0xFFFFFFFFu);

  std::vector<uint32_t> greys(256);
  for (uint32_t i = 0; i < 256; ++i) greys[i] = i * 0x010101u;
  const Quantized ramp = Quantize(greys);
  for (uint32_t i = 0; i < 256; ++i) {
    EXPECT_EQ(ramp.indices[i], i);
    EXPECT_EQ(Entry(ramp, i), greys[i] | 0xFF000000);
  }
  greys.push_back(1);  // one colour too many: the greys 254 and 255 share the newest node
  const Quantized merged = Quantize(greys);
  EXPECT_EQ(merged.indices[256], 1);
  EXPECT_EQ(Entry(merged, 1), 0xFF000001u);
  for (uint32_t i = 0; i < 256; ++i) {
    EXPECT_EQ(merged.indices[i], i == 0 ? 0 : i == 255 ? 255 : i + 1);
  }
  EXPECT_EQ(Entry(merged, 255), 0xFFFEFEFEu);
}

TEST(Quantizer, SelectsTheForcedTarget) {
  ForEachVectorTarget([](const VectorTarget& target) {
    const std::string name = SelectedQuantizerRows().target;
    const bool multiplies = std::string("SSE4 AVX2 AVX3").find(target.name) != std::string::npos;
    EXPECT_EQ(name, multiplies ? target.name : "plain");
  });
}

TEST(Quantizer, SumsOfManyPixelsDoNotWrap) {
  constexpr int32_t kWidth = 4200;
  constexpr int32_t kHeight = 4100;  // 17.2 million: 253 times that is past 2^32
  std::vector<uint8_t> pixels(size_t{kWidth} * kHeight * 4);
  for (size_t i = 0; i < pixels.size(); i += 4) StoreLe32(&pixels[i], 0xFDFEFF);
  ScopedConverter converter;
  converter.source.pixels = pixels.data();
  converter.source.width = kWidth;
  converter.source.height = kHeight;
  converter.source.format = ZAV_FMT_BGRA32;
  converter.dest.format = ZAV_FMT_PAL8;
  ForEachVectorTarget([&](const VectorTarget& target) {
    ASSERT_TRUE(ConvertSurface(converter));
    EXPECT_EQ(LoadLe32(converter.dest.palette), 0xFFFDFEFFu) << target.name;
    converter.dest.palette[0] = 0;
  });
}

TEST(Quantizer, FailsCleanlyWhenMemoryRunsOut) {
  Picture picture = MakeColorPicture(ColorPictures()[0], 60, 60);
  std::vector<uint8_t> dest(3600, 0x5A);
  Palette palette;
  palette.fill(0x5A);
  ScopedConverter converter;
  converter.source.definition() = picture.definition;
  converter.dest.format = ZAV_FMT_PAL8;
  converter.dest.pixels = dest.data();
  converter.dest.palette = palette.data();
  converter.dest.pitch = 60;
  const int refusals = FailEveryAllocation([&] { return ConvertSurface(converter); },
                                           [&](int granted, bool succeeded) {
                                             EXPECT_FALSE(succeeded) << granted;
                                             for (const uint8_t byte : dest)
                                               ASSERT_EQ(byte, 0x5A) << granted;
                                             for (const uint8_t byte : palette)
                                               ASSERT_EQ(byte, 0x5A) << granted;
                                           });
  EXPECT_GE(refusals, 4);  // two tables, and more than one chunk of nodes
}

}  // namespace
}  // namespace zav::test
