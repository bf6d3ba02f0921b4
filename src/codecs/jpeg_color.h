// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "codecs/jpeg_codec.h"

namespace zav {

// Rows of four channels. The codec has no color space for YCbCr with alpha, but it has one for inks
// that are coded as the YCbCr of their opposites, with a fourth ink left as it is. So it is given
// 255 minus red, green and blue as inks, and alpha as the fourth. Its color conversion then gives
// the same results as for three channels.

/// Turns the codec's opposites and alpha into pixels of the order; orders without alpha drop it.
/// For an order with alpha this is its own inverse, so it also turns pixels into opposites.
void TurnToOpposites(uint8_t* out, const uint8_t* in, int32_t width, JpegOrder order);

/// Turns inks, stored inverted as files with an Adobe marker do, into opaque pixels.
void InksToPixels(uint8_t* out, const uint8_t* in, int32_t width, JpegOrder order);

}  // namespace zav
