// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "layers/layer_codec.h"

namespace zav {

// Plain layers hold rows as they lie in memory, padding included. Their readers point into the
// stream's block.

/// A palette up to its last entry that is not zero, then indices. A reader fills missing entries
/// with 0xFF, in a palette that the surface owns; a full palette is used in place.
bool WritePal8Layer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition);
bool ReadPal8Layer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

/// Kinds ZAV_LAYER_HICOLOR, ZAV_LAYER_TRUE24 and ZAV_LAYER_TRUE32; the variant names the format.
/// Writing refuses variants that the kind has not got, reading takes them for its last one.
bool WriteColorLayer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition);
bool ReadColorLayer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

}  // namespace zav
