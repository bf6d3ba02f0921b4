// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string>

#include "base/endian.h"
#include "convert/pipeline.h"
#include "convert/surface.h"
#include "kinds/mip_filter.h"
#include "support/failing_heap.h"
#include "support/page_end_buffer.h"
#include "support/pictures.h"
#include "support/vector_targets.h"

namespace zav::test {
namespace {

using Pixel = std::array<uint8_t, 4>;

Pixel Weighted(const std::array<Pixel, 4>& p) {
  uint32_t alpha = 0;
  for (const Pixel& pixel : p) alpha += pixel[3];
  Pixel result{};
  for (size_t c = 0; c < 3; ++c) {
    uint32_t sum = 0;
    for (const Pixel& pixel : p) sum += pixel[c] * (alpha == 0 ? 1u : pixel[3]);
    result[c] = static_cast<uint8_t>(sum / (alpha == 0 ? 4 : alpha));
  }
  result[3] = static_cast<uint8_t>(alpha / 4);
  return result;
}

/// The level of a 32-bit picture, pixel after pixel, without padding.
std::vector<uint8_t> PlainLevel(const ZAV_GFXDEF& source, int32_t width, int32_t height) {
  const auto pixel = [&](int32_t x, int32_t y) {
    Pixel found;
    std::memcpy(found.data(), source.pixels + int64_t{y} * source.pitch + x * 4, 4);
    return found;
  };
  std::vector<uint8_t> level;
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      Pixel made{};
      if (height > 1 && width > 1) {
        made = Weighted({pixel(2 * x, 2 * y), pixel(2 * x + 1, 2 * y), pixel(2 * x, 2 * y + 1),
                         pixel(2 * x + 1, 2 * y + 1)});
      } else {
        const bool beside = height == 1 && source.width > 1;
        const Pixel p = pixel(2 * x, 2 * y);
        const Pixel q = beside                      ? pixel(2 * x + 1, 0)
                        : source.height > 2 * y + 1 ? pixel(0, 2 * y + 1)
                                                    : p;
        for (size_t c = 0; c < 4; ++c) made[c] = static_cast<uint8_t>(2 * (p[c] / 4 + q[c] / 4));
      }
      level.insert(level.end(), made.begin(), made.end());
    }
  }
  return level;
}

/// Alphas of one kind each: none, full, any, and mostly one of the two ends.
uint8_t Alpha(uint32_t kind, Random& random) {
  switch (kind) {
    case 0:
      return 0;
    case 1:
      return 255;
    case 2:
      return random.Byte();
    case 3:
      return random.Below(4) == 0 ? random.Byte() : uint8_t{0};
    default:
      return static_cast<uint8_t>(random.Below(3));
  }
}

void ExpectWeightedRow(const std::vector<uint8_t>& upper, const std::vector<uint8_t>& lower,
                       const std::string& what) {
  const size_t count = upper.size() / 8;
  PageEndBuffer first(upper.data(), upper.size());
  PageEndBuffer second(lower.data(), lower.size());
  PageEndBuffer dest(count * 4);
  ForEachVectorTarget([&](const VectorTarget& target) {
    std::memset(dest.data(), 0xA5, dest.size());
    SelectedMipFilter().weighted(first.data(), second.data(), dest.data(), count);
    for (size_t x = 0; x < count; ++x) {
      std::array<Pixel, 4> p;
      std::memcpy(p[0].data(), &upper[x * 8], 8);
      std::memcpy(p[2].data(), &lower[x * 8], 8);
      Pixel made;
      std::memcpy(made.data(), dest.data() + x * 4, 4);
      ASSERT_EQ(made, Weighted(p)) << what << ", pixel " << x << " on " << target.name;
    }
  });
}

TEST(MipFilter, WeighsEveryAlphaExactlyInRowsOfEveryLength) {
  Random random(3);
  for (size_t count = 1; count <= 70; ++count) {
    for (uint32_t kind = 0; kind < 5; ++kind) {
      std::array<std::vector<uint8_t>, 2> rows;
      for (auto& row : rows) {
        row.resize(count * 8);
        for (size_t i = 0; i < row.size(); ++i) {
          row[i] = i % 4 == 3 ? Alpha(kind, random) : random.Byte();
        }
      }
      ExpectWeightedRow(rows[0], rows[1], "alphas of kind " + std::to_string(kind));
    }
  }
}

