// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/mip_level.h"

#include <algorithm>

#include "base/checked.h"
#include "convert/pipeline.h"
#include "scaling/mip_filter.h"
#include "surface/surface.h"

namespace zav {
namespace {

int32_t HalfSide(int32_t side) { return std::max(side / 2, 1); }

bool IsTrueColor32(int32_t format) { return format == ZAV_FMT_RGBA32 || format == ZAV_FMT_BGRA32; }

void FillDestination(const ZAV_SURFACE& source, ZAV_SURFACE& dest) {
  if (dest.format == 0) {
    dest.format = source.format;
    dest.alpha_mask = source.alpha_mask;
    dest.red_mask = source.red_mask;
    dest.green_mask = source.green_mask;
    dest.blue_mask = source.blue_mask;
  }
  if (dest.width == 0 && dest.height == 0) {
    dest.width = HalfSide(source.width);
    dest.height = HalfSide(source.height);
  }
}

bool FilterLevel(ZAV_CONVERTER& converter) {
  const ZAV_SURFACE& source = converter.source;
  ZAV_SURFACE& dest = converter.dest;
  if (dest.format != source.format || dest.width < 1 || dest.height < 1 ||
      dest.width > HalfSide(source.width) || dest.height > HalfSide(source.height) ||
      !PrepareDest(converter)) {
    return false;
  }
  const int64_t row_bytes = int64_t{dest.width} * 4;
  if (dest.height > 1 && (dest.pitch < row_bytes || ImageBytes(dest) > kMaxBytes)) return false;
  dest.bytes_per_pixel = 4;
  if (dest.pitch == 0) dest.pitch = static_cast<int32_t>(row_bytes);
  FilterMipLevel(source, dest);
  return true;
}

/// Makes the level of any other format through temporary pictures. The source is borrowed.
bool ConvertLevel(ZAV_CONVERTER& converter) {
  ScopedConverter level;
  level.source = Borrow(converter.source);
  level.dest.format = ZAV_FMT_BGRA32;
  if (!ConvertSurface(level)) return false;
  MoveDestToSource(level, level);
  FillDestination(level.source, level.dest);
  if (!FilterLevel(level)) return false;
  MoveDestToSource(level, level);

  MoveDest(level, converter);
  const bool converted = ConvertSurface(level);
  MoveDest(converter, level);
  return converted;
}

}  // namespace

bool GenerateMipLevel(ZAV_CONVERTER& converter) {
  const ZAV_SURFACE found_source = converter.source;
  const ZAV_SURFACE found_dest = converter.dest;
  const bool consumes = !IsTrueColor32(converter.source.format);
  bool made = CheckSource(converter);
  if (made) {
    FillDestination(converter.source, converter.dest);
    made = consumes ? ConvertLevel(converter) : FilterLevel(converter);
  }
  if (!made) {
    RestoreSurface(converter.dest, found_dest);
    converter.source = found_source;
    return false;
  }
  if (consumes) {
    ReleaseSurface(converter.source);
    converter.source = ZAV_SURFACE{};
  }
  return true;
}

}  // namespace zav
