// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "formats/file_picture.h"

#include <algorithm>

#include "convert/pipeline.h"
#include "surface/copy.h"

namespace zav {
namespace {

// The converted picture is temporary, so its rows are reversed in place and written with one call
// instead of one per row.

void TurnUpsideDown(const ZAV_SURFACE& surface) {
  uint8_t* top = surface.pixels;
  uint8_t* bottom = surface.pixels + (ImageBytes(surface) - surface.pitch);
  for (; top < bottom; top += surface.pitch, bottom -= surface.pitch) {
    std::swap_ranges(top, top + surface.pitch, bottom);
  }
}

void SetPitch(ZAV_SURFACE& surface, int64_t pitch) {
  CopyRows(surface.pixels, surface.pixels, pitch, surface.height, pitch, surface.pitch);
  surface.pitch = static_cast<int32_t>(pitch);
}

}  // namespace

bool FilePicture::Convert(const ZAV_CONVERTER& converter, int32_t format, int64_t row_bytes) {
  picture_.source = Borrow(converter.source);
  ZAV_SURFACE& dest = picture_.dest;
  dest.format = format;
  dest.width = converter.source.width;
  dest.height = converter.source.height;
  // Prepared first: a copy to the same format would adopt the source's pitch, which may belong to a
  // much larger picture.
  if (!PrepareDest(picture_) || !ConvertSurface(picture_)) return false;
  TurnUpsideDown(dest);
  if (dest.pitch != row_bytes) SetPitch(dest, row_bytes);
  return true;
}

}  // namespace zav
