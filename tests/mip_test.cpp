// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string>

#include "convert/mip_level.h"
#include "scaling/mip_filter.h"
#include "support/page_end_buffer.h"
#include "support/picture_files.h"
#include "support/pictures.h"
#include "support/vector_targets.h"
#include "surface/surface.h"

namespace zav::test {
namespace {

using Pixel = std::array<uint8_t, 4>;

Pixel Weighted(const std::array<Pixel, 4>& p) {
  const uint32_t alpha = p[0][3] + p[1][3] + p[2][3] + p[3][3];
  Pixel result{0, 0, 0, static_cast<uint8_t>(alpha / 4)};
  for (size_t c = 0; c < 3; ++c) {
    uint32_t sum = 0;
    for (const Pixel& pixel : p) sum += pixel[c] * (alpha == 0 ? 1u : pixel[3]);
    result[c] = static_cast<uint8_t>(sum / (alpha == 0 ? 4 : alpha));
  }
  return result;
}

/// The level of a 32-bit picture, pixel after pixel, without padding.
Bytes PlainLevel(const ZAV_GFXDEF& source, int32_t width, int32_t height) {
  const auto pixel = [&](int32_t x, int32_t y) {
    Pixel found;
    std::memcpy(found.data(), source.pixels + int64_t{y} * source.pitch + x * 4, 4);
    return found;
  };
  Bytes level;
  for (int32_t i = 0; i < width * height; ++i) {
    const int32_t x = i % width * 2, y = i / width * 2;
    Pixel made = pixel(x, y);
    if (height > 1 && width > 1) {
      made = Weighted({made, pixel(x + 1, y), pixel(x, y + 1), pixel(x + 1, y + 1)});
    } else {
      const bool beside = height == 1 && source.width > 1;
      const Pixel other = pixel(x + beside, y + (!beside && source.height > y + 1));
      for (size_t c = 0; c < 4; ++c)
        made[c] = static_cast<uint8_t>(2 * (made[c] / 4 + other[c] / 4));
    }
    std::copy(made.begin(), made.end(), std::back_inserter(level));
  }
  return level;
}

void ExpectWeightedRow(const std::array<Bytes, 2>& rows, const std::string& what) {
  const size_t count = rows[0].size() / 8;
  PageEndBuffer first(rows[0].data(), rows[0].size()), second(rows[1].data(), rows[1].size());
  PageEndBuffer dest(count * 4);
  ForEachVectorTarget([&](const VectorTarget& target) {
    const bool shuffles = std::string("SSE4 AVX2 AVX3").find(target.name) != std::string::npos;
    ASSERT_STREQ(SelectedMipFilter().target, shuffles ? target.name : "plain");
    std::memset(dest.data(), 0xA5, dest.size());
    SelectedMipFilter().weighted(first.data(), second.data(), dest.data(), count);
    for (size_t x = 0; x < count; ++x) {
      std::array<Pixel, 4> p;
      std::memcpy(p[0].data(), &rows[0][x * 8], 8);
      std::memcpy(p[2].data(), &rows[1][x * 8], 8);
      Pixel made;
      std::memcpy(made.data(), dest.data() + x * 4, 4);
      ASSERT_EQ(made, Weighted(p)) << what << ", pixel " << x << " on " << target.name;
    }
  });
}

TEST(MipFilter, WeighsEveryAlphaExactlyInRowsOfEveryLength) {
  Random random(3);
  for (size_t count = 1; count <= 70; ++count) {
    for (size_t kind = 0; kind < 5; ++kind) {
      std::array<Bytes, 2> rows = {Bytes(count * 8), Bytes(count * 8)};
      for (size_t i = 0; i < count * 16; ++i) {
        const uint8_t any = random.Byte(), mostly_none = random.Below(4) == 0 ? any : uint8_t{0};
        const uint8_t alphas[] = {0, 255, any, mostly_none, static_cast<uint8_t>(any % 3)};
        rows[i % 2][i / 2] = i / 2 % 4 == 3 ? alphas[kind] : any;
      }
      ExpectWeightedRow(rows, "alphas of kind " + std::to_string(kind));
    }
  }
}

// Every sum of alphas with numerators at, just below and just above every multiple of it: where a
// quotient that is not exact shows.
TEST(MipFilter, TruncatesExactlyAroundEveryMultipleOfEverySum) {
  for (uint32_t sum = 1; sum <= 1020 && !HasFatalFailure(); ++sum) {
    // One alpha of 1 where the sum allows it, so that every numerator can be made.
    std::array<uint32_t, 4> alphas = {0, 0, 0, sum <= 766 ? 1u : 0u};
    uint32_t left = sum - alphas[3];
    for (uint32_t& alpha : alphas) {
      const uint32_t more = std::min(left, 255 - alpha);
      alpha += more;
      left -= more;
    }
    std::array<Bytes, 2> rows = {Bytes(256 * 8), Bytes(256 * 8)};
    for (uint32_t quotient = 0; quotient < 256; ++quotient) {
      for (uint32_t c = 0; c < 4; ++c) {
        uint32_t numerator = std::clamp(quotient * sum + c, 1u, sum * 255 + 1) - 1;
        for (size_t i = 0; i < 4; ++i) {
          const uint32_t value = alphas[i] == 0 ? 0 : std::min(numerator / alphas[i], 255u);
          numerator -= value * alphas[i];
          rows[i / 2][quotient * 8 + i % 2 * 4 + c] =
              static_cast<uint8_t>(c == 3 ? alphas[i] : value);
        }
      }
    }
    ExpectWeightedRow(rows, "sum " + std::to_string(sum));
  }
}

TEST(MipLevel, EverySizeIntoOwnAndSuppliedBuffers) {
  for (int32_t i = 0; i < 20 * 20 * 2; ++i) {
    const bool supplied = i % 2 != 0;
    const int32_t width = 1 + i / 2 % 20, height = 1 + i / 40;
    const int32_t w = std::max(width / 2, 1), h = std::max(height / 2, 1);
    const int32_t format = (width + height) % 2 == 0 ? ZAV_FMT_RGBA32 : ZAV_FMT_BGRA32;
    const int32_t pitch = width * 4 + width % 3, dest_pitch = w * 4 + (supplied ? 5 : 0);
    const Picture picture =
        NoisePicture(format, width, height, pitch, static_cast<uint64_t>(width * 100 + height));
    // Nothing behind the last row's last pixel is there to be read or written.
    PageEndBuffer bytes(picture.pixels.data(),
                        static_cast<size_t>(pitch * (height - 1) + width * 4));
    PageEndBuffer dest(static_cast<size_t>(dest_pitch * (h - 1) + w * 4));
    std::memset(dest.data(), 0xA5, dest.size());
    Image image;
    image.source = picture.definition;
    image.source.pixels = bytes.data();
    const ZAV_GFXDEF found = image.source;
    if (supplied) {
      image.dest.pixels = dest.data();
      image.dest.pitch = dest_pitch;
    }
    ASSERT_EQ(ZAV_GEN_MIPMAPLEVEL(&image), 1);
    EXPECT_TRUE(SameDefinition(image.source, found));
    EXPECT_TRUE(SameDefinition(
        image.dest, {image.dest.pixels, nullptr, w, h, 4, format, dest_pitch, 0, 0, 0, 0}));
    const Bytes level = PlainLevel(picture.definition, w, h);
    Bytes expected(dest.size(), 0xA5);
    for (int32_t at = 0; at < w * h * 4; ++at) {
      expected[static_cast<size_t>(at / (w * 4) * dest_pitch + at % (w * 4))] = level[size_t(at)];
    }
    ASSERT_EQ(std::memcmp(image.dest.pixels, expected.data(), expected.size()), 0)
        << width << " x " << height;
  }
}

// A level is the composition of three conversions that are tested elsewhere.
TEST(MipLevel, EveryFormatGoesThroughBgra32AndConsumesTheSource) {
  const ZAV_GFXDEF masks = {nullptr, nullptr, 0, 0, 0, 0, 0, 0x0001, 0x003E, 0x07C0, 0xF000};
  for (int32_t format = ZAV_FMT_PAL8; format <= ZAV_FMT_CUSTOM16_2; ++format) {
    if (format == ZAV_FMT_PAL4 || BytesPerPixel(format) == 4) continue;
    for (const auto& [dest_format, width, height] : {std::array{0, 0, 0},
                                                     {int{ZAV_FMT_RGBA32}, 0, 0},
                                                     {int{ZAV_FMT_PAL8}, 0, 0},
                                                     {0, 5, 21}}) {
      Picture picture = NoisePicture(format, 33, 22, 33 * BytesPerPixel(format) + 7, 4);
      if (format >= ZAV_FMT_CUSTOM16_1) {
        std::memcpy(&picture.definition.alpha_mask, &masks.alpha_mask, 16);
      }
      Image wide, narrow, image;
      image.source = wide.source = picture.definition;
      wide.dest.format = ZAV_FMT_BGRA32;
      ASSERT_EQ(ZAV_CONVERT_RAW(&wide), 1);
      Bytes half = PlainLevel(wide.dest, 16, 11);
      narrow.source = {half.data(), nullptr, 16, 11, 0, ZAV_FMT_BGRA32, 0, 0, 0, 0, 0};
      if (dest_format == 0) narrow.dest = masks;
      narrow.dest.format = dest_format == 0 ? format : dest_format;
      narrow.dest.width = width;
      narrow.dest.height = height;
      ASSERT_EQ(ZAV_CONVERT_RAW(&narrow), 1);
      image.dest.format = dest_format;
      image.dest.width = width;
      image.dest.height = height;
      ASSERT_EQ(ZAV_GEN_MIPMAPLEVEL(&image), 1) << format;
      EXPECT_TRUE(SameDefinition(image.source, {}));
      EXPECT_TRUE(SamePicture(image.dest, narrow.dest)) << format << " to " << dest_format;
      if (format >= ZAV_FMT_CUSTOM16_1 && dest_format == 0) {
        EXPECT_EQ(std::memcmp(&image.dest.alpha_mask, &masks.alpha_mask, 16), 0);
      }
    }
  }
}

TEST(MipLevel, RefusesWhatTheFilterCannotFill) {
  // Also below the entry point, which undoes what fails, both surfaces stay as they were.
  const auto refused = [](const ZAV_GFXDEF& source, const ZAV_GFXDEF& dest) {
    ScopedConverter c;
    c.source.definition() = source;
    c.dest.definition() = dest;
    return !GenerateMipLevel(c) && SameDefinition(c.source, source) &&
           SameDefinition(c.dest, dest) && c.dest.flags == 0;
  };
  Bytes buffer(256, 0xA5);
  const auto sized = [&](int32_t width, int32_t height, int32_t format = 0, int32_t pitch = 0) {
    uint8_t* pixels = pitch != 0 ? buffer.data() : nullptr;
    return ZAV_GFXDEF{pixels, nullptr, width, height, 0, format, pitch, 0, 0, 0, 0};
  };
  Picture picture = NoisePicture(ZAV_FMT_BGRA32, 9, 9, 0, 1);
  const ZAV_GFXDEF& source = picture.definition;
  for (const ZAV_GFXDEF& dest :
       {sized(5, 4), sized(4, 5), sized(9, 9), sized(0, 4), sized(4, 0, 0, 64), sized(-1, 2, 0, 64),
        sized(4, 4, ZAV_FMT_RGBA32), sized(4, 4, ZAV_FMT_PAL8), sized(4, 4, 99), sized(4, 4, 0, 15),
        sized(4, 4, 0, -16)}) {
    EXPECT_TRUE(refused(source, dest)) << dest.width << " x " << dest.height;
  }
  EXPECT_EQ(buffer, Bytes(256, 0xA5));
  const Picture other = NoisePicture(ZAV_FMT_BGR24, 9, 9, 0, 1);
  EXPECT_TRUE(refused(other.definition, sized(0, 4)));
  EXPECT_TRUE(refused(other.definition, sized(4, 4, ZAV_FMT_PAL4)));
  ZAV_GFXDEF broken = source;
  broken.pitch = 35;
  EXPECT_TRUE(refused(broken, {}));
  ZAV_IMAGE freed{};
  EXPECT_EQ(ZAV_GEN_MIPMAPLEVEL(&freed) + ZAV_GEN_MIPMAPLEVEL(nullptr), 0);

  // Smaller than half: the corner of the picture.
  Image image;
  image.source = source;
  image.dest = sized(3, 2);
  ASSERT_EQ(ZAV_GEN_MIPMAPLEVEL(&image), 1);
  EXPECT_EQ(PlainLevel(source, 3, 2), Bytes(image.dest.pixels, image.dest.pixels + 24));
}

}  // namespace
}  // namespace zav::test