// Every sum of alphas with numerators at, just below and just above every multiple of it: where a
// quotient that is not exact shows.
TEST(MipFilter, TruncatesExactlyAroundEveryMultipleOfEverySum) {
  for (uint32_t sum = 1; sum <= 1020; ++sum) {
    // One alpha of 1 where the sum allows it, so that every numerator can be made.
    std::array<uint32_t, 4> alphas{};
    uint32_t left = sum;
    if (sum <= 766) left -= alphas[3] = 1;
    for (size_t i = 0; i < 4; ++i) {
      const uint32_t more = std::min(left, 255 - alphas[i]);
      alphas[i] += more;
      left -= more;
    }
    std::array<std::vector<uint8_t>, 2> rows;
    rows[0].resize(256 * 8);
    rows[1].resize(256 * 8);
    for (uint32_t quotient = 0; quotient < 256; ++quotient) {
      std::array<Pixel, 4> p{};
      for (size_t c = 0; c < 3; ++c) {
        uint32_t numerator = std::min(quotient * sum + static_cast<uint32_t>(c), sum * 255 + 1);
        if (numerator != 0) --numerator;
        for (const size_t i : {0, 1, 2, 3}) {
          const uint32_t value = alphas[i] == 0 ? 0 : std::min(numerator / alphas[i], 255u);
          p[i][c] = static_cast<uint8_t>(value);
          numerator -= value * alphas[i];
        }
      }
      for (size_t i = 0; i < 4; ++i) p[i][3] = static_cast<uint8_t>(alphas[i]);
      std::memcpy(&rows[0][quotient * 8], p[0].data(), 8);
      std::memcpy(&rows[1][quotient * 8], p[2].data(), 8);
    }
    ExpectWeightedRow(rows[0], rows[1], "sum " + std::to_string(sum));
    if (HasFatalFailure()) return;
  }
}

TEST(MipFilter, SelectsTheForcedTarget) {
  ForEachVectorTarget([](const VectorTarget& target) {
    const std::string name = SelectedMipFilter().target;
    const bool shuffles = std::string("SSE4 AVX2 AVX3").find(target.name) != std::string::npos;
    EXPECT_EQ(name, shuffles ? target.name : "plain");
  });
}

/// All fields; padding behind them may differ.
bool Same(const ZAV_GFXDEF& a, const ZAV_GFXDEF& b) {
  return std::memcmp(&a, &b, offsetof(ZAV_GFXDEF, blue_mask) + sizeof(a.blue_mask)) == 0;
}

struct Image : ZAV_IMAGE {
  Image() { ZAV_INIT(this); }
  ~Image() { ZAV_FREE(this); }
};

TEST(MipLevel, EverySizeIntoOwnAndSuppliedBuffers) {
  for (int32_t height = 1; height <= 20; ++height) {
    for (int32_t width = 1; width <= 20; ++width) {
      const int32_t format = (width + height) % 2 == 0 ? ZAV_FMT_RGBA32 : ZAV_FMT_BGRA32;
      const int32_t pitch = width * 4 + width % 3;
      Picture picture =
          NoisePicture(format, width, height, pitch, static_cast<uint64_t>(width * 100 + height));
      // Nothing behind the last row's last pixel is there to be read.
      PageEndBuffer bytes(picture.pixels.data(),
                          static_cast<size_t>(pitch) * static_cast<size_t>(height - 1) +
                              static_cast<size_t>(width) * 4);
      const int32_t w = std::max(width / 2, 1);
      const int32_t h = std::max(height / 2, 1);
      const std::vector<uint8_t> expected = PlainLevel(picture.definition, w, h);
      for (const bool supplied : {false, true}) {
        Image image;
        image.source = picture.definition;
        image.source.pixels = bytes.data();
        const ZAV_GFXDEF found = image.source;
        const int32_t dest_pitch = w * 4 + 5;
        PageEndBuffer dest(static_cast<size_t>(dest_pitch) * static_cast<size_t>(h - 1) +
                           static_cast<size_t>(w) * 4);
        std::memset(dest.data(), 0xA5, dest.size());
        if (supplied) {
          image.dest.pixels = dest.data();
          image.dest.pitch = dest_pitch;
        }
        ASSERT_EQ(ZAV_GEN_MIPMAPLEVEL(&image), 1);
        EXPECT_TRUE(Same(image.source, found));
        EXPECT_EQ(image.dest.format, format);
        EXPECT_EQ(image.dest.width, w);
        EXPECT_EQ(image.dest.height, h);
        EXPECT_EQ(image.dest.bytes_per_pixel, 4);
        EXPECT_EQ(image.dest.pitch, supplied ? dest_pitch : w * 4);
        for (int32_t y = 0; y < h; ++y) {
          const uint8_t* row = image.dest.pixels + y * image.dest.pitch;
          ASSERT_EQ(std::memcmp(row, &expected[static_cast<size_t>(y * w) * 4],
                                static_cast<size_t>(w) * 4),
                    0)
              << width << " x " << height << ", row " << y;
          for (int32_t i = w * 4; supplied && y + 1 < h && i < dest_pitch; ++i) {
            ASSERT_EQ(row[i], 0xA5);
          }
        }
      }
    }
  }
}

