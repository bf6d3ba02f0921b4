// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

#include "surface/records.h"

namespace zav {

// Kernels among 24- and 32-bit true color and from 8-bit palettized pixels. Each converts every
// pixel of a prepared conversion; "Swap" exchanges red and blue. Symmetric pairs of formats share a
// kernel, since their bytes move alike. They return false only where a palette is missing.

bool Pal8ToBgra32(ZAV_CONVERTER& converter);
bool Pal8ToRgba32(ZAV_CONVERTER& converter);
bool Pal8ToBgr24(ZAV_CONVERTER& converter);
bool Pal8ToRgb24(ZAV_CONVERTER& converter);
bool SwapRedBlue32(ZAV_CONVERTER& converter);
bool Narrow32To24(ZAV_CONVERTER& converter);
bool Narrow32To24Swap(ZAV_CONVERTER& converter);
bool Widen24To32(ZAV_CONVERTER& converter);
bool Widen24To32Swap(ZAV_CONVERTER& converter);

/// Exchange bytes 0 and 2 of every 4- or 3-byte pixel in place.
void SwapRedBlue32(const ZAV_SURFACE& surface);
void SwapRedBlue24(const ZAV_SURFACE& surface);

}  // namespace zav
