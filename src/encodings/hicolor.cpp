// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/hicolor.h"

#include "base/endian.h"
#include "convert/row_walker.h"
#include "frame/trace.h"

namespace zav {
namespace {

constexpr char kRgba32Warning[] =
    "ZAV -- PERFORMANCE WARNING: Converting RGB32 Ato Hicolor is not recommended! Use BGRA32 "
    "Source instead!\n";
constexpr char k24BitWarning[] =
    "ZAV -- PERFORMANCE WARNING: Converting 24 Bit to Hicolor is not recommended! Use BGRA32 "
    "Source instead!\n";

/// The masks are 32-bit fields of which a 16-bit pixel has the low half.
uint32_t Field(uint32_t value, int32_t shift, uint32_t mask) {
  return (value << 8 >> shift) & mask & 0xFFFF;
}

uint32_t Widen(uint32_t pixel, int32_t shift, uint32_t mask) {
  return ((pixel & mask) << shift >> 8) & 255;
}

template <int kBytes, int kRed, int kBlue>
bool Narrow(ZAV_CONVERTER& converter) {
  PrepareHicolorMasks(converter.dest);
  const ZAV_SURFACE& d = converter.dest;
  WalkRows(converter, [&d](const uint8_t* source, uint8_t* dest, size_t count) {
    for (size_t i = 0; i < count; ++i, source += kBytes, dest += 2) {
      const uint32_t alpha = kBytes == 4 ? Field(source[kBytes - 1], d.alpha_shift, d.alpha_mask)
                                         : d.alpha_mask & 0xFFFF;
      StoreLe16(dest, alpha | Field(source[kRed], d.red_shift, d.red_mask) |
                          Field(source[1], d.green_shift, d.green_mask) |
                          Field(source[kBlue], d.blue_shift, d.blue_mask));
    }
  });
  return true;
}

}  // namespace

void PrepareHicolorMasks(ZAV_SURFACE& surface) {
  const FormatRow& row = Format(surface.format);
  if (surface.format != ZAV_FMT_CUSTOM16_1 && surface.format != ZAV_FMT_CUSTOM16_2) {
    surface.alpha_mask = row.alpha_mask;
    surface.red_mask = row.red_mask;
    surface.green_mask = row.green_mask;
    surface.blue_mask = row.blue_mask;
  }
  surface.alpha_shift = DeriveShift(surface.alpha_mask);
  surface.red_shift = DeriveShift(surface.red_mask);
  surface.green_shift = DeriveShift(surface.green_mask);
  surface.blue_shift = DeriveShift(surface.blue_mask);
}

int32_t DeriveShift(uint32_t mask) {
  mask &= 0xFFFF;
  if (mask == 0) return 0;
  int32_t shift = 0;
  while ((mask << shift & 0x8000) == 0) ++shift;
  return shift;
}

bool BGRA32ToHicolor(ZAV_CONVERTER& converter) { return Narrow<4, 2, 0>(converter); }

bool RGBA32ToHicolor(ZAV_CONVERTER& converter) {
  TraceHook(kRgba32Warning);
  return Narrow<4, 0, 2>(converter);
}

bool BGR24ToHicolor(ZAV_CONVERTER& converter) {
  TraceHook(k24BitWarning);
  return Narrow<3, 2, 0>(converter);
}

bool RGB24ToHicolor(ZAV_CONVERTER& converter) {
  TraceHook(k24BitWarning);
  return Narrow<3, 0, 2>(converter);
}

bool HicolorToBGRA32(ZAV_CONVERTER& converter) {
  PrepareHicolorMasks(converter.source);
  const ZAV_SURFACE& s = converter.source;
  const uint32_t alpha_mask = s.alpha_mask & 0xFFFF;
  // The bits of the alpha byte below the stored field: set where alpha is 128 or more, so that the
  // largest stored alpha is opaque.
  const uint32_t fill = 255 - Widen(alpha_mask, s.alpha_shift, alpha_mask);
  WalkRows(converter, [&s, alpha_mask, fill](const uint8_t* source, uint8_t* dest, size_t count) {
    for (size_t i = 0; i < count; ++i, source += 2, dest += 4) {
      const uint32_t pixel = LoadLe16(source);
      uint32_t alpha = 255;
      if (alpha_mask != 0) {
        alpha = Widen(pixel, s.alpha_shift, alpha_mask);
        if (alpha >= 128) alpha |= fill;
      }
      dest[0] = static_cast<uint8_t>(Widen(pixel, s.blue_shift, s.blue_mask));
      dest[1] = static_cast<uint8_t>(Widen(pixel, s.green_shift, s.green_mask));
      dest[2] = static_cast<uint8_t>(Widen(pixel, s.red_shift, s.red_mask));
      dest[3] = static_cast<uint8_t>(alpha);
    }
  });
  return true;
}

}  // namespace zav
