// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/true_color.h"

#include <array>

#include "encodings/true_color_rows.h"
#include "surface/row_walker.h"

namespace zav {
namespace {

using PixelRowOf = PixelRow TrueColorRows::*;
using PaletteRowOf = PaletteRow TrueColorRows::*;

bool Shuffle(const ZAV_CONVERTER& converter, PixelRowOf row) {
  const TrueColorTables& tables = SelectedTrueColor();
  WalkRows(Rows(converter), tables.rows.*row, tables.streaming.*row);
  return true;
}

void ShuffleInPlace(const ZAV_SURFACE& surface, PixelRowOf row) {
  ZAV_CONVERTER both{};
  both.source = both.dest = surface;
  Shuffle(both, row);
}

bool Lookup(const ZAV_CONVERTER& converter, const uint8_t* palette, PaletteRowOf row) {
  if (palette == nullptr) return false;
  const TrueColorTables& tables = SelectedTrueColor();
  const auto with_palette = [palette](PaletteRow lookup) {
    return [=](const uint8_t* source, uint8_t* dest, size_t count) {
      lookup(source, palette, dest, count);
    };
  };
  WalkRows(Rows(converter), with_palette(tables.rows.*row), with_palette(tables.streaming.*row));
  return true;
}

// Swapping 256 entries once is cheaper than swapping every pixel.
bool SwappedLookup(const ZAV_CONVERTER& converter, PaletteRowOf row) {
  if (converter.source.palette == nullptr) return false;
  std::array<uint8_t, ZAV_PALETTE_BYTES> swapped;
  SelectedTrueColor().rows.swap_red_blue_32(converter.source.palette, swapped.data(),
                                            swapped.size() / 4);
  return Lookup(converter, swapped.data(), row);
}

}  // namespace

bool Pal8ToBgra32(ZAV_CONVERTER& converter) {
  return Lookup(converter, converter.source.palette, &TrueColorRows::lookup_32);
}

bool Pal8ToRgba32(ZAV_CONVERTER& converter) {
  return SwappedLookup(converter, &TrueColorRows::lookup_32);
}

bool Pal8ToBgr24(ZAV_CONVERTER& converter) {
  return Lookup(converter, converter.source.palette, &TrueColorRows::lookup_24);
}

bool Pal8ToRgb24(ZAV_CONVERTER& converter) {
  return SwappedLookup(converter, &TrueColorRows::lookup_24);
}

bool SwapRedBlue32(ZAV_CONVERTER& converter) {
  return Shuffle(converter, &TrueColorRows::swap_red_blue_32);
}

bool Narrow32To24(ZAV_CONVERTER& converter) {
  return Shuffle(converter, &TrueColorRows::narrow_32_to_24);
}

bool Narrow32To24Swap(ZAV_CONVERTER& converter) {
  return Shuffle(converter, &TrueColorRows::narrow_32_to_24_swap);
}

bool Widen24To32(ZAV_CONVERTER& converter) {
  return Shuffle(converter, &TrueColorRows::widen_24_to_32);
}

bool Widen24To32Swap(ZAV_CONVERTER& converter) {
  return Shuffle(converter, &TrueColorRows::widen_24_to_32_swap);
}

void SwapRedBlue32(const ZAV_SURFACE& surface) {
  ShuffleInPlace(surface, &TrueColorRows::swap_red_blue_32);
}

void SwapRedBlue24(const ZAV_SURFACE& surface) {
  ShuffleInPlace(surface, &TrueColorRows::swap_red_blue_24);
}

}  // namespace zav
