// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "layers/layer_codec.h"

namespace zav {

// Packed layers cut channels to the number of bits in the record, and store the result without
// loss. Their readers allocate.

/// 32-bit pixels, interleaved or as four planes.
bool WritePacked32Layer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition);
bool ReadPacked32Layer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

/// A palette and indices. A palettized picture is stored unchanged if all bits are kept; any other
/// picture is cut, then quantized.
bool WritePackedPal8Layer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition);
bool ReadPackedPal8Layer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

}  // namespace zav
