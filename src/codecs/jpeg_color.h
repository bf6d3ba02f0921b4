// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "codecs/jpeg_codec.h"

namespace zav {

// Rows of four channels. The codec has no name for YCbCr with alpha, but one for inks that are
// coded as YCbCr of their opposites, with a fourth ink that it does not touch: what it takes for
// ink is 255 less red, green and blue, and alpha. So its own colour steps serve, with the results
// that they have for three channels.

/// The codec's opposites and alpha to pixels of the order; orders without alpha drop it. With an
/// order that has alpha it is its own reverse, and also makes opposites of pixels.
void TurnToOpposites(uint8_t* out, const uint8_t* in, int32_t width, JpegOrder order);

/// Inks, stored inverted as files with an Adobe marker do, to opaque pixels.
void InksToPixels(uint8_t* out, const uint8_t* in, int32_t width, JpegOrder order);

}  // namespace zav
