// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "surface/records.h"

namespace zav {

// The scaling loops: from a surface to a prepared one of the same format and another size. They do
// nothing unless formats and bytes per pixel agree, both have pixels, and all sides are at least 1.
//
// Positions are 16.16 fixed point. The steps are truncated quotients, and positions accumulate
// them; sums that would pass 32 bits (sides of 32768 and more) are carried in 64.

/// Nearest pixel: destination i takes source i * step, with step = source size / destination size.
void ResamplePoint(const ZAV_SURFACE& source, const ZAV_SURFACE& dest);

/// Bilinear filter for pixels of 3 and 4 bytes; other pixels are left alone. The step divides
/// size - 1, so the last pixel stays short of the source's last. Each byte is blended as
/// p + floor((q - p) * fraction / 65536), across, then down; a zero fraction reads no neighbour.
void ResampleBilinear(const ZAV_SURFACE& source, const ZAV_SURFACE& dest);

}  // namespace zav
