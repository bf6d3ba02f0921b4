// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "kinds/squiz_image.h"

#include "base/checked.h"
#include "base/endian.h"
#include "convert/pipeline.h"
#include "kinds/squiz_blocks.h"
#include "layers/layer_dispatch.h"

namespace zav {
namespace {

constexpr int32_t kWidthOffset = kNameOffset + kNameLength;
constexpr int32_t kHeightOffset = kWidthOffset + 4;
constexpr int32_t kBlockSizeOffset = kHeightOffset + 4;
static_assert(kBlockSizeOffset + 1 == HeaderLength(ZAV_REC_SQUIZ));

/// The formats that blocks are taken from and put into.
bool IsBlockFormat(int32_t format) { return format == ZAV_FMT_PAL8 || format == ZAV_FMT_BGRA32; }

bool HasCells(const ZAV_SURFACE& strip, const uint8_t* records, const SquizGrid& grid) {
  const int64_t stored = CountStoredBlocks(records, grid);
  return stored == 0 ||
         (stored * grid.block_size() <= strip.width && grid.block_size() <= strip.height);
}

/// Replaces the strip, the converter's source, by the picture.
bool DecodeStrip(ZAV_CONVERTER& reading, const uint8_t* records, const SquizGrid& grid,
                 int64_t width, int64_t height) {
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
                     const ZAV_GFXDEF* definition, int32_t block_size) {
  SquizParts parts;
  ScopedConverter conversion;
  int64_t record_bytes = 0;
  const auto prepare = [&](ZAV_LAYER& header) {
    if (definition == nullptr) return false;
    const ZAV_SURFACE* picture =
        InFormat(conversion, *definition,
                 definition->format == ZAV_FMT_PAL8 ? ZAV_FMT_PAL8 : ZAV_FMT_BGRA32);
    if (picture == nullptr) return false;
    uint8_t* bytes = HeaderBytes(header);
    StoreLe32(bytes + kWidthOffset, static_cast<uint32_t>(picture->width));
    StoreLe32(bytes + kHeightOffset, static_cast<uint32_t>(picture->height));
    bytes[kBlockSizeOffset] = static_cast<uint8_t>(block_size);
    const SquizGrid grid(picture->width, picture->height, block_size);
    record_bytes = grid.record_bytes();
    return EncodeSquiz(*picture, grid, parts);
  };
  return WriteImageRecord(stream, ZAV_REC_SQUIZ, name, layer, prepare, [&](RecordFrame&) {
    stream.file().Write(parts.records, record_bytes);
    return WriteLayer(stream, layer, &parts.strip);
  });
}

bool ReadSquizImage(ZAV_STREAM& stream, char* name, ZAV_SURFACE& surface, Wanted wanted) {
  ZAV_LAYER header;
  if (!ReadImageHeader(stream, ZAV_REC_SQUIZ, name, header)) return false;
  const uint8_t* bytes = HeaderBytes(header);
  const int64_t width = LoadLe32(bytes + kWidthOffset);
  const int64_t height = LoadLe32(bytes + kHeightOffset);
  const int32_t block_size = bytes[kBlockSizeOffset];
  if (!IsBufferSize(width) || !IsBufferSize(height) || block_size == 0) return false;
  const SquizGrid grid(static_cast<int32_t>(width), static_cast<int32_t>(height), block_size);
  const uint8_t* records = stream.block().Take(grid.record_bytes());
  ScopedConverter reading;
  if (records == nullptr || !ReadLayer(stream, reading.source, wanted)) return false;
  if (wanted == Wanted::kPicture) {
    if (!DecodeStrip(reading, records, grid, width, height)) return false;
  } else {
    reading.source.width = static_cast<int32_t>(width);
    reading.source.height = static_cast<int32_t>(height);
  }
  MoveSurface(surface, reading.source);
  return true;
}

}  // namespace zav
