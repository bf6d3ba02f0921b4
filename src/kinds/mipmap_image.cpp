// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "kinds/mipmap_image.h"

#include <algorithm>

#include "convert/mip_level.h"
#include "convert/pipeline.h"
#include "layers/layer_dispatch.h"

namespace zav {
namespace {

bool IsPowerOfTwo(int32_t side) { return side > 0 && (side & (side - 1)) == 0; }

/// Whether the source can be written to any kind of layer.
bool IsUsable(ZAV_CONVERTER& picture) {
  const ZAV_SURFACE& source = picture.source;
  return CheckSource(picture) && HasKernels(source.format) &&
         (source.format != ZAV_FMT_PAL8 || source.palette != nullptr);
}

/// The number of levels that the longer side allows.
int64_t PossibleLevels(const ZAV_SURFACE& picture, uint8_t layer_kind) {
  const bool blocks = layer_kind >= ZAV_LAYER_DXT1 && layer_kind <= ZAV_LAYER_DXT5;
  const int32_t smallest = blocks ? 4 : 1;
  int64_t levels = 1;
  for (int32_t side = std::max(picture.width, picture.height); side > smallest; side /= 2) ++levels;
  return levels;
}

/// Writes the levels, the first from the converter's source. Returns how many were written.
int64_t WriteLevels(ZAV_STREAM& stream, ZAV_LAYER& layer, ZAV_CONVERTER& level, int64_t wanted) {
  int64_t written = 0;
  for (int64_t i = 0; i < wanted; ++i) {
    if (i > 0) {
      if (!GenerateMipLevel(level)) break;
      MoveDestToSource(level, level);
    }
    if (WriteLayer(stream, &layer, &level.source)) ++written;
  }
  return written;
}

}  // namespace

bool WriteMipmapImage(ZAV_STREAM& stream, const char* name, int64_t levels, ZAV_LAYER* layer,
                      const ZAV_GFXDEF* definition) {
  if (layer == nullptr || HeaderLength(layer->kind) == 0 || definition == nullptr ||
      !IsPowerOfTwo(definition->width) || !IsPowerOfTwo(definition->height)) {
    return false;
  }
  ScopedConverter level;
  level.source.definition() = *definition;
  if (!IsUsable(level)) return false;
  const int64_t wanted = std::clamp<int64_t>(levels, 0, PossibleLevels(level.source, layer->kind));
  const auto prepare = [&](ZAV_LAYER& header) {
    StoreField(header, Field::kLevels, static_cast<uint32_t>(wanted));
    return true;
  };
  const auto write_levels = [&](RecordFrame& frame, ZAV_LAYER& header) {
    const int64_t written = WriteLevels(stream, *layer, level, wanted);
    frame.Patch(header, Field::kLevels, static_cast<uint32_t>(written));
    return true;
  };
  return WriteImageRecord(stream, ZAV_REC_MIPMAP, name, layer, prepare, write_levels);
}

bool ReadMipmapImage(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted) {
  ZAV_LAYER header;
  return ReadImageHeader(stream, ZAV_REC_MIPMAP, header) && ReadLayer(stream, surface, wanted);
}

}  // namespace zav
