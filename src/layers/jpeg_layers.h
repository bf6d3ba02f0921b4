// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "layers/layer_codec.h"

namespace zav {

// JPEG layers contain a whole JPEG file. Their readers return ZAV_FMT_BGRA32, with channel values
// below the record's cut levels set to 0.

/// Kinds ZAV_LAYER_JPEG32 and ZAV_LAYER_JPEG24.
bool WriteJpegLayer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition);
bool ReadJpegLayer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

/// ZAV_LAYER_JPEGMASK: three channels, and a packed mask of the alpha values' top bits.
bool WriteJpegMaskLayer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition);
bool ReadJpegMaskLayer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

}  // namespace zav
