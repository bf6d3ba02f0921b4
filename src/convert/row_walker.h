// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

#include "convert/surface.h"

namespace zav {

/// Calls `row(source, dest, pixels)` for the rows of a prepared conversion. This is the one place
/// that knows pitches: a row function sees consecutive pixels. Where neither side has padding the
/// whole picture is one long row, which spares narrow pictures the per-row start and tail.
template <typename RowFunction>
void WalkRows(const ZAV_CONVERTER& converter, RowFunction&& row) {
  const ZAV_SURFACE& source = converter.source;
  const ZAV_SURFACE& dest = converter.dest;
  if (source.height < 1 || source.width < 1) return;
  auto width = static_cast<size_t>(source.width);
  auto height = static_cast<size_t>(source.height);
  if (int64_t{source.pitch} == int64_t{source.width} * BytesPerPixel(source.format) &&
      int64_t{dest.pitch} == int64_t{source.width} * BytesPerPixel(dest.format)) {
    width *= height;
    height = 1;
  }
  const uint8_t* source_row = source.pixels;
  uint8_t* dest_row = dest.pixels;
  for (;;) {
    row(source_row, dest_row, width);
    if (--height == 0) return;
    source_row += source.pitch;
    dest_row += dest.pitch;
  }
}

}  // namespace zav
