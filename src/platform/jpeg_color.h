// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "platform/jpeg_codec.h"

namespace zav {

// The colour steps that the codec does not have, over rows of four bytes to a coded pixel. Between
// RGB and YCbCr they are those of ITU-T T.871, in 16 bits of fraction and rounded as the codec does
// it for three channels, so that a picture has the same colours with and without alpha.

/// Y, Cb, Cr, alpha to pixels of the order; orders without alpha drop it.
void YccToRgb(uint8_t* out, const uint8_t* in, int32_t width, JpegOrder order);

/// Inks, stored inverted as files with an Adobe marker do, to opaque pixels.
void InksToRgb(uint8_t* out, const uint8_t* in, int32_t width, JpegOrder order);

/// Pixels of an order with alpha to Y, Cb, Cr, alpha.
void RgbToYcc(uint8_t* out, const uint8_t* in, int32_t width, JpegOrder order);

}  // namespace zav
