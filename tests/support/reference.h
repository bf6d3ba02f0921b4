// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "zav.h"

namespace zav::test {

// A second, slow statement of what conversions do: one pixel at a time, through plain integers,
// without any code of the library's conversion rooms.

struct Bgra {
  uint32_t blue, green, red, alpha;
};

using BgraPicture = std::vector<Bgra>;

/// Bytes of a pixel; 0 for codes that are none or have no fixed pixels.
int ReferenceBytes(int format);

/// The masks alpha, red, green, blue of a 16-bit definition.
std::array<uint32_t, 4> ReferenceMasks(const ZAV_GFXDEF& definition);

/// The pixels of an uncompressed picture, row by row.
BgraPicture ReferenceDecode(const ZAV_GFXDEF& definition);

/// One pixel's bytes in a true-colour or 16-bit format, as a little-endian word.
uint32_t ReferenceEncode(const Bgra& pixel, int format, const std::array<uint32_t, 4>& masks);

/// Scaling, by points or bilinear.
BgraPicture ReferenceScale(const BgraPicture& source, int width, int height, int new_width,
                           int new_height, bool filter);

}  // namespace zav::test
