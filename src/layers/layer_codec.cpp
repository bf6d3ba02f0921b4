// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "layers/layer_codec.h"

#include "base/checked.h"
#include "base/endian.h"
#include "convert/environment.h"
#include "convert/pipeline.h"
#include "surface/format_table.h"

namespace zav {

bool ConvertForLayer(ScopedConverter& conversion, const ZAV_GFXDEF& definition, int32_t format) {
  conversion.source.definition() = definition;
  conversion.dest.format = format;
  PublishEnv(conversion);
  return ConvertSurface(conversion);
}

const ZAV_SURFACE* InFormat(ScopedConverter& conversion, const ZAV_GFXDEF& definition,
                            int32_t format) {
  if (definition.format != format) {
    return ConvertForLayer(conversion, definition, format) ? &conversion.dest : nullptr;
  }
  conversion.source.definition() = definition;
  const bool usable =
      CheckSource(conversion) && (definition.palette != nullptr || !IsPalettized(format));
  return usable ? &conversion.source : nullptr;
}

void WriteLayerHeader(ZAV_STREAM& stream, const ZAV_LAYER& layer) {
  stream.file().Write(HeaderBytes(layer), HeaderLength(layer.kind));
}

void StoreExtent(ZAV_LAYER& layer, int32_t offset, const ZAV_GFXDEF& picture) {
  uint8_t* extent = HeaderBytes(layer) + offset;
  StoreLe32(extent, static_cast<uint32_t>(picture.width));
  StoreLe32(extent + 4, static_cast<uint32_t>(picture.height));
  StoreLe32(extent + 8, static_cast<uint32_t>(picture.pitch));
}

bool LoadExtent(ZAV_SURFACE& surface, int32_t format, const uint8_t* extent) {
  const int64_t width = LoadLe32(extent);
  const int64_t height = LoadLe32(extent + 4);
  const int64_t pitch = LoadLe32(extent + 8);
  ReleaseSurface(surface);
  surface = ZAV_SURFACE{};
  // The quotient keeps the product of two hostile 32-bit numbers out of the comparison.
  if (width < 1 || height < 1 || pitch < width * BytesPerPixel(format) ||
      pitch > kMaxBytes / height) {
    return false;
  }
  surface.width = static_cast<int32_t>(width);
  surface.height = static_cast<int32_t>(height);
  surface.pitch = static_cast<int32_t>(pitch);
  surface.format = format;
  surface.bytes_per_pixel = BytesPerPixel(format);
  return true;
}

}  // namespace zav
