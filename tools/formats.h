// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_FORMATS_H_
#define ZAV_TOOLS_FORMATS_H_

#include <zav.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace zav::tool {

/// Of JPEG files and layers.
constexpr int kDefaultQuality = 90;

struct PixelFormat {
  int32_t code;  // ZAV_FMT_*
  std::string_view name;
  int bits;  // per pixel; DXT: on average
  bool alpha;
  std::string_view layout;  // in memory, for --help
};

std::span<const PixelFormat> PixelFormats();

/// `code` must be one of the library's.
const PixelFormat& FormatOf(int32_t code);

/// An unknown name is a usage error that lists the known ones.
const PixelFormat& FormatNamed(const std::string& name);

constexpr bool IsPalettized(int32_t code) { return code == ZAV_FMT_PAL8 || code == ZAV_FMT_PAL4; }
constexpr bool IsHicolor(int32_t code) {
  return code >= ZAV_FMT_RGB565 && code <= ZAV_FMT_CUSTOM16_2;
}
constexpr bool IsCustom(int32_t code) {
  return code == ZAV_FMT_CUSTOM16_1 || code == ZAV_FMT_CUSTOM16_2;
}
constexpr bool IsDxt(int32_t code) { return code >= ZAV_FMT_DXT1 && code <= ZAV_FMT_DXT5; }

/// Formats that are only copied: nothing converts to or from them.
constexpr bool IsCopyOnly(int32_t code) {
  return code == ZAV_FMT_PAL4 || code == ZAV_FMT_DXT2 || code == ZAV_FMT_DXT4;
}

/// Whether pixels of this definition can be transparent.
bool HasAlpha(const ZAV_GFXDEF& definition);

/// Bytes of a row without padding. DXT blocks have no rows: the bytes of a row on average.
int64_t RowBytes(const ZAV_GFXDEF& definition);

/// Bytes from the first pixel of the picture to the end of its last row.
int64_t PictureBytes(const ZAV_GFXDEF& definition);

/// The table of formats that --help shows.
std::string FormatHelp();

}  // namespace zav::tool

#endif  // ZAV_TOOLS_FORMATS_H_
