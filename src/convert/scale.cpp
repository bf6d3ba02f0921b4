// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/scale.h"

#include <cstring>

#include "convert/format_table.h"

namespace zav {
namespace {

bool CanScale(const ZAV_SURFACE& source, const ZAV_SURFACE& dest) {
  return source.bytes_per_pixel == dest.bytes_per_pixel && source.format == dest.format &&
         source.pixels != nullptr && dest.pixels != nullptr && source.width >= 1 &&
         source.height >= 1 && dest.width >= 1 && dest.height >= 1;
}

uint8_t Blend(uint8_t p, uint8_t q, int64_t fraction) {
  return static_cast<uint8_t>(p + (((q - p) * fraction) >> 16));
}

}  // namespace

void ResamplePoint(const ZAV_SURFACE& source, const ZAV_SURFACE& dest) {
  if (!CanScale(source, dest) || source.bytes_per_pixel < 1) return;
  const auto bytes = static_cast<size_t>(source.bytes_per_pixel);
  const int64_t step_x = (int64_t{source.width} << 16) / dest.width;
  const int64_t step_y = (int64_t{source.height} << 16) / dest.height;
  for (int64_t j = 0; j < dest.height; ++j) {
    const uint8_t* from = source.pixels + ((j * step_y) >> 16) * source.pitch;
    uint8_t* to = dest.pixels + j * dest.pitch;
    for (int64_t i = 0; i < dest.width; ++i) {
      std::memcpy(to + static_cast<size_t>(i) * bytes,
                  from + static_cast<size_t>((i * step_x) >> 16) * bytes, bytes);
    }
  }
}

void ResampleBilinear(const ZAV_SURFACE& source, const ZAV_SURFACE& dest) {
  if (!CanScale(source, dest) || source.bytes_per_pixel < 3) return;
  const int64_t bytes = source.bytes_per_pixel;
  const int64_t step_x = ((int64_t{source.width} - 1) << 16) / dest.width;
  const int64_t step_y = ((int64_t{source.height} - 1) << 16) / dest.height;
  for (int64_t j = 0; j < dest.height; ++j) {
    const uint8_t* a = source.pixels + ((j * step_y) >> 16) * source.pitch;
    const int64_t fraction_y = (j * step_y) & 0xFFFF;
    uint8_t* to = dest.pixels + j * dest.pitch;
    for (int64_t i = 0; i < dest.width; ++i) {
      const int64_t fraction_x = (i * step_x) & 0xFFFF;
      const uint8_t* p = a + ((i * step_x) >> 16) * bytes;
      for (int64_t k = 0; k < bytes; ++k, ++p, ++to) {
        uint8_t top = *p;
        if (fraction_x != 0) top = Blend(top, p[bytes], fraction_x);
        if (fraction_y != 0) {
          const uint8_t* q = p + source.pitch;
          uint8_t bottom = *q;
          if (fraction_x != 0) bottom = Blend(bottom, q[bytes], fraction_x);
          top = Blend(top, bottom, fraction_y);
        }
        *to = top;
      }
    }
  }
}

}  // namespace zav
