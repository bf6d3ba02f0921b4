// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "convert/pipeline.h"
#include "encodings/quantizer_rows.h"
#include "support/page_end_buffer.h"
#include "support/plain_quantizer.h"
#include "support/vector_targets.h"
#include "surface/surface.h"

namespace zav::test {
namespace {

using Palette = std::array<uint8_t, ZAV_PALETTE_BYTES>;

/// Quantizes into guarded buffers and compares with the reference.
void ExpectAsPlain(Picture& picture, int32_t dest_pitch, const std::string& what) {
  const ZAV_GFXDEF& source = picture.definition;
  const auto height = static_cast<size_t>(source.height);
  // No side may be touched after the last pixel of its last row.
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
  converter.dest.definition() =
      Definition(ZAV_FMT_PAL8, 0, 0, dest_pitch, dest.data(), palette.data());
  ForEachVectorTarget([&](const VectorTarget& target) {
    ASSERT_STREQ(SelectedQuantizerRows().target, HasVectors(target) ? target.name : "plain");
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

// Palettes around the limit, over color cubes of every extent: leaves end at every depth. In runs
// and without.
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

TEST(Quantizer, SumsOfManyPixelsDoNotWrap) {
  constexpr int32_t kPixels = 17'200'000;  // times 253 is more than 2^32
  std::vector<uint8_t> pixels(size_t{kPixels} * 4);
  for (size_t i = 0; i < pixels.size(); i += 4) StoreLe32(&pixels[i], 0xFDFEFF);
  ForEachVectorTarget([&](const VectorTarget& target) {
    ScopedConverter converter;
    converter.source.pixels = pixels.data();
    SetDefinition(converter.source, kPixels, 1, ZAV_FMT_BGRA32);
    converter.dest.format = ZAV_FMT_PAL8;
    EXPECT_TRUE(ConvertSurface(converter));
    EXPECT_EQ(LoadLe32(converter.dest.palette), 0xFFFDFEFFu) << target.name;
  });
}

}  // namespace
}  // namespace zav::test
