// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <tuple>

#include "base/endian.h"
#include "support/picture_files.h"

namespace zav::test {
namespace {

/// Byte `byte` of the pixel at (x, y), as the bitmap's layout says.
uint8_t ExpectedByte(const Bytes& file, uint32_t bits, const ZAV_GFXDEF& picture, size_t pixels_at,
                     int32_t x, int32_t y, int32_t byte) {
  const size_t row_bytes = (static_cast<size_t>(picture.width) * bits + 31) / 32 * 4;
  const size_t row = pixels_at + static_cast<size_t>(picture.height - 1 - y) * row_bytes;
  const auto column = static_cast<size_t>(x);
  if (bits == 1) return (file[row + column / 8] & 0x80 >> x % 8) != 0 ? 0 : 255;
  return file[row + column * (bits / 8) + static_cast<size_t>(byte)];
}

TEST(Bmp, EveryDepthPixelForPixel) {
  using Case = std::tuple<uint32_t, int32_t, int32_t>;
  for (const auto& [bits, colors_used, format] :
       {Case{1, 0, ZAV_FMT_BGRA32}, Case{8, 0, ZAV_FMT_PAL8}, Case{8, -5, ZAV_FMT_PAL8},
        Case{8, 257, ZAV_FMT_PAL8}, Case{8, 256, ZAV_FMT_PAL8}, Case{8, 2, ZAV_FMT_PAL8},
        Case{16, 7, ZAV_FMT_RGB565}, Case{24, 7, ZAV_FMT_BGR24}}) {
    for (int32_t width : {1, 2, 3, 4, 5, 7, 8, 9, 31, 33, 64}) {
      SCOPED_TRACE(testing::Message() << bits << " bits, " << colors_used << ", width " << width);
      Bytes file = BmpFile(bits, width, 3, colors_used);
      const bool told = colors_used >= 1 && colors_used <= 256;
      const size_t entries = bits != 8 ? 0 : told ? static_cast<size_t>(colors_used) : 256;
      const size_t pixels_at = bits == 1 ? 62 : 54 + 4 * entries;
      for (bool swapped : {false, true}) {
        Image image;
        if (swapped && bits != 24) continue;
        image.dest.format = swapped ? ZAV_FMT_RGB24 : 0;
        ASSERT_TRUE(image.Read("x.bmp", file));
        const ZAV_GFXDEF& got = swapped ? image.dest : image.source;
        EXPECT_EQ(got.format, swapped ? ZAV_FMT_RGB24 : format);
        EXPECT_EQ(got.pitch, (width * got.bytes_per_pixel + 3) / 4 * 4);
        for (int32_t y = 0; y < 3; ++y) {
          for (int32_t i = 0; i < width * got.bytes_per_pixel; ++i) {
            const int32_t byte = i % got.bytes_per_pixel;
            ASSERT_EQ(got.pixels[y * got.pitch + i],
                      ExpectedByte(file, bits, got, pixels_at, i / got.bytes_per_pixel, y,
                                   swapped ? 2 - byte : byte))
                << i << ", " << y;
          }
        }
        for (size_t i = 0; bits == 8 && i < 1024; ++i) {
          const int32_t stored = i < entries * 4 ? file[54 + i] : 0;
          ASSERT_EQ(got.palette[i], i % 4 == 3 ? 255 - stored : stored) << i;
        }
      }
      // The probe knows the same, and leaves alone what it does not know.
      ZAV_GFXDEF probed{};
      probed.alpha_mask = 77;
      EXPECT_EQ(ZAV_GETFILEFORMAT_FROMMEM(&probed, ".BMP", file.data(), 54), bits != 16);
      EXPECT_EQ(probed.format, bits != 16 ? format : 0);
      EXPECT_EQ(probed.width, bits != 16 ? width : 0);
      EXPECT_EQ(probed.alpha_mask, 77u);
    }
  }
}

TEST(Bmp, CutOffFilesAndBadSidesAreRefused) {
  for (uint32_t bits : {1u, 8u, 16u, 24u}) {
    const Bytes whole = BmpFile(bits, 5, 3, 3);
    for (size_t size = 0; size < whole.size(); ++size) {
      Image image;
      EXPECT_FALSE(image.Read("x.bmp", Bytes(whole.data(), whole.data() + size)));
      EXPECT_EQ(image.source.pixels, nullptr);
    }
    for (const auto& [width, height] :
         {std::pair{0, 3}, {5, 0}, {-5, 3}, {5, -3}, {INT32_MAX, INT32_MAX}}) {
      Bytes file = whole;
      StoreLe32(&file[18], static_cast<uint32_t>(width));
      StoreLe32(&file[22], static_cast<uint32_t>(height));
      Image image;
      EXPECT_FALSE(image.Read("x.bmp", file)) << width << " x " << height;
      ZAV_GFXDEF probed{};
      EXPECT_EQ(ZAV_GETFILEFORMAT_FROMMEM(&probed, "x.bmp", file.data(), 54), 0);
      EXPECT_EQ(probed.width, 0);
    }
  }
}

TEST(Bmp, FillsTheCallersOwnBuffers) {
  const Bytes file = BmpFile(8, 6, 2, 1);
  Bytes pixels(2 * 8 + 1, 0xA5), palette(1024, 40);
  Image image;
  image.source.pixels = pixels.data();
  image.source.palette = palette.data();
  ASSERT_TRUE(image.Read("x.bmp", file));
  EXPECT_EQ(image.source.pixels, pixels.data());
  EXPECT_EQ(pixels[0], file[54 + 4 + 8]);
  EXPECT_EQ(pixels[16], 0xA5);
  EXPECT_EQ(palette[0], file[54]);
  EXPECT_EQ(palette[4], 40);
  EXPECT_EQ(palette[7], 255 - 40);
}

}  // namespace
}  // namespace zav::test
