// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "codecs/jpeg_color.h"

#include "base/endian.h"

namespace zav {
namespace {

/// Stores a pixel, given as a word with red in its lowest byte, in the order.
template <JpegOrder kOrder>
void StorePixel(uint8_t* out, uint32_t pixel) {
  if constexpr (kOrder == JpegOrder::kBgra || kOrder == JpegOrder::kBgr) {
    pixel = (pixel & 0xFF00FF00) | (pixel >> 16 & 0xFF) | (pixel & 0xFF) << 16;
  }
  if constexpr (JpegPixelBytes(kOrder) == 4) {
    StoreLe32(out, pixel);
  } else {
    StoreLe16(out, pixel);
    out[2] = static_cast<uint8_t>(pixel >> 16);
  }
}

template <JpegOrder kOrder, typename Convert>
void ConvertRow(uint8_t* out, const uint8_t* in, int32_t width, Convert convert) {
  for (int64_t x = 0; x < width; ++x) {
    StorePixel<kOrder>(out + x * JpegPixelBytes(kOrder), convert(LoadLe32(in + x * 4)));
  }
}

template <typename Convert>
void ConvertRow(uint8_t* out, const uint8_t* in, int32_t width, JpegOrder order, Convert convert) {
  switch (order) {
    case JpegOrder::kRgb:
      return ConvertRow<JpegOrder::kRgb>(out, in, width, convert);
    case JpegOrder::kBgr:
      return ConvertRow<JpegOrder::kBgr>(out, in, width, convert);
    case JpegOrder::kRgba:
      return ConvertRow<JpegOrder::kRgba>(out, in, width, convert);
    case JpegOrder::kBgra:
      return ConvertRow<JpegOrder::kBgra>(out, in, width, convert);
  }
}

uint32_t Opposite(uint32_t pixel) { return pixel ^ 0x00FFFFFF; }

/// 255 means no ink; black darkens the other three.
uint32_t Print(uint32_t inks) {
  const uint32_t black = inks >> 24;
  uint32_t pixel = 0xFF000000;
  for (int shift = 0; shift < 24; shift += 8) {
    pixel |= ((inks >> shift & 0xFF) * black + 127) / 255 << shift;
  }
  return pixel;
}

}  // namespace

void TurnToOpposites(uint8_t* out, const uint8_t* in, int32_t width, JpegOrder order) {
  ConvertRow(out, in, width, order, [](uint32_t pixel) { return Opposite(pixel); });
}

void InksToPixels(uint8_t* out, const uint8_t* in, int32_t width, JpegOrder order) {
  ConvertRow(out, in, width, order, Print);
}

}  // namespace zav
