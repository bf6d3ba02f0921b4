// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "zav.h"

namespace zav::test {

// The plain reference of the conversions: one pixel at a time, in plain integers, without any of
// the library's conversion code.

struct Bgra {
  uint32_t blue, green, red, alpha;
};

using BgraPicture = std::vector<Bgra>;

/// Bytes of a pixel; 0 for other codes and formats without whole bytes.
int ReferenceBytes(int format);

/// The masks alpha, red, green, blue of a 16-bit definition.
std::array<uint32_t, 4> ReferenceMasks(const ZAV_GFXDEF& definition);

/// The pixels of an uncompressed picture, row by row.
BgraPicture ReferenceDecode(const ZAV_GFXDEF& definition);

/// A pixel's bytes in a true-color or 16-bit format, as a little-endian word.
uint32_t ReferenceEncode(const Bgra& pixel, int format, const std::array<uint32_t, 4>& masks);

/// Scaling, by points or bilinear.
BgraPicture ReferenceScale(const BgraPicture& source, int width, int height, int new_width,
                           int new_height, bool filter);

}  // namespace zav::test
