// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "support/reference.h"

namespace zav::test {
namespace {

bool RedFirst(int format) { return format == ZAV_FMT_RGBA32 || format == ZAV_FMT_RGB24; }

/// The mask's highest bit, which takes the channel's highest.
uint32_t HighestBit(uint32_t mask) {
  uint32_t bit = 15;
  while (bit > 0 && (mask >> bit & 1) == 0) --bit;
  return mask == 0 ? 15 : bit;
}

uint32_t Field(uint32_t value, uint32_t mask) {
  return (value << 8 >> (15 - HighestBit(mask))) & mask;
}

uint32_t Unfield(uint32_t word, uint32_t mask) {
  return ((word & mask) << (15 - HighestBit(mask)) >> 8) & 255;
}

Bgra DecodeWord(uint32_t word, const std::array<uint32_t, 4>& masks) {
  uint32_t alpha = 255;
  if (masks[0] != 0) {
    alpha = Unfield(word, masks[0]);
    if (alpha >= 128) alpha |= 255 - Unfield(masks[0], masks[0]);
  }
  return {Unfield(word, masks[3]), Unfield(word, masks[2]), Unfield(word, masks[1]), alpha};
}

uint32_t Mix(uint32_t p, uint32_t q, int64_t fraction) {
  return static_cast<uint32_t>(p + ((int64_t{q} - int64_t{p}) * fraction >> 16));
}

Bgra Mix(const Bgra& p, const Bgra& q, int64_t fraction) {
  return {Mix(p.blue, q.blue, fraction), Mix(p.green, q.green, fraction),
          Mix(p.red, q.red, fraction), Mix(p.alpha, q.alpha, fraction)};
}

}  // namespace

int ReferenceBytes(int format) {
  constexpr int kBytes[] = {0, 1, 0, 4, 4, 3, 3, 2, 2, 2, 2, 2, 2};
  return format >= 1 && format <= 12 ? kBytes[format] : 0;
}

std::array<uint32_t, 4> ReferenceMasks(const ZAV_GFXDEF& definition) {
  switch (definition.format) {
    case ZAV_FMT_RGB565:
      return {0, 0xF800, 0x07E0, 0x001F};
    case ZAV_FMT_RGB555:
      return {0, 0x7C00, 0x03E0, 0x001F};
    case ZAV_FMT_ARGB4444:
      return {0xF000, 0x0F00, 0x00F0, 0x000F};
    case ZAV_FMT_ARGB1555:
      return {0x8000, 0x7C00, 0x03E0, 0x001F};
    default:
      return {definition.alpha_mask & 0xFFFF, definition.red_mask & 0xFFFF,
              definition.green_mask & 0xFFFF, definition.blue_mask & 0xFFFF};
  }
}

BgraPicture ReferenceDecode(const ZAV_GFXDEF& definition) {
  BgraPicture picture;
  const std::array<uint32_t, 4> masks = ReferenceMasks(definition);
  for (int y = 0; y < definition.height; ++y) {
    const uint8_t* p = definition.pixels + int64_t{y} * definition.pitch;
    for (int x = 0; x < definition.width; ++x, p += ReferenceBytes(definition.format)) {
      if (ReferenceBytes(definition.format) == 2) {
        picture.push_back(DecodeWord(p[0] + 256u * p[1], masks));
        continue;
      }
      const uint8_t* from = definition.format == ZAV_FMT_PAL8 ? definition.palette + 4 * *p : p;
      const uint32_t alpha = ReferenceBytes(definition.format) == 3 ? 255 : from[3];
      const int red = RedFirst(definition.format) ? 0 : 2;
      picture.push_back({from[2 - red], from[1], from[red], alpha});
    }
  }
  return picture;
}

uint32_t ReferenceEncode(const Bgra& pixel, int format, const std::array<uint32_t, 4>& masks) {
  const auto [b, g, r, a] = pixel;
  if (ReferenceBytes(format) == 2) {
    return Field(a, masks[0]) | Field(r, masks[1]) | Field(g, masks[2]) | Field(b, masks[3]);
  }
  const uint32_t colors = RedFirst(format) ? r | g << 8 | b << 16 : b | g << 8 | r << 16;
  return ReferenceBytes(format) == 4 ? colors | a << 24 : colors;
}

BgraPicture ReferenceScale(const BgraPicture& source, int width, int height, int new_width,
                           int new_height, bool filter) {
  const int64_t span_x = filter ? width - 1 : width;
  const int64_t span_y = filter ? height - 1 : height;
  const int64_t step_x = span_x * 65536 / new_width;
  const int64_t step_y = span_y * 65536 / new_height;
  BgraPicture scaled;
  for (int64_t j = 0; j < new_height; ++j) {
    for (int64_t i = 0; i < new_width; ++i) {
      const int64_t x = i * step_x;
      const int64_t y = j * step_y;
      const auto at = [&](int64_t column, int64_t row) {
        return source[static_cast<size_t>((y / 65536 + row) * width + x / 65536 + column)];
      };
      Bgra pixel = at(0, 0);
      if (filter) {
        if (x % 65536 != 0) pixel = Mix(pixel, at(1, 0), x % 65536);
        if (y % 65536 != 0) {
          Bgra below = at(0, 1);
          if (x % 65536 != 0) below = Mix(below, at(1, 1), x % 65536);
          pixel = Mix(pixel, below, y % 65536);
        }
      }
      scaled.push_back(pixel);
    }
  }
  return scaled;
}

}  // namespace zav::test
