// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "frame/records.h"

namespace zav {

/// Writes the fixed masks of formats 7 to 10 into the surface (a custom layout keeps its own) and
/// derives the four shifts.
void PrepareHicolorMasks(ZAV_SURFACE& surface);

/// The left shift that brings the highest set bit of a 16-bit mask to bit 15; 0 for an empty mask.
int32_t DeriveShift(uint32_t mask);

// Kernels between true colour and the 16-bit layouts. Narrowing keeps a channel's top bits;
// widening puts the stored bits at the top of the byte. They always return true.
bool BGRA32ToHicolor(ZAV_CONVERTER& converter);
bool RGBA32ToHicolor(ZAV_CONVERTER& converter);
bool BGR24ToHicolor(ZAV_CONVERTER& converter);
bool RGB24ToHicolor(ZAV_CONVERTER& converter);
bool HicolorToBGRA32(ZAV_CONVERTER& converter);

}  // namespace zav