TEST(MipLevel, KnownPixels) {
  EXPECT_EQ(Weighted({{{200, 100, 0, 255}, {}, {100, 50, 10, 255}, {}}}), (Pixel{150, 75, 5, 127}));
  EXPECT_EQ(Weighted({{{1, 0, 0, 0}, {2, 0, 0, 0}, {3, 0, 0, 0}, {5, 0, 0, 0}}}), (Pixel{2}));
  // 4 x 2 to 2 x 1: from the upper row alone, even results up to 252.
  std::array<uint8_t, 32> pixels{19, 255, 0, 3, 7, 255, 4, 3, 8, 8, 8, 8, 12, 12, 12, 12};
  std::fill(pixels.begin() + 16, pixels.end(), uint8_t{200});
  Image image;
  image.source.pixels = pixels.data();
  image.source.width = 4;
  image.source.height = 2;
  image.source.format = ZAV_FMT_BGRA32;
  ASSERT_EQ(ZAV_GEN_MIPMAPLEVEL(&image), 1);
  EXPECT_EQ(LoadLe32(image.dest.pixels), 0x0002FC0Au);
  EXPECT_EQ(LoadLe32(image.dest.pixels + 4), 0x0A0A0A0Au);
}

// A level is the composition of three conversions that are tested elsewhere.
TEST(MipLevel, EveryFormatGoesThroughBgra32AndConsumesTheSource) {
  for (int32_t format = ZAV_FMT_PAL8; format <= ZAV_FMT_CUSTOM16_2; ++format) {
    if (format == ZAV_FMT_PAL4 || BytesPerPixel(format) == 4) continue;
    for (const auto& [dest_format, dest_width, dest_height] : {std::array{0, 0, 0},
                                                               {int{ZAV_FMT_RGBA32}, 0, 0},
                                                               {int{ZAV_FMT_PAL8}, 0, 0},
                                                               {0, 5, 21}}) {
      Picture picture = NoisePicture(format, 33, 22, 33 * BytesPerPixel(format) + 7, 4);
      if (format >= ZAV_FMT_CUSTOM16_1) {
        picture.definition.alpha_mask = 0x0001;
        picture.definition.red_mask = 0x003E;
        picture.definition.green_mask = 0x07C0;
        picture.definition.blue_mask = 0xF000;
      }
      ScopedConverter wide;
      wide.source.definition() = picture.definition;
      wide.dest.format = ZAV_FMT_BGRA32;
      ASSERT_TRUE(ConvertSurface(wide));
      std::vector<uint8_t> half = PlainLevel(wide.dest, 16, 11);
      ScopedConverter narrow;
      narrow.source.pixels = half.data();
      narrow.source.width = 16;
      narrow.source.height = 11;
      narrow.source.format = ZAV_FMT_BGRA32;
      if (dest_format == 0) narrow.dest.definition() = picture.definition;
      narrow.dest.pixels = nullptr;
      narrow.dest.palette = nullptr;
      narrow.dest.pitch = 0;
      narrow.dest.format = dest_format == 0 ? format : dest_format;
      narrow.dest.width = dest_width == 0 ? 16 : dest_width;
      narrow.dest.height = dest_height == 0 ? 11 : dest_height;
      ASSERT_TRUE(ConvertSurface(narrow));

      Image image;
      image.source = picture.definition;
      image.dest.format = dest_format;
      image.dest.width = dest_width;
      image.dest.height = dest_height;
      ASSERT_EQ(ZAV_GEN_MIPMAPLEVEL(&image), 1) << format;
      const ZAV_GFXDEF zero{};
      EXPECT_TRUE(Same(image.source, zero));
      ASSERT_EQ(image.dest.format, narrow.dest.format);
      ASSERT_EQ(image.dest.pitch, narrow.dest.pitch);
      ASSERT_EQ(image.dest.height, narrow.dest.height);
      EXPECT_EQ(image.dest.red_mask, narrow.dest.red_mask);
      const auto bytes = static_cast<size_t>(ImageBytes(narrow.dest));
      EXPECT_EQ(std::memcmp(image.dest.pixels, narrow.dest.pixels, bytes), 0)
          << format << " to " << dest_format << ", " << dest_width;
      if (IsPalettized(image.dest.format)) {
        EXPECT_EQ(std::memcmp(image.dest.palette, narrow.dest.palette, ZAV_PALETTE_BYTES), 0);
      }
    }
  }
}

