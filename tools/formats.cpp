// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "formats.h"

#include <fmt/core.h>

#include <stdexcept>

#include "error.h"

namespace zav::tool {
namespace {

constexpr PixelFormat kFormats[] = {
    {ZAV_FMT_PAL8, "pal8", 8, false, "index into 256 colors (palette: bytes B G R A)"},
    {ZAV_FMT_PAL4, "pal4", 4, false, "two indices to a byte; copied, never converted"},
    {ZAV_FMT_RGBA32, "rgba32", 32, true, "bytes R G B A"},
    {ZAV_FMT_BGRA32, "bgra32", 32, true, "bytes B G R A"},
    {ZAV_FMT_RGB24, "rgb24", 24, false, "bytes R G B"},
    {ZAV_FMT_BGR24, "bgr24", 24, false, "bytes B G R"},
    {ZAV_FMT_RGB565, "rgb565", 16, false, "word RRRRRGGG GGGBBBBB, low byte first"},
    {ZAV_FMT_RGB555, "rgb555", 16, false, "word -RRRRRGG GGGBBBBB, low byte first"},
    {ZAV_FMT_ARGB4444, "argb4444", 16, true, "word AAAARRRR GGGGBBBB, low byte first"},
    {ZAV_FMT_ARGB1555, "argb1555", 16, true, "word ARRRRRGG GGGBBBBB, low byte first"},
    {ZAV_FMT_CUSTOM16_1, "custom16_1", 16, false, "word laid out by --masks, low byte first"},
    {ZAV_FMT_CUSTOM16_2, "custom16_2", 16, false, "the same"},
    {ZAV_FMT_DXT1, "dxt1", 4, true, "8-byte blocks of 4 x 4 pixels, 1-bit alpha"},
    {ZAV_FMT_DXT2, "dxt2", 8, true, "dxt3 of colors multiplied by alpha; copied, never converted"},
    {ZAV_FMT_DXT3, "dxt3", 8, true, "16-byte blocks of 4 x 4 pixels, 4-bit alpha"},
    {ZAV_FMT_DXT4, "dxt4", 8, true, "dxt5 of colors multiplied by alpha; copied, never converted"},
    {ZAV_FMT_DXT5, "dxt5", 8, true, "16-byte blocks of 4 x 4 pixels, interpolated alpha"},
};

}  // namespace

std::span<const PixelFormat> PixelFormats() { return kFormats; }

const PixelFormat& FormatOf(int32_t code) {
  for (const PixelFormat& format : kFormats) {
    if (format.code == code) return format;
  }
  throw std::logic_error(fmt::format("pixel format code {}", code));
}

const PixelFormat& FormatNamed(const std::string& name) {
  std::string known;
  for (const PixelFormat& format : kFormats) {
    if (format.name == name) return format;
    AddName(known, format.name, " ");
  }
  throw UsageError(fmt::format("'{}' is not a pixel format; the formats are {}", name, known));
}

bool HasAlpha(const ZAV_GFXDEF& definition) {
  if (IsCustom(definition.format)) return definition.alpha_mask != 0;
  return FormatOf(definition.format).alpha;
}

int64_t RowBytes(const ZAV_GFXDEF& definition) {
  return int64_t{definition.width} * FormatOf(definition.format).bits / 8;
}

int64_t PictureBytes(const ZAV_GFXDEF& definition) {
  if (IsDxt(definition.format)) return definition.pitch;
  return int64_t{definition.pitch} * definition.height;
}

std::string FormatHelp() {
  std::string text = "Pixel formats: name, bits, layout in memory\n";
  for (const PixelFormat& format : kFormats) {
    text += fmt::format("  {:<11} {:>2}  {}\n", format.name, format.bits, format.layout);
  }
  return text;
}

}  // namespace zav::tool
