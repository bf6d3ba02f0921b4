// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "layers/layer_dispatch.h"

#include "layers/dxt_layers.h"
#include "layers/jpeg_layers.h"
#include "layers/packed_layers.h"
#include "layers/plain_layers.h"

namespace zav {
namespace {

struct LayerRow {
  int32_t kind;
  LayerWriter write;
  LayerReader read;
};

constexpr LayerRow kLayerRows[] = {
    {ZAV_LAYER_PAL8, WritePal8Layer, ReadPal8Layer},
    {ZAV_LAYER_HICOLOR, WriteColorLayer, ReadColorLayer},
    {ZAV_LAYER_TRUE24, WriteColorLayer, ReadColorLayer},
    {ZAV_LAYER_TRUE32, WriteColorLayer, ReadColorLayer},
    {ZAV_LAYER_DXT1, WriteDxtLayer, ReadDxtLayer},
    {ZAV_LAYER_DXT2, WriteDxtLayer, ReadDxtLayer},
    {ZAV_LAYER_DXT3, WriteDxtLayer, ReadDxtLayer},
    {ZAV_LAYER_DXT4, WriteDxtLayer, ReadDxtLayer},
    {ZAV_LAYER_DXT5, WriteDxtLayer, ReadDxtLayer},
    {ZAV_LAYER_JPEG32, WriteJpegLayer, ReadJpegLayer},
    {ZAV_LAYER_JPEG24, WriteJpegLayer, ReadJpegLayer},
    {ZAV_LAYER_JPEGMASK, WriteJpegMaskLayer, ReadJpegMaskLayer},
    {ZAV_LAYER_PACKED32, WritePacked32Layer, ReadPacked32Layer},
    {ZAV_LAYER_PACKEDPAL8, WritePackedPal8Layer, ReadPackedPal8Layer},
};

const LayerRow* FindLayer(int32_t kind) {
  for (const LayerRow& row : kLayerRows) {
    if (row.kind == kind) return &row;
  }
  return nullptr;
}

}  // namespace

bool WriteLayer(ZAV_STREAM& stream, ZAV_LAYER* layer, const ZAV_GFXDEF* definition) {
  if (layer == nullptr || definition == nullptr) return false;
  RecordFrame frame(stream);
  const LayerRow* row = FindLayer(layer->kind);
  return row != nullptr && row->write(stream, *layer, *definition) && frame.Finish();
}

bool ReadLayer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted) {
  int32_t kind = ZAV_KIND_END;
  if (!PeekKind(stream, kind)) return false;
  const LayerRow* row = FindLayer(kind);
  return row != nullptr && row->read(stream, surface, wanted);
}

}  // namespace zav
