// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "platform/jpeg_color.h"

#include <algorithm>

namespace zav {
namespace {

constexpr int32_t kHalf = 1 << 15;

constexpr int32_t Fixed(double factor) { return static_cast<int32_t>(factor * 65536 + 0.5); }

uint8_t Clamp(int32_t value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); }

struct Rgba {
  uint8_t red, green, blue, alpha;
};

Rgba PixelOfYcc(const uint8_t* in) {
  const int32_t y = in[0];
  const int32_t cb = in[1] - 128;
  const int32_t cr = in[2] - 128;
  return {Clamp(y + ((Fixed(1.40200) * cr + kHalf) >> 16)),
          Clamp(y + ((-Fixed(0.34414) * cb - Fixed(0.71414) * cr + kHalf) >> 16)),
          Clamp(y + ((Fixed(1.77200) * cb + kHalf) >> 16)), in[3]};
}

Rgba PixelOfInks(const uint8_t* in) {
  const auto mix = [&](int32_t ink) {
    return static_cast<uint8_t>((ink * in[3] + 127) / 255);  // both 255 where nothing is printed
  };
  return {mix(in[0]), mix(in[1]), mix(in[2]), 255};
}

template <int32_t kRed, int32_t kBytes, typename Read>
void ConvertRow(uint8_t* out, const uint8_t* in, int32_t width, Read&& read) {
  for (int32_t x = 0; x < width; ++x, in += 4, out += kBytes) {
    const Rgba pixel = read(in);
    out[kRed] = pixel.red;
    out[1] = pixel.green;
    out[2 - kRed] = pixel.blue;
    if constexpr (kBytes == 4) out[3] = pixel.alpha;
  }
}

template <typename Read>
void ConvertRow(uint8_t* out, const uint8_t* in, int32_t width, JpegOrder order, Read&& read) {
  switch (order) {
    case JpegOrder::kRgb:
      return ConvertRow<0, 3>(out, in, width, read);
    case JpegOrder::kBgr:
      return ConvertRow<2, 3>(out, in, width, read);
    case JpegOrder::kRgba:
      return ConvertRow<0, 4>(out, in, width, read);
    case JpegOrder::kBgra:
      return ConvertRow<2, 4>(out, in, width, read);
  }
}

template <int32_t kRed>
void RgbRowToYcc(uint8_t* out, const uint8_t* in, int32_t width) {
  // Half less a bit: a chroma of 255.5 would round to 256.
  constexpr int32_t kCenter = (128 << 16) + kHalf - 1;
  for (int32_t x = 0; x < width; ++x, in += 4, out += 4) {
    const int32_t r = in[kRed];
    const int32_t g = in[1];
    const int32_t b = in[2 - kRed];
    out[0] = static_cast<uint8_t>(
        (Fixed(0.29900) * r + Fixed(0.58700) * g + Fixed(0.11400) * b + kHalf) >> 16);
    out[1] = static_cast<uint8_t>(
        (-Fixed(0.16874) * r - Fixed(0.33126) * g + Fixed(0.50000) * b + kCenter) >> 16);
    out[2] = static_cast<uint8_t>(
        (Fixed(0.50000) * r - Fixed(0.41869) * g - Fixed(0.08131) * b + kCenter) >> 16);
    out[3] = in[3];
  }
}

}  // namespace

void YccToRgb(uint8_t* out, const uint8_t* in, int32_t width, JpegOrder order) {
  ConvertRow(out, in, width, order, PixelOfYcc);
}

void InksToRgb(uint8_t* out, const uint8_t* in, int32_t width, JpegOrder order) {
  ConvertRow(out, in, width, order, PixelOfInks);
}

void RgbToYcc(uint8_t* out, const uint8_t* in, int32_t width, JpegOrder order) {
  if (order == JpegOrder::kRgba) {
    RgbRowToYcc<0>(out, in, width);
  } else {
    RgbRowToYcc<2>(out, in, width);
  }
}

}  // namespace zav
