// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "layers/layer_codec.h"

namespace zav {

/// Writes a mipmap image record: a name, which may be null, and at most `levels` layers, each with
/// half the sides of the one before, down to 1 x 1. With DXT layers the longer side is at least 4.
/// A level that cannot be written is left out. Null arguments, sides that are not powers of two and
/// pictures that cannot be converted are refused: nothing is written and the stream does not fail.
bool WriteMipmapImage(ZAV_STREAM& stream, const char* name, int64_t levels, ZAV_LAYER* layer,
                      const ZAV_GFXDEF* definition);

/// Reads the record's header and its first level. A record of another kind fails the stream.
bool ReadMipmapImage(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

}  // namespace zav
