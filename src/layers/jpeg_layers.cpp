// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "layers/jpeg_layers.h"

#include <algorithm>
#include <cstring>

#include "base/byte_buffer.h"
#include "base/endian.h"
#include "base/heap.h"
#include "codecs/jpeg_codec.h"
#include "convert/pipeline.h"
#include "layers/packed_chunks.h"

namespace zav {
namespace {

// Flags.
constexpr uint32_t kStoredRgb = 1;
constexpr uint32_t kHalfWidthColor = 2;  // otherwise half width and height; four channels ignore it

constexpr int32_t kHeaderBytes = HeaderLength(ZAV_LAYER_JPEG32);

/// How a kind is coded. The codec always gets the kind's order, also when the picture is stored in
/// the other one: that one is coded with red and blue exchanged, and the reader exchanges them
/// again by the same flag.
struct Coding {
  uint8_t kind;
  int32_t channels;
  int32_t stored_rgb;
  int32_t stored_bgr;
  JpegOrder order;
};

constexpr Coding kCodings[] = {
    {ZAV_LAYER_JPEG32, 4, ZAV_FMT_RGBA32, ZAV_FMT_BGRA32, JpegOrder::kRgba},
    {ZAV_LAYER_JPEG24, 3, ZAV_FMT_RGB24, ZAV_FMT_BGR24, JpegOrder::kBgr},
    {ZAV_LAYER_JPEGMASK, 3, ZAV_FMT_RGB24, ZAV_FMT_BGR24, JpegOrder::kBgr},
};

const Coding& CodingOf(uint8_t kind) { return kCodings[kind - kCodings[0].kind]; }

bool HasFlag(const uint8_t* header, uint32_t flag) {
  return (LoadField(header, Field::kFlags) & flag) != 0;
}

int32_t StoredFormat(const uint8_t* header) {
  const Coding& coding = CodingOf(header[0]);
  return HasFlag(header, kStoredRgb) ? coding.stored_rgb : coding.stored_bgr;
}

/// The order to ask of the decoder for B, G, R, A.
JpegOrder DecodedOrder(const uint8_t* header) {
  const bool stored_rgb = HasFlag(header, kStoredRgb);
  const bool coded_rgb = CodingOf(header[0]).order == JpegOrder::kRgba;
  return stored_rgb == coded_rgb ? JpegOrder::kBgra : JpegOrder::kRgba;
}

bool WriteToBuffer(void* context, const uint8_t* bytes, int64_t count) {
  return static_cast<ByteBuffer*>(context)->Append(bytes, count);
}

/// Encodes the picture into memory, so that nothing is written unless encoding succeeds, and fills
/// the picture's size into the header.
bool Encode(ByteBuffer& file, ZAV_LAYER& layer, const ZAV_SURFACE& picture) {
  StoreSides(layer, picture);
  const uint8_t* header = HeaderBytes(layer);
  const bool half_width = HasFlag(header, kHalfWidthColor);
  return EncodeJpeg(
      {picture.pixels, picture.width, picture.height, picture.pitch, CodingOf(layer.kind).order},
      half_width ? JpegSampling::k2x1 : JpegSampling::k2x2,
      static_cast<int32_t>(LoadField(header, Field::kQuality)), {WriteToBuffer, &file});
}

/// Takes the header and resets the surface to its definition.
const uint8_t* TakeDefinition(ZAV_STREAM& stream, ZAV_SURFACE& surface) {
  const uint8_t* header = TakeHeader(stream);
  if (header == nullptr) return nullptr;
  int32_t width = 0, height = 0;
  ReleaseSurface(surface);
  surface = ZAV_SURFACE{};
  const bool defined =
      LoadSides(header, width, height) && SetDefinition(surface, width, height, ZAV_FMT_BGRA32);
  return defined ? header : nullptr;
}

/// Sets channel values below their levels to 0.
void CutLow(ZAV_SURFACE& surface, const uint8_t* header) {
  uint8_t levels[4];
  std::memcpy(levels, FieldBytes(header, Field::kCut), sizeof(levels));
  if (LoadLe32(levels) == 0) return;
  if (CodingOf(header[0]).channels == 3) levels[3] = 0;
  const int64_t bytes = ImageBytes(surface);
  for (int64_t i = 0; i < bytes; i += 4) {
    uint8_t* pixel = surface.pixels + i;
    for (int k = 0; k < 4; ++k) pixel[k] = pixel[k] < levels[k] ? uint8_t{0} : pixel[k];
  }
}

/// Decodes into a buffer that the surface owns. On failure it has none.
bool Decode(ZAV_SURFACE& surface, const uint8_t* header, const uint8_t* file, int64_t size) {
  JpegHeader found;
  if (!ReadJpegHeader(file, size, found) || !found.plausible || found.width != surface.width ||
      found.height != surface.height || found.channels != CodingOf(header[0]).channels) {
    return false;
  }
  if (!OwnPixels(surface, AllocateBytes(ImageBytes(surface)))) return false;
  if (!DecodeJpeg(
          file, size,
          {surface.pixels, surface.width, surface.height, surface.pitch, DecodedOrder(header)})) {
    ReleaseSurface(surface);
    return false;
  }
  CutLow(surface, header);
  return true;
}

// The mask has one bit per pixel, most significant first, without padding between rows.

int64_t MaskBytes(const ZAV_GFXDEF& picture) {
  return (int64_t{picture.width} * picture.height + 7) / 8;
}

void GatherMask(uint8_t* mask, const ZAV_SURFACE& picture) {
  uint32_t bits = 1;  // the top bit is a guard, which reaches bit 8 after eight pixels
  for (int64_t y = 0; y < picture.height; ++y) {
    const uint8_t* alpha = picture.pixels + y * picture.pitch + 3;
    for (int64_t x = 0; x < picture.width; ++x) {
      bits = bits << 1 | alpha[x * 4] >> 7;
      if (bits < 256) continue;
      *mask++ = static_cast<uint8_t>(bits);
      bits = 1;
    }
  }
  if (bits == 1) return;
  while (bits < 256) bits <<= 1;
  *mask = static_cast<uint8_t>(bits);
}

/// Sets the alpha bytes of a picture without row padding, which decoded pictures never have.
bool ApplyMask(ByteReader& chunks, ZAV_SURFACE& surface) {
  const Scratch scratch(kChunkBytes);
  if (scratch.get() == nullptr) return false;
  uint8_t* alpha = surface.pixels + 3;
  int64_t pixels = int64_t{surface.width} * surface.height;
  while (pixels > 0) {
    const int64_t covered = std::min(pixels, kChunkBytes * 8);
    if (!ReadChunk(chunks, scratch.get(), (covered + 7) / 8)) return false;
    for (int64_t i = 0; i < covered; ++i, alpha += 4) {
      *alpha = (scratch.get()[i / 8] << i % 8 & 0x80) != 0 ? 0xFF : 0x00;
    }
    pixels -= covered;
  }
  return true;
}

}  // namespace

bool WriteJpegLayer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition) {
  ScopedConverter conversion;
  const ZAV_SURFACE* picture = InFormat(conversion, definition, StoredFormat(HeaderBytes(layer)));
  ByteBuffer file;
  if (picture == nullptr || !Encode(file, layer, *picture)) return false;
  WriteLayerHeader(stream, layer);
  return stream.file().Write(file.data(), file.size());
}

