// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/resize.h"

#include "base/checked.h"
#include "convert/environment.h"
#include "convert/pipeline.h"
#include "scaling/scale.h"
#include "surface/copy.h"
#include "surface/surface.h"

namespace zav {
namespace {

/// Replaces the borrowed source with the same picture in 32-bit BGRA.
bool SourceToBgra32(ZAV_CONVERTER& scaling) {
  ScopedConverter widening;
  widening.source = scaling.source;
  widening.dest.format = ZAV_FMT_BGRA32;
  if (!ConvertSurface(widening)) return false;
  MoveDestToSource(scaling, widening);
  return true;
}

void Resample(const ZAV_CONVERTER& scaling, bool filter) {
  if (filter) {
    ResampleBilinear(scaling.source, scaling.dest);
  } else {
    ResamplePoint(scaling.source, scaling.dest);
  }
}

bool Overlap(const ZAV_SURFACE& a, const ZAV_SURFACE& b) {
  const auto first = [](const ZAV_SURFACE& s) { return reinterpret_cast<uintptr_t>(s.pixels); };
  const auto end = [&](const ZAV_SURFACE& s) {
    return first(s) + static_cast<uintptr_t>(ImageBytes(s));
  };
  return first(a) < end(b) && first(b) < end(a);
}

/// Whether pixels of the source can be scaled directly into the destination's buffer.
bool CanScaleInto(const ZAV_SURFACE& dest, const ZAV_SURFACE& source) {
  return dest.pixels != nullptr && dest.format == source.format &&
         dest.pitch >= int64_t{dest.width} * BytesPerPixel(source.format) &&
         ImageBytes(dest) <= kMaxBytes && !Overlap(dest, source);
}

/// Scales directly into the host's buffer.
bool ScaleIntoBuffer(ZAV_CONVERTER& scaling, ZAV_CONVERTER& converter, bool filter) {
  if (!PrepareDestPalette(converter)) return false;
  ZAV_SURFACE& dest = converter.dest;
  dest.bytes_per_pixel = BytesPerPixel(dest.format);
  scaling.dest = Borrow(dest);
  Resample(scaling, filter);
  if (IsPalettized(dest.format) && scaling.source.palette != nullptr &&
      dest.palette != scaling.source.palette) {
    FastCopy(dest.palette, scaling.source.palette, ZAV_PALETTE_BYTES);
  }
  return true;
}

/// Scales into a temporary picture in the source's format, then converts that.
bool ScaleAndConvert(ZAV_CONVERTER& scaling, ZAV_CONVERTER& converter, bool filter) {
  // The scaled picture keeps the masks, which define a custom layout.
  scaling.dest = Borrow(scaling.source);
  scaling.dest.pixels = nullptr;
  scaling.dest.palette = nullptr;
  scaling.dest.width = converter.dest.width;
  scaling.dest.height = converter.dest.height;
  scaling.dest.pitch = 0;
  if (!PrepareDest(scaling)) return false;
  Resample(scaling, filter);
  MoveDestToSource(scaling, scaling);

  MoveDest(scaling, converter);
  const bool converted = ConvertSurface(scaling);  // equal sizes now
  MoveDest(converter, scaling);
  return converted;
}

}  // namespace

bool ResizeSurface(ZAV_CONVERTER& converter) {
  const ZAV_SURFACE& dest = converter.dest;
  const FormatRow& format = Format(converter.source.format);
  if (!HasKernels(format.code) || !IsFormat(dest.format) || dest.width < 1 || dest.height < 1)
    return false;

  // The source is borrowed until the conversion has succeeded, so a failure leaves it in place.
  ScopedConverter scaling;
  scaling.source = Borrow(converter.source);
  const bool filter = (PublishedEnv() & ZAV_ENV_FILTER) != 0;
  const bool through_bgra32 =
      format.family == FormatRow::Family::kDxt || (filter && format.bytes_per_pixel < 3);
  if (through_bgra32 && !SourceToBgra32(scaling)) return false;

  const bool scaled = CanScaleInto(dest, scaling.source)
                          ? ScaleIntoBuffer(scaling, converter, filter)
                          : ScaleAndConvert(scaling, converter, filter);
  if (!scaled) return false;
  ReleaseSurface(converter.source);
  converter.source = ZAV_SURFACE{};
  return true;
}

}  // namespace zav
