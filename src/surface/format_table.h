// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "zav.h"

namespace zav {

/// A pixel format: everything that depends on the code alone.
struct FormatRow {
  enum class Family : uint8_t { kNone, kPalettized, kTrueColor, kHicolor, kDxt };

  int32_t code;
  Family family;
  uint8_t bytes_per_pixel;  ///< 0 for DXT
  uint8_t bytes_per_block;  ///< DXT: bytes of a 4 x 4 block; 0 where nothing is encoded
  uint16_t alpha_mask, red_mask, green_mask, blue_mask;  ///< fixed 16-bit layouts
};

inline constexpr std::array<FormatRow, 18> kFormats = {{
    // clang-format off
    {0,                  FormatRow::Family::kNone,       0, 0, 0, 0, 0, 0},
    {ZAV_FMT_PAL8,       FormatRow::Family::kPalettized, 1, 0, 0, 0, 0, 0},
    {ZAV_FMT_PAL4,       FormatRow::Family::kPalettized, 1, 0, 0, 0, 0, 0},
    {ZAV_FMT_RGBA32,     FormatRow::Family::kTrueColor,  4, 0, 0, 0, 0, 0},
    {ZAV_FMT_BGRA32,     FormatRow::Family::kTrueColor,  4, 0, 0, 0, 0, 0},
    {ZAV_FMT_RGB24,      FormatRow::Family::kTrueColor,  3, 0, 0, 0, 0, 0},
    {ZAV_FMT_BGR24,      FormatRow::Family::kTrueColor,  3, 0, 0, 0, 0, 0},
    {ZAV_FMT_RGB565,     FormatRow::Family::kHicolor,    2, 0, 0x0000, 0xF800, 0x07E0, 0x001F},
    {ZAV_FMT_RGB555,     FormatRow::Family::kHicolor,    2, 0, 0x0000, 0x7C00, 0x03E0, 0x001F},
    {ZAV_FMT_ARGB4444,   FormatRow::Family::kHicolor,    2, 0, 0xF000, 0x0F00, 0x00F0, 0x000F},
    {ZAV_FMT_ARGB1555,   FormatRow::Family::kHicolor,    2, 0, 0x8000, 0x7C00, 0x03E0, 0x001F},
    {ZAV_FMT_CUSTOM16_1, FormatRow::Family::kHicolor,    2, 0, 0, 0, 0, 0},
    {ZAV_FMT_CUSTOM16_2, FormatRow::Family::kHicolor,    2, 0, 0, 0, 0, 0},
    {ZAV_FMT_DXT1,       FormatRow::Family::kDxt,        0, 8, 0, 0, 0, 0},
    {ZAV_FMT_DXT2,       FormatRow::Family::kDxt,        0, 0, 0, 0, 0, 0},
    {ZAV_FMT_DXT3,       FormatRow::Family::kDxt,        0, 16, 0, 0, 0, 0},
    {ZAV_FMT_DXT4,       FormatRow::Family::kDxt,        0, 0, 0, 0, 0, 0},
    {ZAV_FMT_DXT5,       FormatRow::Family::kDxt,        0, 16, 0, 0, 0, 0},
    // clang-format on
}};

constexpr bool RowsAreIndexedByCode() {
  for (size_t i = 0; i < kFormats.size(); ++i) {
    if (kFormats[i].code != static_cast<int32_t>(i)) return false;
  }
  return true;
}
static_assert(RowsAreIndexedByCode(), "the table is indexed by the code");

constexpr bool IsFormat(int32_t format) { return format >= ZAV_FMT_PAL8 && format <= ZAV_FMT_DXT5; }

/// The format's row; the empty row for other codes.
constexpr const FormatRow& Format(int32_t format) {
  return kFormats[IsFormat(format) ? static_cast<size_t>(format) : 0];
}

constexpr int32_t BytesPerPixel(int32_t format) { return Format(format).bytes_per_pixel; }
constexpr bool IsPalettized(int32_t format) {
  return Format(format).family == FormatRow::Family::kPalettized;
}
constexpr bool IsDxt(int32_t format) { return Format(format).family == FormatRow::Family::kDxt; }

/// The smallest pitch that the library gives a picture; for DXT the bytes of the whole image. In 64
/// bits, because sides come from files and hosts.
constexpr int64_t MinPitch(int64_t width, int64_t height, int32_t format) {
  const FormatRow& row = Format(format);
  switch (row.family) {
    case FormatRow::Family::kPalettized:
      if (format == ZAV_FMT_PAL4) return (width / 2 + 1) & ~int64_t{1};
      return (width + 3) & ~int64_t{3};
    case FormatRow::Family::kTrueColor:
    case FormatRow::Family::kHicolor:
      return (width * row.bytes_per_pixel + 3) & ~int64_t{3};
    case FormatRow::Family::kDxt:
      // 16 pixels to a block, as a truncated quotient: sides need not be multiples of 4 here.
      // Divided before anything is multiplied further: sides of 2^31 have a product of 2^62.
      return row.bytes_per_block == 0 ? 0 : width * height / (16 / row.bytes_per_block);
    case FormatRow::Family::kNone:
      break;
  }
  return 0;
}

}  // namespace zav