bool ReadJpegLayer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted) {
  const uint8_t* header = TakeDefinition(stream, surface);
  if (header == nullptr || wanted == Wanted::kDefinition) return header != nullptr;
  const int64_t size = LoadRecordSize(header) - kHeaderBytes;
  const uint8_t* file = stream.block().Take(size);
  return file != nullptr && Decode(surface, header, file, size);
}

bool WriteJpegMaskLayer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition) {
  // Unlike the conversions of other writers, this one does not publish an environment value.
  ScopedConverter conversion;
  conversion.source.definition() = definition;
  conversion.dest.format = ZAV_FMT_BGRA32;
  if (!ConvertSurface(conversion)) return false;
  const int64_t mask_bytes = MaskBytes(conversion.dest);
  const Scratch mask(mask_bytes);
  ChunkWriter chunks(stream);
  if (mask.get() == nullptr || !chunks.is_ready()) return false;
  GatherMask(mask.get(), conversion.dest);

  MoveDestToSource(conversion, conversion);
  conversion.dest.format = StoredFormat(HeaderBytes(layer));
  ByteBuffer file;
  if (!ConvertSurface(conversion) || !Encode(file, layer, conversion.dest)) return false;
  WriteLayerHeader(stream, layer);
  uint8_t length[4];
  StoreLe32(length, static_cast<uint32_t>(file.size()));
  stream.file().Write(length, sizeof(length));
  stream.file().Write(file.data(), file.size());
  return chunks.Write(mask.get(), mask_bytes);
}

bool ReadJpegMaskLayer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted) {
  const uint8_t* header = TakeDefinition(stream, surface);
  if (header == nullptr || wanted == Wanted::kDefinition) return header != nullptr;
  ByteReader& block = stream.block();
  const int64_t size = block.Le32();
  const uint8_t* file = block.Take(size);
  ByteReader chunks = block;
  if (file == nullptr || !SkipChunks(block, MaskBytes(surface)) ||
      !Decode(surface, header, file, size)) {
    return false;
  }
  if (ApplyMask(chunks, surface)) return true;
  ReleaseSurface(surface);
  return false;
}

}  // namespace zav
