// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/true_color.h"

#include <array>

#include "convert/row_walker.h"
#include "convert/true_color_rows.h"

namespace zav {
namespace {

bool Shuffle(const ZAV_CONVERTER& converter, PixelRow row) {
  WalkRows(converter, row);
  return true;
}

bool Lookup(const ZAV_CONVERTER& converter, const uint8_t* palette, PaletteRow row) {
  if (palette == nullptr) return false;
  WalkRows(converter, [=](const uint8_t* source, uint8_t* dest, size_t count) {
    row(source, palette, dest, count);
  });
  return true;
}

// Swapping 256 entries once is cheaper than swapping every pixel.
bool SwappedLookup(const ZAV_CONVERTER& converter, PaletteRow row) {
  if (converter.source.palette == nullptr) return false;
  std::array<uint8_t, ZAV_PALETTE_BYTES> swapped;
  SelectedTrueColorRows().swap_red_blue_32(converter.source.palette, swapped.data(),
                                           swapped.size() / 4);
  return Lookup(converter, swapped.data(), row);
}

void ShuffleRectangle(const uint8_t* source, uint8_t* dest, int32_t width, int32_t height,
                      int32_t source_pitch, int32_t dest_pitch, PixelRow row) {
  if (width < 1) return;
  for (int32_t y = 0; y < height; ++y, source += source_pitch, dest += dest_pitch) {
    row(source, dest, static_cast<size_t>(width));
  }
}

}  // namespace

bool Pal8ToBgra32(ZAV_CONVERTER& converter) {
  return Lookup(converter, converter.source.palette, SelectedTrueColorRows().lookup_32);
}

bool Pal8ToRgba32(ZAV_CONVERTER& converter) {
  return SwappedLookup(converter, SelectedTrueColorRows().lookup_32);
}

bool Pal8ToBgr24(ZAV_CONVERTER& converter) {
  return Lookup(converter, converter.source.palette, SelectedTrueColorRows().lookup_24);
}

bool Pal8ToRgb24(ZAV_CONVERTER& converter) {
  return SwappedLookup(converter, SelectedTrueColorRows().lookup_24);
}

bool SwapRedBlue32(ZAV_CONVERTER& converter) {
  return Shuffle(converter, SelectedTrueColorRows().swap_red_blue_32);
}

bool Narrow32To24(ZAV_CONVERTER& converter) {
  return Shuffle(converter, SelectedTrueColorRows().narrow_32_to_24);
}

bool Narrow32To24Swap(ZAV_CONVERTER& converter) {
  return Shuffle(converter, SelectedTrueColorRows().narrow_32_to_24_swap);
}

bool Widen24To32(ZAV_CONVERTER& converter) {
  return Shuffle(converter, SelectedTrueColorRows().widen_24_to_32);
}

bool Widen24To32Swap(ZAV_CONVERTER& converter) {
  return Shuffle(converter, SelectedTrueColorRows().widen_24_to_32_swap);
}

void SwapRedBlue32(const uint8_t* source, uint8_t* dest, int32_t width, int32_t height,
                   int32_t source_pitch, int32_t dest_pitch) {
  ShuffleRectangle(source, dest, width, height, source_pitch, dest_pitch,
                   SelectedTrueColorRows().swap_red_blue_32);
}

void SwapRedBlue24(const uint8_t* source, uint8_t* dest, int32_t width, int32_t height,
                   int32_t source_pitch, int32_t dest_pitch) {
  ShuffleRectangle(source, dest, width, height, source_pitch, dest_pitch,
                   SelectedTrueColorRows().swap_red_blue_24);
}

}  // namespace zav
