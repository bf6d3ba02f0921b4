// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "frame/container_entry_points.h"

#include <new>

#include "base/heap.h"
#include "convert/pipeline.h"
#include "frame/image_operation.h"
#include "layers/layer_dispatch.h"
#include "surface/surface.h"

namespace zav {
namespace {

template <typename Open>
ZAV_STREAM* OpenStream(Open&& open) {
  void* memory = AllocateBytes(sizeof(ZAV_STREAM));
  if (memory == nullptr) return nullptr;
  auto* stream = new (memory) ZAV_STREAM;
  if (open(*stream)) return stream;
  CloseStream(stream);
  return nullptr;
}

}  // namespace

ZAV_STREAM* OpenWriteStream(const char* path) {
  return OpenStream([path](ZAV_STREAM& stream) { return stream.OpenWrite(path); });
}

ZAV_STREAM* OpenReadStream(const uint8_t* data, int64_t size) {
  return OpenStream([=](ZAV_STREAM& stream) { return stream.OpenRead(data, size); });
}

void CloseStream(ZAV_STREAM* stream) {
  if (stream == nullptr) return;
  stream->~ZAV_STREAM();
  FreeBytes(stream);
}

bool DecodeBitmap(ZAV_STREAM* stream, ZAV_IMAGE* image) {
  if (stream == nullptr || image == nullptr || image->converter == nullptr) return false;
  ZAV_CONVERTER& converter = *image->converter;
  LoadRecords(*image);
  ReleaseSurfaces(converter, true, false);
  const bool read = ReadLayer(*stream, converter.source, Wanted::kPicture);
  if (read) {
    if (converter.dest.format != 0) ConvertSurface(converter);
    converter.placed_pixels = converter.source.pixels;
    converter.placed_palette = converter.source.palette;
  }
  StoreRecords(*image);
  return read;
}

bool DecodeBitmapFormat(ZAV_STREAM* stream, ZAV_GFXDEF* definition) {
  if (stream == nullptr || definition == nullptr) return false;
  ScopedConverter read;
  const int64_t position = stream->block().position();
  const bool found = ReadLayer(*stream, read.source, Wanted::kDefinition);
  stream->block().Seek(position);
  *definition = read.source.definition();
  return found;
}

}  // namespace zav
