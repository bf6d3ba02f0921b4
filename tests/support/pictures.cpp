// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "support/pictures.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "surface/format_table.h"

namespace zav::test {

uint32_t Random::Next() {
  state_ ^= state_ >> 12;
  state_ ^= state_ << 25;
  state_ ^= state_ >> 27;
  return static_cast<uint32_t>(state_ * 0x2545F4914F6CDD1Du >> 32);
}

std::vector<uint8_t> NoiseBytes(size_t count, uint64_t seed, uint32_t symbols) {
  Random random(seed);
  std::vector<uint8_t> bytes(count);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random.Below(symbols) * 37);
  return bytes;
}

bool SameDefinition(const ZAV_GFXDEF& a, const ZAV_GFXDEF& b) {
  return std::memcmp(&a, &b, offsetof(ZAV_GFXDEF, blue_mask) + sizeof(a.blue_mask)) == 0;
}

ZAV_GFXDEF Definition(int32_t format, int32_t width, int32_t height, int32_t pitch, uint8_t* pixels,
                      uint8_t* palette) {
  return {pixels, palette, width, height, 0, format, pitch, 0, 0, 0, 0};
}

Picture NoisePicture(int32_t format, int32_t width, int32_t height, int32_t pitch, uint64_t seed) {
  Picture picture;
  const int32_t bytes_per_pixel = BytesPerPixel(format);
  if (pitch == 0) pitch = width * bytes_per_pixel;
  picture.pixels = NoiseBytes(static_cast<size_t>(int64_t{pitch} * height), seed);
  if (IsPalettized(format)) picture.palette = NoiseBytes(ZAV_PALETTE_BYTES, seed + 1000);
  picture.definition = Definition(format, width, height, pitch, picture.pixels.data(),
                                  IsPalettized(format) ? picture.palette.data() : nullptr);
  picture.definition.bytes_per_pixel = bytes_per_pixel;
  return picture;
}

Picture AsymmetricPicture(int32_t width, int32_t height) {
  Picture picture = NoisePicture(ZAV_FMT_BGRA32, width, height, 0, 1);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      uint8_t* pixel = picture.Row(y) + x * 4;
      const bool corner = x < (width + 3) / 4 && y < (height + 2) / 3;
      pixel[0] = static_cast<uint8_t>(x * 3 + y);
      pixel[1] = static_cast<uint8_t>(40 + x * 5 + y * 2);
      pixel[2] = static_cast<uint8_t>(corner ? 250 : 90 + y * 7);
      pixel[3] = static_cast<uint8_t>(255 - (x + 2 * y) * 255 / (width + 2 * height));
    }
  }
  return picture;
}

Picture SpritePicture(int32_t format, int32_t width, int32_t height, int32_t block, uint64_t seed) {
  Picture picture = NoisePicture(format, width, height, 0, seed);
  for (size_t i = 0; i < picture.palette.size(); i += 4) {
    picture.palette[i] = static_cast<uint8_t>(i / 4);
    picture.palette[i + 3] |= 1;
  }
  if (format == ZAV_FMT_PAL8) std::fill_n(picture.palette.begin(), 4, uint8_t{0});
  for (size_t i = 3; format == ZAV_FMT_BGRA32 && i < picture.pixels.size(); i += 4) {
    picture.pixels[i] |= 1;
  }
  Random random(seed + 1);
  const int32_t bytes = picture.definition.bytes_per_pixel;
  for (int32_t y = 0; y < height; y += block) {
    for (int32_t x = 0; x < width; x += block) {
      const uint32_t choice = random.Below(8);
      if (choice > 5 || x + y == 0) continue;  // noise
      const auto flat = static_cast<uint8_t>(choice < 3 ? 0 : choice * 50);
      for (int32_t row = y; row < std::min(y + block, height); ++row) {
        std::fill_n(picture.Row(row) + x * bytes, std::min(block, width - x) * bytes, flat);
      }
    }
  }
  return picture;
}

}  // namespace zav::test
