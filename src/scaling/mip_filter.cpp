// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "scaling/mip_filter.h"

namespace zav {
namespace {

/// Half the sum of two pixels, each without its two lowest bits.
void FilterPair(const uint8_t* first, const uint8_t* second, uint8_t* dest) {
  for (size_t c = 0; c < 4; ++c) {
    dest[c] = static_cast<uint8_t>(((first[c] & 0xFC) >> 1) + ((second[c] & 0xFC) >> 1));
  }
}

void FilterSingleRow(const ZAV_SURFACE& source, const ZAV_SURFACE& dest) {
  const uint8_t* pixel = source.pixels;
  if (source.width == 1) {
    // No pixel to the right: the one below, or the pixel itself.
    FilterPair(pixel, source.height > 1 ? pixel + source.pitch : pixel, dest.pixels);
    return;
  }
  for (int32_t x = 0; x < dest.width; ++x, pixel += 8) {
    FilterPair(pixel, pixel + 4, dest.pixels + int64_t{x} * 4);
  }
}

void FilterSingleColumn(const ZAV_SURFACE& source, const ZAV_SURFACE& dest) {
  const int64_t pitch = source.pitch;
  for (int64_t y = 0; y < dest.height; ++y) {
    const uint8_t* pixel = source.pixels + 2 * y * pitch;
    FilterPair(pixel, pixel + pitch, dest.pixels + y * dest.pitch);
  }
}

}  // namespace

void FilterMipLevel(const ZAV_SURFACE& source, const ZAV_SURFACE& dest) {
  if (dest.height == 1) return FilterSingleRow(source, dest);
  if (dest.width == 1) return FilterSingleColumn(source, dest);
  const MipRow row = SelectedMipFilter().weighted;
  const int64_t pitch = source.pitch;
  for (int64_t y = 0; y < dest.height; ++y) {
    const uint8_t* upper = source.pixels + 2 * y * pitch;
    row(upper, upper + pitch, dest.pixels + y * dest.pitch, static_cast<size_t>(dest.width));
  }
}

}  // namespace zav
