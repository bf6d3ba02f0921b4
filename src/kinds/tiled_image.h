// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "layers/layer_codec.h"

namespace zav {

// A tiled image stores a picture of any size as layers whose sides are powers of two, at most 256,
// for renderers that are limited to such textures.

/// Writes the record: a name, which may be null, and one layer for each tile. Palettized layers are
/// cut from one palettized picture, all others from a ZAV_FMT_BGRA32 one. A failure fails the
/// stream; a picture that cannot be converted writes nothing.
bool WriteTiledImage(ZAV_STREAM& stream, const char* name, ZAV_LAYER* layer,
                     const ZAV_GFXDEF* definition);

/// Reads the record as one picture, with a pitch that is a multiple of 8. The picture has the first
/// tile's format if that is ZAV_FMT_PAL8, true color or a fixed 16-bit layout, otherwise
/// ZAV_FMT_BGRA32. If the palettes of tiles differ, the picture is ZAV_FMT_BGRA32 as well; this is
/// only known once the pixels are read.
bool ReadTiledImage(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

}  // namespace zav
