// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "support/picture_files.h"
#include "support/pictures.h"

namespace zav::test {
namespace {

/// The picture as R, G, B, A from the top.
Bytes Rgba(const ZAV_GFXDEF& picture) {
  Image image;
  image.source = picture;
  image.dest.format = ZAV_FMT_RGBA32;
  EXPECT_EQ(ZAV_CONVERT_RAW(&image), 1);
  return Bytes(image.dest.pixels,
               image.dest.pixels + int64_t{image.dest.pitch} * image.dest.height);
}

// Run by interop_check.py, which compares with another program's pixels.
TEST(Interop, ExchangeFiles) {
  const char* folder = std::getenv("ZAV_INTEROP");
  if (folder == nullptr) GTEST_SKIP() << "run by interop_check.py";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string path = entry.path();
    if (entry.path().extension() == ".rgba") continue;
    const Bytes expected = FileBytes(path + ".rgba");
    Image image;
    image.dest.format = ZAV_FMT_BGRA32;
    ASSERT_EQ(ZAV_CONVERT_FILE(&image, path.c_str()), expected.empty() ? 0 : 1) << path;
    if (expected.empty()) continue;
    const Bytes pixels = Rgba(image.dest);
    ASSERT_EQ(pixels.size(), expected.size()) << path;
    double difference = 0;
    for (size_t i = 0; i < pixels.size(); ++i) difference += std::abs(pixels[i] - expected[i]);
    // JPEG decoders may differ in their last bits.
    const bool jpeg = entry.path().extension() == ".jpg";
    EXPECT_TRUE(jpeg ? difference / double(pixels.size()) < 1 : difference == 0) << path;
  }
  const Picture photo = AsymmetricPicture(33, 21);
  for (const int quality : {0, 10, 50, 85, 100}) {
    Image image;
    image.source = photo.definition;
    const std::string name = std::to_string(ZAV_SAVE_JPEG + quality) + "_.jpg";
    const std::string path = std::string(folder) + "/zav_" + name;
    ASSERT_EQ(ZAV_SAVE_BITMAP(&image, ZAV_SAVE_JPEG + quality, path.c_str()), 1);
  }
  for (long type = ZAV_SAVE_BMP8; type <= ZAV_SAVE_TGA32; ++type) {
    const bool mapped = type == ZAV_SAVE_BMP8 || type == ZAV_SAVE_TGA8;
    for (int32_t width = 1; width <= 9; ++width) {
      Picture picture = NoisePicture(mapped ? ZAV_FMT_PAL8 : ZAV_FMT_BGRA32, width, 7, 0, 3);
      for (size_t i = 3; i < picture.palette.size(); i += 4) picture.palette[i] = 255;
      for (size_t i = 3; !mapped && type != ZAV_SAVE_TGA32 && i < picture.pixels.size(); i += 4) {
        picture.pixels[i] = 255;
      }
      Image image;
      image.source = picture.definition;
      const std::string path = std::string(folder) + "/zav_" + std::to_string(type) + "_" +
                               std::to_string(width) + (type <= ZAV_SAVE_BMP24 ? ".bmp" : ".tga");
      ASSERT_EQ(ZAV_SAVE_BITMAP(&image, type, path.c_str()), 1) << path;
      WriteFile(path + ".rgba", Rgba(picture.definition));
    }
  }
}

}  // namespace
}  // namespace zav::test
