// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "layers/plain_layers.h"

#include <cstring>

#include "base/endian.h"
#include "base/heap.h"

namespace zav {
namespace {

struct VariantRow {
  uint8_t kind;
  uint8_t variant;
  int32_t format;
};

// A kind's last row also serves unknown variants.
constexpr VariantRow kVariants[] = {
    {ZAV_LAYER_HICOLOR, 1, ZAV_FMT_RGB565},   {ZAV_LAYER_HICOLOR, 2, ZAV_FMT_RGB555},
    {ZAV_LAYER_HICOLOR, 3, ZAV_FMT_ARGB4444}, {ZAV_LAYER_HICOLOR, 4, ZAV_FMT_ARGB1555},
    {ZAV_LAYER_TRUE24, 1, ZAV_FMT_RGB24},     {ZAV_LAYER_TRUE24, 2, ZAV_FMT_BGR24},
    {ZAV_LAYER_TRUE32, 1, ZAV_FMT_RGBA32},    {ZAV_LAYER_TRUE32, 2, ZAV_FMT_BGRA32},
};

/// The variant's row; the kind's last one for an unknown variant.
const VariantRow& FindVariant(uint8_t kind, uint32_t variant) {
  const VariantRow* found = nullptr;
  for (const VariantRow& row : kVariants) {
    if (row.kind != kind) continue;
    found = &row;
    if (row.variant == variant) break;
  }
  return *found;
}

/// 1 to 256: entries up to the last one that is not zero. A palette of zeros is stored whole.
int32_t CountEntries(const uint8_t* palette) {
  for (int32_t count = 256; count > 0; --count) {
    if (LoadLe32(palette + ptrdiff_t{4} * (count - 1)) != 0) return count;
  }
  return 256;
}

bool TakePixels(ZAV_STREAM& stream, ZAV_SURFACE& surface) {
  // Pixels that a source does not own are never written to.
  surface.pixels = const_cast<uint8_t*>(stream.block().Take(ImageBytes(surface)));
  return surface.pixels != nullptr;
}

bool TakePalette(ZAV_STREAM& stream, ZAV_SURFACE& surface, int32_t entries) {
  const uint8_t* stored = stream.block().Take(int64_t{entries} * 4);
  if (stored == nullptr) return false;
  if (entries == 256) {
    surface.palette = const_cast<uint8_t*>(stored);
    return true;
  }
  if (!OwnPalette(surface, AllocateBytes(ZAV_PALETTE_BYTES))) return false;
  std::memset(surface.palette, 0xFF, ZAV_PALETTE_BYTES);
  std::memcpy(surface.palette, stored, static_cast<size_t>(entries) * 4);
  return true;
}

}  // namespace

bool WriteColorLayer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition) {
  const uint32_t variant = LoadField(HeaderBytes(layer), Field::kVariant);
  const VariantRow& row = FindVariant(layer.kind, variant);
  if (row.variant != variant) return false;
  ScopedConverter conversion;
  const ZAV_SURFACE* picture = InFormat(conversion, definition, row.format);
  if (picture == nullptr) return false;
  StoreExtent(layer, *picture);
  WriteLayerHeader(stream, layer);
  stream.file().Write(picture->pixels, ImageBytes(*picture));
  return true;
}

bool ReadColorLayer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted) {
  const uint8_t* header = TakeHeader(stream);
  if (header == nullptr) return false;
  const VariantRow& row = FindVariant(header[0], LoadField(header, Field::kVariant));
  if (!LoadExtent(surface, row.format, header)) return false;
  return wanted == Wanted::kDefinition || TakePixels(stream, surface);
}

bool WritePal8Layer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition) {
  ScopedConverter conversion;
  const ZAV_SURFACE* picture = InFormat(conversion, definition, ZAV_FMT_PAL8);
  if (picture == nullptr) return false;
  const int32_t entries = CountEntries(picture->palette);
  StoreField(layer, Field::kEntries, static_cast<uint32_t>(entries));  // 256 as 0
  StoreExtent(layer, *picture);
  WriteLayerHeader(stream, layer);
  stream.file().Write(picture->palette, int64_t{entries} * 4);
  stream.file().Write(picture->pixels, ImageBytes(*picture));
  return true;
}

bool ReadPal8Layer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted) {
  const uint8_t* header = TakeHeader(stream);
  if (header == nullptr || !LoadExtent(surface, ZAV_FMT_PAL8, header)) return false;
  if (wanted == Wanted::kDefinition) return true;
  const auto stored = static_cast<int32_t>(LoadField(header, Field::kEntries));
  const int32_t entries = stored != 0 ? stored : 256;
  if (TakePalette(stream, surface, entries) && TakePixels(stream, surface)) return true;
  ReleaseSurface(surface);
  surface.palette = nullptr;
  return false;
}

}  // namespace zav
