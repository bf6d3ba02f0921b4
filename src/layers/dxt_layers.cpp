// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "layers/dxt_layers.h"

#include <algorithm>
#include <cstring>

#include "base/checked.h"
#include "base/endian.h"
#include "base/heap.h"
#include "encodings/dxt.h"
#include "layers/packed_chunks.h"

namespace zav {
namespace {

constexpr uint32_t kPacked = 1;  // in the flags
constexpr int32_t kHeaderBytes = HeaderLength(ZAV_LAYER_DXT1);

int32_t VariantOf(uint8_t kind) { return kind - ZAV_LAYER_DXT1 + 1; }

/// Pads a 32-bit picture to whole blocks by repeating its edge pixels.
bool PadToBlocks(ZAV_SURFACE& padded, const ZAV_SURFACE& picture) {
  if (!AllocSurface(padded, RoundUp(picture.width, 4), RoundUp(picture.height, 4),
                    ZAV_FMT_BGRA32)) {
    return false;
  }
  const size_t row_bytes = static_cast<size_t>(picture.width) * 4;
  for (int64_t y = 0; y < padded.height; ++y) {
    const uint8_t* row = picture.pixels + std::min<int64_t>(y, picture.height - 1) * picture.pitch;
    uint8_t* out = padded.pixels + y * padded.pitch;
    std::memcpy(out, row, row_bytes);
    for (int32_t x = picture.width; x < padded.width; ++x) {
      std::memcpy(out + int64_t{x} * 4, row + row_bytes - 4, 4);
    }
  }
  return true;
}

bool Compress(DxtJob& job, const ZAV_SURFACE& picture, int32_t variant) {
  job.width = picture.width;
  job.height = picture.height;
  job.pitch = picture.pitch;
  job.pixels = picture.pixels;
  return CompressSurface(job, variant);
}

/// Moves past chunks of `total` bytes together; false if they are not complete.
bool SkipBlockChunks(ByteReader& reader, int64_t total) {
  while (total > 0) {
    const int64_t length = reader.Le32();
    const uint8_t* chunk = reader.Take(length);
    if (chunk == nullptr || length < 4) return false;
    const int64_t word = static_cast<int32_t>(LoadLe32(chunk));
    const int64_t bytes = word < 0 ? -word : word;
    if (bytes < 1 || bytes > std::min(total, kChunkBytes)) return false;
    total -= bytes;
  }
  return true;
}

bool ReadPackedBlocks(ByteReader& block, ZAV_SURFACE& surface, int64_t needed) {
  const int64_t total = block.Le32();
  ByteReader chunks = block;
  if (!IsBufferSize(total) || total < needed || !SkipBlockChunks(block, total)) return false;
  if (!OwnPixels(surface, AllocateBytes(total))) return false;
  int64_t done = 0;
  while (done < total) {
    ByteReader chunk = chunks;
    chunk.Skip(4);
    const int64_t word = static_cast<int32_t>(chunk.Le32());
    const int64_t share = word < 0 ? -word : word;
    if (!ReadChunk(chunks, surface.pixels + done, share)) {
      ReleaseSurface(surface);
      return false;
    }
    done += share;
  }
  return true;
}

}  // namespace

bool WriteDxtLayer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition) {
  ScopedConverter conversion;
  const ZAV_SURFACE* picture = InFormat(conversion, definition, ZAV_FMT_BGRA32);
  if (picture == nullptr) return false;
  StoreSides(layer, *picture);

  ScopedConverter padding;
  if (picture->width % 4 != 0 || picture->height % 4 != 0) {
    if (!PadToBlocks(padding.dest, *picture)) return false;
    picture = &padding.dest;
  }
  DxtJob job;
  if (!Compress(job, *picture, VariantOf(layer.kind))) return false;
  if ((LoadField(HeaderBytes(layer), Field::kFlags) & kPacked) == 0) {
    WriteLayerHeader(stream, layer);
    stream.file().Write(job.blocks, job.block_bytes);
    return true;
  }
  ChunkWriter chunks(stream);
  if (!chunks.is_ready()) return false;
  WriteLayerHeader(stream, layer);
  uint8_t total[4];
  StoreLe32(total, static_cast<uint32_t>(job.block_bytes));
  stream.file().Write(total, sizeof(total));
  return chunks.Write(job.blocks, job.block_bytes);
}

bool ReadDxtLayer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted) {
  const uint8_t* header = TakeHeader(stream);
  if (header == nullptr) return false;
  const int32_t variant = VariantOf(header[0]);
  int32_t width = 0, height = 0;
  ReleaseSurface(surface);
  surface.definition() = ZAV_GFXDEF{};
  if (!LoadSides(header, width, height) ||
      !SetDefinition(surface, RoundUp(width, 4), RoundUp(height, 4), ZAV_FMT_DXT1 + variant - 1)) {
    surface.definition() = ZAV_GFXDEF{};
    return false;
  }
  if (wanted == Wanted::kDefinition) return true;
  const int64_t needed = DxtBlockBytes(variant, surface.width, surface.height);
  ByteReader& block = stream.block();
  if ((LoadField(header, Field::kFlags) & kPacked) != 0)
    return ReadPackedBlocks(block, surface, needed);
  const int64_t bytes = LoadRecordSize(header) - kHeaderBytes;
  if (bytes < needed) return false;
  // Pixels that a source does not own are never written to.
  surface.pixels = const_cast<uint8_t*>(block.Take(bytes));
  return surface.pixels != nullptr;
}

}  // namespace zav
