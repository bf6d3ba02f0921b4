// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "kinds/plain_image.h"

#include "layers/layer_dispatch.h"

namespace zav {
namespace {

bool ReadFirstLayer(ZAV_STREAM& stream, uint8_t kind, char* name, ZAV_SURFACE& surface,
                    Wanted wanted) {
  ZAV_LAYER header;
  return ReadImageHeader(stream, kind, name, header) && ReadLayer(stream, surface, wanted);
}

}  // namespace

bool WriteImage(ZAV_STREAM& stream, const char* name, ZAV_LAYER* layer,
                const ZAV_GFXDEF* definition) {
  return WriteImageRecord(
      stream, ZAV_REC_IMAGE, name, layer, [](ZAV_LAYER&) { return true; },
      [&](RecordFrame&) { return WriteLayer(stream, layer, definition); });
}

bool ReadPlainImage(ZAV_STREAM& stream, char* name, ZAV_SURFACE& surface, Wanted wanted) {
  return ReadFirstLayer(stream, ZAV_REC_IMAGE, name, surface, wanted);
}

bool ReadMipmapImage(ZAV_STREAM& stream, char* name, ZAV_SURFACE& surface, Wanted wanted) {
  return ReadFirstLayer(stream, ZAV_REC_MIPMAP, name, surface, wanted);
}

}  // namespace zav
