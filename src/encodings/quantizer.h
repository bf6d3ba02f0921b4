// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "surface/records.h"

namespace zav {

/// Kernel from 32-bit BGRA to 8-bit palettized: chooses at most 256 colours for the picture, writes
/// all 256 palette entries (unused ones opaque white) and every index. Alpha has no influence. No
/// dithering and no search for the nearest colour: a pixel's colour is the average of its leaf of
/// an octree. False when memory runs out; palette and pixels are then as they were.
bool QuantizeToPal8(ZAV_CONVERTER& converter);

}  // namespace zav
