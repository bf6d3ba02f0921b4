// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "kinds/squiz_image.h"

#include "convert/pipeline.h"
#include "kinds/squiz_blocks.h"
#include "layers/layer_dispatch.h"

namespace zav {
namespace {

/// Of the writer; readers take any size.
constexpr int32_t kBlockSize = 8;

/// The formats that can be divided into blocks.
bool IsBlockFormat(int32_t format) { return format == ZAV_FMT_PAL8 || format == ZAV_FMT_BGRA32; }

bool HasCells(const ZAV_SURFACE& strip, const uint8_t* records, const SquizGrid& grid) {
  const int64_t stored = CountStoredBlocks(records, grid);
  return stored == 0 ||
         (stored * grid.block_size() <= strip.width && grid.block_size() <= strip.height);
}

/// Replaces the strip, which is the converter's source, with the picture.
bool DecodeStrip(ZAV_CONVERTER& reading, const uint8_t* records, const SquizGrid& grid,
                 int32_t width, int32_t height) {
  if (!IsBlockFormat(reading.source.format)) {
    reading.dest.format = ZAV_FMT_BGRA32;
    if (!ConvertSurface(reading)) return false;
    MoveDestToSource(reading, reading);
  }
  if (!HasCells(reading.source, records, grid) ||
      !SetDefinition(reading.dest, width, height, reading.source.format) || !PrepareDest(reading)) {
    return false;
  }
  DecodeSquiz(reading.source, records, grid, reading.dest);
  MoveDestToSource(reading, reading);
  return true;
}

}  // namespace

bool WriteSquizImage(ZAV_STREAM& stream, const char* name, ZAV_LAYER* layer,
                     const ZAV_GFXDEF* definition) {
  SquizParts parts;
  ScopedConverter conversion;
  int64_t record_bytes = 0;
  const auto prepare = [&](ZAV_LAYER& header) {
    if (definition == nullptr) return false;
    const ZAV_SURFACE* picture =
        InFormat(conversion, *definition,
                 definition->format == ZAV_FMT_PAL8 ? ZAV_FMT_PAL8 : ZAV_FMT_BGRA32);
    if (picture == nullptr) return false;
    StoreSides(header, *picture);
    StoreField(header, Field::kBlockSize, kBlockSize);
    const SquizGrid grid(picture->width, picture->height, kBlockSize);
    record_bytes = grid.record_bytes();
    return EncodeSquiz(*picture, grid, parts);
  };
  const auto write_parts = [&](RecordFrame&, ZAV_LAYER&) {
    stream.file().Write(parts.records, record_bytes);
    return WriteLayer(stream, layer, &parts.strip);
  };
  return WriteImageRecord(stream, ZAV_REC_SQUIZ, name, layer, prepare, write_parts);
}

bool ReadSquizImage(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted) {
  ZAV_LAYER header;
  if (!ReadImageHeader(stream, ZAV_REC_SQUIZ, header)) return false;
  int32_t width = 0, height = 0;
  const auto block_size = static_cast<int32_t>(LoadField(HeaderBytes(header), Field::kBlockSize));
  if (!LoadSides(HeaderBytes(header), width, height) || block_size == 0) return false;
  const SquizGrid grid(width, height, block_size);
  const uint8_t* records = stream.block().Take(grid.record_bytes());
  ScopedConverter reading;
  if (records == nullptr || !ReadLayer(stream, reading.source, wanted)) return false;
  if (wanted == Wanted::kPicture) {
    if (!DecodeStrip(reading, records, grid, width, height)) return false;
  } else {
    reading.source.width = width;
    reading.source.height = height;
  }
  MoveSurface(surface, reading.source);
  return true;
}

}  // namespace zav
