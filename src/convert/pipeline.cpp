// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/pipeline.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/checked.h"
#include "base/trace.h"
#include "convert/resize.h"
#include "encodings/dxt.h"
#include "encodings/hicolor.h"
#include "encodings/quantizer.h"
#include "encodings/true_color.h"
#include "surface/copy.h"
#include "surface/surface.h"

namespace zav {
namespace {

constexpr char kRouteWarning[] =
    "ZAV -- PERFORMANCE WARNING: Direct Converstion unsupported. Converting to BRGA32 First!\n";

/// Converts between prepared surfaces of equal size. False for a missing palette or sides that do
/// not fit blocks.
using Kernel = bool (*)(ZAV_CONVERTER& converter);

struct KernelRow {
  int32_t source;
  int32_t dest;
  Kernel kernel;
};

constexpr KernelRow kKernelRows[] = {
    {ZAV_FMT_PAL8, ZAV_FMT_RGBA32, Pal8ToRgba32},
    {ZAV_FMT_PAL8, ZAV_FMT_BGRA32, Pal8ToBgra32},
    {ZAV_FMT_PAL8, ZAV_FMT_RGB24, Pal8ToRgb24},
    {ZAV_FMT_PAL8, ZAV_FMT_BGR24, Pal8ToBgr24},
    {ZAV_FMT_RGBA32, ZAV_FMT_BGRA32, SwapRedBlue32},
    {ZAV_FMT_RGBA32, ZAV_FMT_RGB24, Narrow32To24},
    {ZAV_FMT_RGBA32, ZAV_FMT_BGR24, Narrow32To24Swap},
    {ZAV_FMT_BGRA32, ZAV_FMT_PAL8, QuantizeToPal8},
    {ZAV_FMT_BGRA32, ZAV_FMT_RGBA32, SwapRedBlue32},
    {ZAV_FMT_BGRA32, ZAV_FMT_RGB24, Narrow32To24Swap},
    {ZAV_FMT_BGRA32, ZAV_FMT_BGR24, Narrow32To24},
    {ZAV_FMT_RGB24, ZAV_FMT_RGBA32, Widen24To32},
    {ZAV_FMT_RGB24, ZAV_FMT_BGRA32, Widen24To32Swap},
    {ZAV_FMT_BGR24, ZAV_FMT_RGBA32, Widen24To32Swap},
    {ZAV_FMT_BGR24, ZAV_FMT_BGRA32, Widen24To32},
    {ZAV_FMT_BGRA32, ZAV_FMT_DXT1, BGRA32ToDXT1},
    {ZAV_FMT_BGRA32, ZAV_FMT_DXT3, BGRA32ToDXT3},
    {ZAV_FMT_BGRA32, ZAV_FMT_DXT5, BGRA32ToDXT5},
    {ZAV_FMT_DXT1, ZAV_FMT_BGRA32, DXT1ToBGRA32},
    {ZAV_FMT_DXT3, ZAV_FMT_BGRA32, DXT3ToBGRA32},
    {ZAV_FMT_DXT5, ZAV_FMT_BGRA32, DXT5ToBGRA32},
};

/// Indexed by source and destination code; null where there is no direct kernel.
using KernelTable = std::array<std::array<Kernel, kFormats.size()>, kFormats.size()>;

constexpr KernelTable MakeKernelTable() {
  KernelTable table{};
  for (const KernelRow& row : kKernelRows) {
    table[static_cast<size_t>(row.source)][static_cast<size_t>(row.dest)] = row.kernel;
  }
  for (const FormatRow& format : kFormats) {
    if (format.family != FormatRow::Family::kHicolor) continue;
    const auto code = static_cast<size_t>(format.code);
    table[ZAV_FMT_BGRA32][code] = BGRA32ToHicolor;
    table[ZAV_FMT_RGBA32][code] = RGBA32ToHicolor;
    table[ZAV_FMT_BGR24][code] = BGR24ToHicolor;
    table[ZAV_FMT_RGB24][code] = RGB24ToHicolor;
    table[code][ZAV_FMT_BGRA32] = HicolorToBGRA32;
  }
  return table;
}

constexpr KernelTable kKernels = MakeKernelTable();

/// Makes the destination the owner of the source's buffer, which both then share.
void HandOver(ZAV_CONVERTER& converter) {
  DisownPixels(converter.source);
  OwnPixels(converter.dest, converter.source.pixels);
}

/// Same-format copy of pixels and palette, for surfaces of equal size.
void CopyPixels(ZAV_CONVERTER& converter) {
  const ZAV_SURFACE& source = converter.source;
  const ZAV_SURFACE& dest = converter.dest;
  if (source.bytes_per_pixel != 0) {
    const int64_t row_bytes = int64_t{source.width} * source.bytes_per_pixel;
    CopyRows(dest.pixels, source.pixels, std::min<int64_t>(row_bytes, dest.pitch), source.height,
             dest.pitch, source.pitch);
  } else if (IsDxt(source.format)) {
    // A source without a byte count has as many bytes as its size needs.
    const int64_t held =
        source.pitch > 0 ? source.pitch : MinPitch(source.width, source.height, source.format);
    const int64_t copied = std::min<int64_t>(dest.pitch, held);
    FastCopy(dest.pixels, source.pixels, copied);
    if (dest.owns_pixels() && copied < dest.pitch) {
      std::memset(dest.pixels + copied, 0, static_cast<size_t>(dest.pitch - copied));
    }
  }
  if (source.palette != nullptr && dest.palette != nullptr && source.palette != dest.palette) {
    FastCopy(dest.palette, source.palette, ZAV_PALETTE_BYTES);
  }
}

bool ConvertSameFormat(ZAV_CONVERTER& converter) {
  ZAV_SURFACE& source = converter.source;
  ZAV_SURFACE& dest = converter.dest;
  if (dest.pitch == 0) dest.pitch = source.pitch;
  if (dest.pitch == source.pitch && dest.pixels == nullptr && source.owns_pixels()) {
    // The palette first: it is the part that can fail.
    if (!PrepareDestPalette(converter)) return false;
    HandOver(converter);
    return true;
  }
  if (!PrepareDest(converter)) return false;
  if (dest.pixels != source.pixels) CopyPixels(converter);
  return true;
}

/// Whether the rows that a kernel writes are within the buffer that the pitch describes. Only a
/// caller's buffer can fail this: its pitch is used as given.
bool RowsFit(const ZAV_SURFACE& dest) {
  if (IsDxt(dest.format)) return true;
  const int64_t row_bytes = int64_t{dest.width} * BytesPerPixel(dest.format);
  return dest.height == 1 || (dest.pitch >= row_bytes && ImageBytes(dest) <= kMaxBytes);
}

/// Converts twice, through a temporary 32-bit BGRA picture. The first conversion borrows the
/// source, which therefore also keeps a buffer that could have been handed over.
bool RouteViaBgra32(ZAV_CONVERTER& converter) {
  if (converter.source.format == ZAV_FMT_BGRA32) return false;
  ScopedConverter route;
  route.source = Borrow(converter.source);
  route.dest.format = ZAV_FMT_BGRA32;
  if (!ConvertSurface(route)) return false;
  MoveDestToSource(route, route);
  MoveDest(route, converter);
  const bool converted = ConvertSurface(route);
  MoveDest(converter, route);
  return converted;
}

bool ConvertToFormat(ZAV_CONVERTER& converter) {
  ZAV_SURFACE& source = converter.source;
  ZAV_SURFACE& dest = converter.dest;
  if (!HasKernels(source.format)) return false;
  if (source.format == ZAV_FMT_RGBA32 && dest.format == ZAV_FMT_BGRA32 && source.owns_pixels() &&
      dest.pixels == nullptr && (dest.pitch == 0 || dest.pitch == source.pitch)) {
    dest.pitch = source.pitch;
    HandOver(converter);
  }
  if (!PrepareDest(converter) || !RowsFit(dest)) return false;
  const Kernel kernel =
      kKernels[static_cast<size_t>(source.format)][static_cast<size_t>(dest.format)];
  if (kernel != nullptr) return kernel(converter);
  TraceHook(kRouteWarning);
  return RouteViaBgra32(converter);
}

}  // namespace

bool HasKernels(int32_t format) {
  return format == ZAV_FMT_BGRA32 ||
         (IsFormat(format) && kKernels[static_cast<size_t>(format)][ZAV_FMT_BGRA32] != nullptr);
}

bool ConvertSurface(ZAV_CONVERTER& converter) {
  if (!CheckSource(converter)) return false;
  ZAV_SURFACE& source = converter.source;
  ZAV_SURFACE& dest = converter.dest;
  const ZAV_SURFACE found = dest;
  if (dest.width == 0 && dest.height == 0) {
    dest.width = source.width;
    dest.height = source.height;
  } else if (dest.width != source.width || dest.height != source.height) {
    return ResizeSurface(converter);
  }
  const bool converted =
      source.format == dest.format ? ConvertSameFormat(converter) : ConvertToFormat(converter);
  if (!converted) {
    RestoreSurface(dest, found);
    return false;
  }
  dest.bytes_per_pixel = BytesPerPixel(dest.format);
  if (dest.pitch == 0)
    dest.pitch = static_cast<int32_t>(MinPitch(dest.width, dest.height, dest.format));
  return true;
}

}  // namespace zav
