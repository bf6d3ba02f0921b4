// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "layers/packed_layers.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "base/endian.h"
#include "base/heap.h"
#include "encodings/planes.h"
#include "layers/channel_bits.h"
#include "layers/packed_chunks.h"

namespace zav {
namespace {

// ZAV_LAYER_PACKED32: flags
constexpr uint32_t kStoredRgba = 1;
constexpr uint32_t kStoredBgra = 2;
constexpr uint32_t kInterleaved = 4;

constexpr int64_t kPlanes = 4;

/// Writes the planes one after the other, each as a run.
bool WritePlanes(ChunkWriter& chunks, const uint8_t* pixels, int64_t groups) {
  const Scratch scratch(kPlanes * groups);
  if (scratch.get() == nullptr) return false;
  uint8_t* planes[kPlanes];
  for (int64_t k = 0; k < kPlanes; ++k) planes[k] = scratch.get() + k * groups;
  SelectedPlaneRows().split4(pixels, planes, static_cast<size_t>(groups));
  return std::all_of(std::begin(planes), std::end(planes),
                     [&](const uint8_t* plane) { return chunks.Write(plane, groups); });
}

/// Finds the starts of the four planes. The reader moves past the last one.
bool FindPlanes(ByteReader& reader, int64_t groups, ByteReader* planes) {
  for (int64_t k = 0; k < kPlanes; ++k) {
    planes[k] = reader;
    if (!SkipChunks(reader, groups)) return false;
  }
  return true;
}

/// Takes a chunk of each plane at a time, so that the pixels are written once.
bool ReadPlanes(ByteReader* readers, uint8_t* pixels, int64_t groups) {
  const Scratch scratch(kPlanes * kChunkBytes);
  if (scratch.get() == nullptr) return false;
  const PlaneRows& rows = SelectedPlaneRows();
  uint8_t* planes[kPlanes];
  for (int64_t k = 0; k < kPlanes; ++k) planes[k] = scratch.get() + k * kChunkBytes;
  for (int64_t left = groups; left > 0;) {
    const int64_t share = std::min(left, kChunkBytes);
    for (int64_t k = 0; k < kPlanes; ++k) {
      if (!ReadChunk(readers[k], planes[k], share)) return false;
    }
    rows.interleave4(planes, pixels, static_cast<size_t>(share));
    pixels += share * kPlanes;
    left -= share;
  }
  return true;
}

/// Reads the pixels of a surface whose definition is set. On failure the surface owns nothing.
bool ReadPixels(ByteReader& block, ZAV_SURFACE& surface, bool interleaved) {
  const int64_t bytes = ImageBytes(surface);
  const int64_t groups = bytes / kPlanes;
  ByteReader start = block;
  ByteReader planes[kPlanes] = {start, start, start, start};
  if (interleaved ? !SkipChunks(block, bytes) : !FindPlanes(block, groups, planes)) return false;
  if (!OwnPixels(surface, AllocateBytes(bytes))) return false;
  uint8_t* pixels = surface.pixels;
  // The planes leave up to three bytes if the pitch is not a multiple of 4.
  if (!interleaved) std::memset(pixels + groups * kPlanes, 0, static_cast<size_t>(bytes % kPlanes));
  if (interleaved ? !ReadChunks(start, pixels, bytes) : !ReadPlanes(planes, pixels, groups)) {
    ReleaseSurface(surface);
    return false;
  }
  return true;
}

/// Makes the picture that ZAV_LAYER_PACKEDPAL8 stores; null on failure. The result is part of one
/// of the two conversions.
const ZAV_SURFACE* CutAndQuantize(ScopedConverter& cut, ScopedConverter& quantized,
                                  const ZAV_GFXDEF& definition, uint32_t mask) {
  if (definition.palette != nullptr && definition.format == ZAV_FMT_PAL8 && mask == UINT32_MAX) {
    return InFormat(quantized, definition, ZAV_FMT_PAL8);
  }
  if (!ConvertForLayer(cut, definition, ZAV_FMT_BGRA32)) return nullptr;
  MaskPixels(cut.dest.pixels, ImageBytes(cut.dest) / 4, mask);
  return ConvertForLayer(quantized, cut.dest, ZAV_FMT_PAL8) ? &quantized.dest : nullptr;
}

}  // namespace

bool WritePacked32Layer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition) {
  const uint8_t* header = HeaderBytes(layer);
  const uint32_t flags = LoadField(header, Field::kFlags);
  if ((flags & (kStoredRgba | kStoredBgra)) == 0) return false;
  // Always converted to a copy, because bits are cut and the padding must be zero.
  ScopedConverter copy;
  if (!ConvertForLayer(copy, definition,
                       (flags & kStoredRgba) != 0 ? ZAV_FMT_RGBA32 : ZAV_FMT_BGRA32)) {
    return false;
  }
  const ZAV_SURFACE& picture = copy.dest;
  const int64_t bytes = ImageBytes(picture);
  const int64_t groups = bytes / kPlanes;
  CutChannels(picture.pixels, groups, ChannelBits(FieldBytes(header, Field::kBits)));
  ChunkWriter chunks(stream);
  if (!chunks.is_ready()) return false;
  StoreExtent(layer, picture);
  WriteLayerHeader(stream, layer);
  return (flags & kInterleaved) != 0 ? chunks.Write(picture.pixels, bytes)
                                     : WritePlanes(chunks, picture.pixels, groups);
}

bool ReadPacked32Layer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted) {
  const uint8_t* header = TakeHeader(stream);
  if (header == nullptr) return false;
  const uint32_t flags = LoadField(header, Field::kFlags);
  const int32_t format = (flags & kStoredRgba) != 0 ? ZAV_FMT_RGBA32 : ZAV_FMT_BGRA32;
  if (!LoadExtent(surface, format, header)) return false;
  if (wanted == Wanted::kDefinition) return true;
  if (!ReadPixels(stream.block(), surface, (flags & kInterleaved) != 0)) return false;
  WidenChannels(surface.pixels, ImageBytes(surface) / kPlanes,
                ChannelBits(FieldBytes(header, Field::kBits)));
  return true;
}

bool WritePackedPal8Layer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition) {
  const uint32_t mask = BitMask(FieldBytes(HeaderBytes(layer), Field::kBits));
  ScopedConverter cut;
  ScopedConverter quantized;
  const ZAV_SURFACE* picture = CutAndQuantize(cut, quantized, definition, mask);
  if (picture == nullptr) return false;
  ChunkWriter chunks(stream);
  if (!chunks.is_ready()) return false;
  StoreExtent(layer, *picture);
  WriteLayerHeader(stream, layer);
  return chunks.Write(picture->palette, ZAV_PALETTE_BYTES) &&
         chunks.Write(picture->pixels, ImageBytes(*picture));
}

bool ReadPackedPal8Layer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted) {
  const uint8_t* header = TakeHeader(stream);
  if (header == nullptr || !LoadExtent(surface, ZAV_FMT_PAL8, header)) return false;
  if (wanted == Wanted::kDefinition) return true;
  ByteReader& block = stream.block();
  uint8_t palette[ZAV_PALETTE_BYTES];
  if (!ReadChunk(block, palette, ZAV_PALETTE_BYTES) || !ReadPixels(block, surface, true)) {
    return false;
  }
  if (!OwnPalette(surface, AllocateBytes(ZAV_PALETTE_BYTES))) {
    ReleaseSurface(surface);
    return false;
  }
  std::memcpy(surface.palette, palette, ZAV_PALETTE_BYTES);
  return true;
}

}  // namespace zav
