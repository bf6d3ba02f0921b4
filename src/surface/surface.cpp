// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "surface/surface.h"

#include <cstring>

#include "base/checked.h"
#include "base/heap.h"

namespace zav {
namespace {

/// Rows are written only up to their last pixel, and padding must not show old heap contents.
void ClearRowPadding(ZAV_SURFACE& surface) {
  const int64_t row_bytes = int64_t{surface.width} * surface.bytes_per_pixel;
  if (row_bytes < 1 || row_bytes >= surface.pitch) return;
  const auto padding = static_cast<size_t>(surface.pitch - row_bytes);
  uint8_t* row = surface.pixels;
  for (int32_t y = 0; y < surface.height; ++y, row += surface.pitch) {
    std::memset(row + row_bytes, 0, padding);
  }
}

bool AllocatePixels(ZAV_SURFACE& surface) {
  if (!OwnPixels(surface, AllocateBytes(ImageBytes(surface)))) return false;
  ClearRowPadding(surface);
  return true;
}

bool AllocatePalette(ZAV_SURFACE& surface) {
  return OwnPalette(surface, AllocateZeroed(ZAV_PALETTE_BYTES));
}

}  // namespace

bool OwnPixels(ZAV_SURFACE& surface, uint8_t* pixels) {
  if (pixels == nullptr) return false;
  surface.pixels = pixels;
  surface.flags |= ZAV_SURF_OWNS_PIXELS;
  return true;
}

bool OwnPalette(ZAV_SURFACE& surface, uint8_t* palette) {
  if (palette == nullptr) return false;
  surface.palette = palette;
  surface.flags |= ZAV_SURF_OWNS_PALETTE;
  return true;
}

bool DisownPixels(ZAV_SURFACE& surface) {
  const bool owned = surface.owns_pixels();
  surface.flags &= ~ZAV_SURF_OWNS_PIXELS;
  return owned;
}

bool DisownPalette(ZAV_SURFACE& surface) {
  const bool owned = surface.owns_palette();
  surface.flags &= ~ZAV_SURF_OWNS_PALETTE;
  return owned;
}

int64_t ImageBytes(const ZAV_GFXDEF& definition) {
  const FormatRow& row = Format(definition.format);
  if (row.family != FormatRow::Family::kDxt) return int64_t{definition.pitch} * definition.height;
  return row.bytes_per_block != 0 ? definition.pitch : 0;
}

bool SetDefinition(ZAV_SURFACE& surface, int64_t width, int64_t height, int32_t format) {
  if (width < 1 || height < 1 || width > kMaxBytes || height > kMaxBytes) return false;
  const int64_t pitch = MinPitch(width, height, format);
  if (pitch > kMaxBytes || (!IsDxt(format) && pitch * height > kMaxBytes)) return false;
  surface.width = static_cast<int32_t>(width);
  surface.height = static_cast<int32_t>(height);
  surface.format = format;
  surface.bytes_per_pixel = BytesPerPixel(format);
  surface.pitch = static_cast<int32_t>(pitch);
  return true;
}

void ReportDefinition(ZAV_GFXDEF& out, const ZAV_GFXDEF& found) {
  out.width = found.width;
  out.height = found.height;
  out.format = found.format;
  out.bytes_per_pixel = found.bytes_per_pixel;
  out.pitch = found.pitch;
}

bool AllocSurface(ZAV_SURFACE& surface, int64_t width, int64_t height, int32_t format) {
  if (!SetDefinition(surface, width, height, format)) return false;
  if (surface.pixels == nullptr && !AllocatePixels(surface)) return false;
  if (IsPalettized(format) && surface.palette == nullptr) return AllocatePalette(surface);
  return true;
}

bool AllocClearedSurface(ZAV_SURFACE& surface, int64_t width, int64_t height, int32_t format) {
  if (!SetDefinition(surface, width, height, format)) return false;
  if (surface.pixels == nullptr && !OwnPixels(surface, AllocateZeroed(ImageBytes(surface)))) {
    return false;
  }
  return AllocSurface(surface, width, height, format);
}

bool CheckSource(ZAV_CONVERTER& converter) {
  ZAV_SURFACE& source = converter.source;
  if (IsFormat(source.format) && source.bytes_per_pixel == 0) {
    source.bytes_per_pixel = BytesPerPixel(source.format);
  }
  const int64_t row_bytes = int64_t{source.bytes_per_pixel} * source.width;
  if (source.pitch == 0 && row_bytes >= 0 && row_bytes <= kMaxBytes) {
    source.pitch = static_cast<int32_t>(row_bytes);
  }
  return source.pixels != nullptr && source.width >= 1 && source.height >= 1 &&
         IsFormat(source.format) && source.bytes_per_pixel == BytesPerPixel(source.format) &&
         source.pitch >= row_bytes &&
         int64_t{source.pitch} * source.height <= (IsDxt(source.format) ? INT64_MAX : kMaxBytes);
}

bool PrepareDest(ZAV_CONVERTER& converter) {
  ZAV_SURFACE& dest = converter.dest;
  if (!IsFormat(dest.format)) return false;
  if (dest.pixels == nullptr) {
    const int64_t min_pitch = MinPitch(dest.width, dest.height, dest.format);
    if (min_pitch > kMaxBytes) return false;
    dest.bytes_per_pixel = BytesPerPixel(dest.format);
    if (dest.pitch < min_pitch) dest.pitch = static_cast<int32_t>(min_pitch);
    if (!AllocatePixels(dest)) return false;
  }
  return PrepareDestPalette(converter);
}

bool PrepareDestPalette(ZAV_CONVERTER& converter) {
  ZAV_SURFACE& dest = converter.dest;
  if (!IsPalettized(dest.format) || dest.palette != nullptr) return true;
  if (!AllocatePalette(dest)) return false;
  if (converter.source.palette != nullptr) {
    std::memcpy(dest.palette, converter.source.palette, ZAV_PALETTE_BYTES);
  }
  return true;
}

void ReleaseSurface(ZAV_SURFACE& surface) {
  if (DisownPixels(surface)) {
    FreeBytes(surface.pixels);
    surface.pixels = nullptr;
  }
  if (DisownPalette(surface)) {
    FreeBytes(surface.palette);
    surface.palette = nullptr;
  }
}

void ReleaseSurfaces(ZAV_CONVERTER& converter, bool source, bool dest) {
  if (source) ReleaseSurface(converter.source);
  if (dest) ReleaseSurface(converter.dest);
}

void RestoreSurface(ZAV_SURFACE& surface, const ZAV_SURFACE& found) {
  uint32_t released = 0;
  if (surface.owns_pixels() && surface.pixels != found.pixels) {
    FreeBytes(surface.pixels);
    released |= ZAV_SURF_OWNS_PIXELS;
  }
  if (surface.owns_palette() && surface.palette != found.palette) {
    FreeBytes(surface.palette);
    released |= ZAV_SURF_OWNS_PALETTE;
  }
  surface = found;
  surface.flags &= ~released;
}

void MoveSurface(ZAV_SURFACE& to, ZAV_SURFACE& from) {
  const ZAV_SURFACE moved = from;
  ReleaseSurface(to);
  from = ZAV_SURFACE{};
  to = moved;
}
void MoveSource(ZAV_CONVERTER& to, ZAV_CONVERTER& from) { MoveSurface(to.source, from.source); }
void MoveDestToSource(ZAV_CONVERTER& to, ZAV_CONVERTER& from) { MoveSurface(to.source, from.dest); }
void MoveDest(ZAV_CONVERTER& to, ZAV_CONVERTER& from) { MoveSurface(to.dest, from.dest); }

ZAV_SURFACE Borrow(const ZAV_SURFACE& surface) {
  ZAV_SURFACE borrowed = surface;
  borrowed.flags = 0;
  return borrowed;
}

}  // namespace zav
