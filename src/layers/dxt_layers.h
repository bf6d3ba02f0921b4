// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "layers/layer_codec.h"

namespace zav {

// DXT layers store blocks that are ready for upload, unchanged or packed. The picture is padded to
// whole blocks by repeating its edge pixels; the reader reports the padded size.

bool WriteDxtLayer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition);
bool ReadDxtLayer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

}  // namespace zav
