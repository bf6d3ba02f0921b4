// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "kinds/container_reader.h"

#include "convert/pipeline.h"
#include "kinds/mipmap_image.h"
#include "kinds/plain_image.h"
#include "kinds/squiz_image.h"
#include "kinds/tiled_image.h"

namespace zav {
namespace {

struct ImageRow {
  int32_t kind;
  bool (*read)(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);
};

constexpr ImageRow kImageRows[] = {
    {ZAV_REC_TILED, ReadTiledImage},
    {ZAV_REC_IMAGE, ReadPlainImage},
    {ZAV_REC_SQUIZ, ReadSquizImage},
    {ZAV_REC_MIPMAP, ReadMipmapImage},
};

const ImageRow* FindImage(int32_t kind) {
  for (const ImageRow& row : kImageRows) {
    if (row.kind == kind) return &row;
  }
  return nullptr;
}

bool ReadFirstImage(const uint8_t* data, int64_t size, ZAV_SURFACE& surface, Wanted wanted) {
  ZAV_STREAM stream;
  if (!stream.OpenRead(data, size)) return false;
  int32_t kind = ZAV_KIND_END;
  while (PeekKind(stream, kind) && kind != ZAV_KIND_END) {
    if (const ImageRow* row = FindImage(kind)) {
      return row->read(stream, surface, wanted);
    }
    // A failed skip still advances, so damage before an image does not hide the image.
    SkipRecord(stream);
  }
  return false;
}

}  // namespace

bool ContainerRead(ZAV_CONVERTER& converter, const uint8_t* data, int64_t size) {
  ScopedConverter read;
  if (!ReadFirstImage(data, size, read.source, Wanted::kPicture)) return false;
  MoveSource(converter, read);
  return converter.dest.format == 0 || ConvertSurface(converter);
}

bool ContainerGetFormat(ZAV_GFXDEF& out, const uint8_t* data, int64_t size) {
  ScopedConverter read;
  if (!ReadFirstImage(data, size, read.source, Wanted::kDefinition)) return false;
  out = read.source.definition();
  return true;
}

}  // namespace zav
