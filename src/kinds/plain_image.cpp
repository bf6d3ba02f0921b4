// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "kinds/plain_image.h"

#include "layers/layer_dispatch.h"

namespace zav {
bool WriteImage(ZAV_STREAM& stream, const char* name, ZAV_LAYER* layer,
                const ZAV_GFXDEF* definition) {
  return WriteImageRecord(
      stream, ZAV_REC_IMAGE, name, layer, [](ZAV_LAYER&) { return true; },
      [&](RecordFrame&, ZAV_LAYER&) { return WriteLayer(stream, layer, definition); });
}

bool ReadPlainImage(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted) {
  ZAV_LAYER header;
  return ReadImageHeader(stream, ZAV_REC_IMAGE, header) && ReadLayer(stream, surface, wanted);
}

}  // namespace zav
