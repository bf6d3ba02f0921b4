// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "surface/records.h"

namespace zav {

/// Kernel from 32-bit BGRA to 8-bit palettized: chooses at most 256 colors for the picture, writes
/// all 256 palette entries (unused ones opaque white) and every index. Alpha has no influence.
/// There is no dithering and no search for the nearest color: a pixel gets the average color of its
/// leaf in an octree. False when memory runs out; palette and pixels are then unchanged.
bool QuantizeToPal8(ZAV_CONVERTER& converter);

}  // namespace zav
