// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "layers/layer_codec.h"

#include "base/checked.h"
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

const uint8_t* TakeHeader(ZAV_STREAM& stream) {
  ByteReader& block = stream.block();
  const uint8_t* kind = block.Peek(1);
  return kind != nullptr ? block.Take(HeaderLength(*kind)) : nullptr;
}

void StoreExtent(ZAV_LAYER& layer, const ZAV_GFXDEF& picture) {
  StoreSides(layer, picture);
  StoreField(layer, Field::kPitch, static_cast<uint32_t>(picture.pitch));
}

bool LoadExtent(ZAV_SURFACE& surface, int32_t format, const uint8_t* header) {
  int32_t width = 0, height = 0;
  const int64_t pitch = LoadField(header, Field::kPitch);
  ReleaseSurface(surface);
  surface = ZAV_SURFACE{};
  // The quotient keeps the product of two hostile 32-bit numbers out of the comparison.
  if (!LoadSides(header, width, height) || pitch < int64_t{width} * BytesPerPixel(format) ||
      pitch > kMaxBytes / height) {
    return false;
  }
  surface.width = width;
  surface.height = height;
  surface.pitch = static_cast<int32_t>(pitch);
  surface.format = format;
  surface.bytes_per_pixel = BytesPerPixel(format);
  return true;
}

}  // namespace zav
