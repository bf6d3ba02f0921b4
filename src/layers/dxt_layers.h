// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "layers/layer_codec.h"

namespace zav {

// DXT layers hold blocks ready to be uploaded, as they are or packed once more. The picture is
// padded to whole blocks with its nearest edge pixels; the reader reports the padded size.

bool WriteDxtLayer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition);
bool ReadDxtLayer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

}  // namespace zav
