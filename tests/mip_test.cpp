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

/// The level of a 32-bit picture, pixel by pixel, without padding.
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
      const bool right = height == 1 && source.width > 1;
      const Pixel other = pixel(x + right, y + (!right && source.height > y + 1));
      for (size_t c = 0; c < 4; ++c)
        made[c] = static_cast<uint8_t>(2 * (made[c] / 4 + other[c] / 4));
    }
    std::copy(made.begin(), made.end(), std::back_inserter(level));
  }
  return level;
}

/// Noise of which the alphas are all, none, any, few or small.
Picture AlphaPicture(int32_t format, int32_t width, int32_t height, int32_t pitch, uint64_t seed) {
  Picture picture = NoisePicture(format, width, height, pitch, seed);
  Random random(seed);
  for (int32_t i = 0; i < width * height; ++i) {
    uint8_t& alpha = picture.Row(i / width)[i % width * 4 + 3];
    const uint8_t few = random.Below(4) == 0 ? alpha : uint8_t{0};
    const uint8_t alphas[] = {255, 0, alpha, few, static_cast<uint8_t>(alpha % 3)};
    alpha = alphas[seed % 5];
  }
  return picture;
}

/// Makes a level in the library's buffer or in the host's, and compares every byte of it.
void CheckLevel(const Picture& picture, bool host) {
  const auto [width, height, pitch] =
      std::array{picture.definition.width, picture.definition.height, picture.definition.pitch};
  const int32_t w = std::max(width / 2, 1), h = std::max(height / 2, 1);
  const int32_t dest_pitch = w * 4 + (host ? 5 : 0);
  PageEndBuffer bytes(picture.pixels.data(), static_cast<size_t>(pitch * (height - 1) + width * 4));
  PageEndBuffer dest(static_cast<size_t>(dest_pitch * (h - 1) + w * 4));
  std::memset(dest.data(), 0xA5, dest.size());
  Image image;
  image.source = picture.definition;
  image.source.pixels = bytes.data();
  const ZAV_GFXDEF found = image.source;
  if (host) image.dest = Definition(0, 0, 0, dest_pitch, dest.data());
  ASSERT_EQ(ZAV_GEN_MIPMAPLEVEL(&image), 1);
  EXPECT_TRUE(SameDefinition(image.source, found));
  ZAV_GFXDEF made = Definition(found.format, w, h, dest_pitch, image.dest.pixels);
  made.bytes_per_pixel = 4;
  EXPECT_TRUE(SameDefinition(image.dest, made));
  const Bytes level = PlainLevel(picture.definition, w, h);
  Bytes expected(dest.size(), 0xA5);
  for (int32_t y = 0; y < h; ++y) {
    std::copy_n(level.begin() + y * w * 4, w * 4, expected.begin() + y * dest_pitch);
  }
  ASSERT_EQ(std::memcmp(image.dest.pixels, expected.data(), expected.size()), 0)
      << width << " x " << height << " on " << SelectedMipFilter().target;
}

TEST(MipLevel, EverySizeAndRowLengthIntoBothKindsOfBuffers) {
  ForEachVectorTarget([](const VectorTarget&) {
    for (int32_t i = 0; i < 20 * 20 + 125; ++i) {
      const int32_t width = i < 400 ? 1 + i % 20 : i - 379,
                    height = i < 400 ? 1 + i / 20 : 2 + i % 4;
      const int32_t format = (width + height) % 2 == 0 ? ZAV_FMT_RGBA32 : ZAV_FMT_BGRA32;
      const Picture picture = AlphaPicture(format, width, height, width * 4 + width % 3,
                                           static_cast<uint64_t>(width * 7 + height));
      for (const bool host : {false, true}) CheckLevel(picture, host);
    }
  });
}

// Every sum of alphas with numerators at, just below and just above every multiple of it: this is
// where a quotient that is not exact shows.
TEST(MipLevel, TruncatesExactlyAroundEveryMultipleOfEverySum) {
  Picture picture = NoisePicture(ZAV_FMT_BGRA32, 512, 2, 0, 1);
  for (uint32_t sum = 1; sum <= 1020 && !HasFatalFailure(); ++sum) {
    // One alpha is 1 where the sum allows it: then every numerator can be made.
    std::array<uint32_t, 4> alphas = {0, 0, 0, sum <= 766 ? 1u : 0u};
    uint32_t left = sum - alphas[3];
    for (uint32_t& alpha : alphas) {
      const uint32_t more = std::min(left, 255 - alpha);
      alpha += more;
      left -= more;
    }
    for (uint32_t quotient = 0; quotient < 256; ++quotient) {
      for (uint32_t c = 0; c < 4; ++c) {
        uint32_t numerator = std::clamp(quotient * sum + c, 1u, sum * 255 + 1) - 1;
        for (size_t i = 0; i < 4; ++i) {
          const uint32_t value = alphas[i] == 0 ? 0 : std::min(numerator / alphas[i], 255u);
          numerator -= value * alphas[i];
          picture.pixels[i / 2 * 2048 + quotient * 8 + i % 2 * 4 + c] =
              static_cast<uint8_t>(c == 3 ? alphas[i] : value);
        }
      }
    }
    SCOPED_TRACE(sum);
    ForEachVectorTarget([&](const VectorTarget& target) {
      const bool shuffles = std::string("SSE4 AVX2 AVX3").find(target.name) != std::string::npos;
      ASSERT_STREQ(SelectedMipFilter().target, shuffles ? target.name : "plain");
      CheckLevel(picture, false);
    });
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
      ASSERT_TRUE(wide.Convert(picture.definition, ZAV_FMT_BGRA32));
      Bytes half = PlainLevel(wide.dest, 16, 11);
      if (dest_format == 0) narrow.dest = masks;
      narrow.dest.width = image.dest.width = width;
      narrow.dest.height = image.dest.height = height;
      ASSERT_TRUE(narrow.Convert(Definition(ZAV_FMT_BGRA32, 16, 11, 0, half.data()),
                                 dest_format == 0 ? format : dest_format));
      image.source = picture.definition;
      image.dest.format = dest_format;
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
  // The entry point undoes failures; below it, too, both surfaces stay as they were.
  const auto refused = [](const ZAV_GFXDEF& source, const ZAV_GFXDEF& dest) {
    ScopedConverter c;
    c.source.definition() = source;
    c.dest.definition() = dest;
    return !GenerateMipLevel(c) && SameDefinition(c.source, source) &&
           SameDefinition(c.dest, dest) && c.dest.flags == 0;
  };
  Bytes buffer(256, 0xA5);
  const auto sized = [&](int32_t width, int32_t height, int32_t format = 0, int32_t pitch = 0) {
    return Definition(format, width, height, pitch, pitch != 0 ? buffer.data() : nullptr);
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
  EXPECT_EQ(ZAV_GEN_MIPMAPLEVEL(nullptr), 0);

  // Smaller than half: the corner of the picture.
  Image image;
  image.source = source;
  image.dest = sized(3, 2);
  ASSERT_EQ(ZAV_GEN_MIPMAPLEVEL(&image), 1);
  EXPECT_EQ(PlainLevel(source, 3, 2), Bytes(image.dest.pixels, image.dest.pixels + 24));
}

}  // namespace
}  // namespace zav::test