/// Asks for a level of 9 x 9 and expects the record as it was.
bool Refused(const ZAV_GFXDEF& source, const ZAV_GFXDEF& dest) {
  Image image;
  image.source = source;
  image.dest = dest;
  if (ZAV_GEN_MIPMAPLEVEL(&image) == 1) return false;
  EXPECT_TRUE(Same(image.source, source));
  EXPECT_TRUE(Same(image.dest, dest));
  return true;
}

TEST(MipLevel, RefusesWhatTheFilterCannotFill) {
  Picture picture = NoisePicture(ZAV_FMT_BGRA32, 9, 9, 0, 1);
  std::vector<uint8_t> buffer(256, 0xA5);
  const auto sized = [&](int32_t width, int32_t height, int32_t format, int32_t pitch) {
    ZAV_GFXDEF dest{};
    dest.width = width;
    dest.height = height;
    dest.format = format;
    dest.pitch = pitch;
    if (pitch != 0) dest.pixels = buffer.data();
    return dest;
  };
  const ZAV_GFXDEF& source = picture.definition;
  for (const ZAV_GFXDEF& dest : {sized(5, 4, 0, 0), sized(4, 5, 0, 0), sized(9, 9, 0, 0),
                                 sized(0, 4, 0, 0), sized(4, 0, 0, 64), sized(-1, 2, 0, 64),
                                 sized(4, 4, ZAV_FMT_RGBA32, 0), sized(4, 4, ZAV_FMT_PAL8, 0),
                                 sized(4, 4, 99, 0), sized(4, 4, 0, 15), sized(4, 4, 0, -16)}) {
    EXPECT_TRUE(Refused(source, dest)) << dest.width << " x " << dest.height;
  }
  for (const uint8_t byte : buffer) EXPECT_EQ(byte, 0xA5);
  ZAV_GFXDEF broken = source;
  broken.pitch = 35;
  EXPECT_TRUE(Refused(broken, {}));
  EXPECT_EQ(ZAV_GEN_MIPMAPLEVEL(nullptr), 0);
  ZAV_IMAGE freed{};
  EXPECT_EQ(ZAV_GEN_MIPMAPLEVEL(&freed), 0);

  // Smaller than half: the corner of the picture.
  Image image;
  image.source = source;
  image.dest = sized(3, 2, 0, 0);
  ASSERT_EQ(ZAV_GEN_MIPMAPLEVEL(&image), 1);
  const std::vector<uint8_t> expected = PlainLevel(source, 3, 2);
  EXPECT_EQ(std::memcmp(image.dest.pixels, expected.data(), expected.size()), 0);
}

TEST(MipLevel, LeavesEverythingWhenMemoryRunsOut) {
  for (const int32_t format : {ZAV_FMT_BGRA32, ZAV_FMT_BGR24, ZAV_FMT_PAL8}) {
    Picture picture = NoisePicture(format, 40, 30, 0, 2);
    const std::vector<uint8_t> pixels = picture.pixels;
    Image image;
    // The image owns its source: one that was consumed too early would show as a use after free.
    image.source = picture.definition;
    image.dest.format = format;
    ASSERT_EQ(ZAV_CONVERT_RAW(&image), 1);
    MoveDestToSource(*image.converter, *image.converter);
    image.source = image.converter->source;
    image.dest = ZAV_GFXDEF{};
    const ZAV_GFXDEF found = image.source;
    const int refusals = FailEveryAllocation(
        [&] { return ZAV_GEN_MIPMAPLEVEL(&image) == 1; },
        [&](int granted, bool succeeded) {
          EXPECT_FALSE(succeeded) << granted;
          EXPECT_TRUE(Same(image.source, found));
          EXPECT_EQ(image.dest.pixels, nullptr);
          EXPECT_EQ(image.converter->source.pixels, found.pixels);
          EXPECT_TRUE(image.converter->source.owns_pixels());
          ASSERT_EQ(std::memcmp(image.source.pixels, pixels.data(), pixels.size()), 0);
        });
    EXPECT_GE(refusals, format == ZAV_FMT_BGRA32 ? 1 : 3);
  }
}

}  // namespace
}  // namespace zav::test
