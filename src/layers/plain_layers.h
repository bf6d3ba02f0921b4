// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "layers/layer_codec.h"

namespace zav {

// Plain layers store rows as they are in memory, padding included. Their readers point into the
// stream's block.

/// A palette up to its last entry that is not zero, then indices. A full palette is read in place;
/// otherwise the surface owns a palette whose missing entries are 0xFF.
bool WritePal8Layer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition);
bool ReadPal8Layer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

/// Kinds ZAV_LAYER_HICOLOR, ZAV_LAYER_TRUE24 and ZAV_LAYER_TRUE32; the variant names the format.
/// An unknown variant is refused when writing and read as the kind's last one.
bool WriteColorLayer(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition);
bool ReadColorLayer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

}  // namespace zav
