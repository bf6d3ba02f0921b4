// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "convert/pipeline.h"
#include "convert/surface.h"
#include "kinds/quantizer_rows.h"
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
    const bool multiplies = std::string("SSE4 AVX2 AVX3").find(target.name) != std::string::npos;
    ASSERT_STREQ(SelectedQuantizerRows().target, multiplies ? target.name : "plain");
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
  const int32_t sizes[][4] = {// width, height, paddings
                              {1, 1, 0, 0},   {7, 5, 4, 3},   {16, 16, 0, 0},   {3, 400, 0, 1},
                              {900, 3, 0, 0}, {67, 61, 8, 5}, {128, 128, 0, 0}, {400, 300, 12, 0}};
  for (const ColorPicture& colors : ColorPictures()) {
    for (const auto& [width, height, source_padding, dest_padding] : sizes) {
      for (uint64_t seed = 1; seed <= 3; ++seed) {
        Picture picture = MakeColorPicture(colors, width, height, width * 4 + source_padding, seed);
        ExpectAsPlain(picture, width + dest_padding,
                      std::string(colors.name) + " " + std::to_string(width));
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
        const ColorPicture runs = {"runs", [&](int32_t, int32_t, Random& noise) {
                                     const bool ends = noise.Below(longest_run) == 0;
                                     return color = ends ? colors[noise.Below(count)] : color;
                                   }};
        Picture picture = MakeColorPicture(runs, 90, 100);
        ExpectAsPlain(picture, 90,
                      std::to_string(count) + " of " + std::to_string(bits) + " bits in runs of " +
                          std::to_string(longest_run));
      }
    }
  }
}

/// Returns a row's palette and indices.
std::pair<std::vector<uint32_t>, std::vector<uint8_t>> Quantize(
    const std::vector<uint32_t>& colors) {
  std::vector<uint8_t> pixels(colors.size() * 4);
  for (size_t i = 0; i < colors.size(); ++i) StoreLe32(&pixels[i * 4], colors[i]);
  ScopedConverter converter;
  converter.source.pixels = pixels.data();
  SetDefinition(converter.source, static_cast<int64_t>(colors.size()), 1, ZAV_FMT_BGRA32);
  converter.dest.format = ZAV_FMT_PAL8;
  EXPECT_TRUE(ConvertSurface(converter));
  std::vector<uint32_t> palette(256);
  for (size_t i = 0; i < 256; ++i) palette[i] = LoadLe32(converter.dest.palette + i * 4);
  return {palette, {converter.dest.pixels, converter.dest.pixels + colors.size()}};
}

// Written out by hand, since the reference could share a mistake.
TEST(Quantizer, KnownPalettes) {
  const auto [primaries, indices] = Quantize({0x00FF0000, 0x7F00FF00, 0xFF0000FF, 0x10FF0000});
  EXPECT_EQ(indices, (std::vector<uint8_t>{2, 1, 0, 2}));
  std::vector<uint32_t> expected(256, 0xFFFFFFFF);
  for (uint32_t i = 0; i < 3; ++i) expected[i] = 0xFF000000 | 0xFFu << i * 8;
  EXPECT_EQ(primaries, expected);

  std::vector<uint32_t> greys(256);
  for (uint32_t i = 0; i < 256; ++i) greys[i] = 0xFF000000 | i * 0x010101u;
  EXPECT_EQ(Quantize(greys).first, greys);
  greys.push_back(1);  // one colour too many: the greys 254 and 255 share the newest node
  const auto [merged, merged_indices] = Quantize(greys);
  EXPECT_EQ(merged[1], 0xFF000001u);
  EXPECT_EQ(merged[255], 0xFFFEFEFEu);
  for (uint32_t i = 0; i < 257; ++i) {
    EXPECT_EQ(merged_indices[i], i == 0 ? 0 : i == 256 ? 1 : std::min(i + 1, 255u));
  }
}

TEST(Quantizer, SumsOfManyPixelsDoNotWrap) {
  const std::vector<uint32_t> colors(17'200'000, 0xFDFEFF);  // 253 times that is past 2^32
  ForEachVectorTarget([&](const VectorTarget& target) {
    EXPECT_EQ(Quantize(colors).first[0], 0xFFFDFEFFu) << target.name;
  });
}

}  // namespace
}  // namespace zav::test
