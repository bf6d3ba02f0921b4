// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "surface/records.h"

namespace zav {

/// Writes the fixed masks of formats 7 to 10 into the surface; a custom layout keeps its masks.
void PrepareHicolorMasks(ZAV_SURFACE& surface);

// Kernels between true color and the 16-bit layouts. Narrowing keeps a channel's top bits;
// widening puts the stored bits at the top of the byte. They always return true.
bool BGRA32ToHicolor(ZAV_CONVERTER& converter);
bool RGBA32ToHicolor(ZAV_CONVERTER& converter);
bool BGR24ToHicolor(ZAV_CONVERTER& converter);
bool RGB24ToHicolor(ZAV_CONVERTER& converter);
bool HicolorToBGRA32(ZAV_CONVERTER& converter);

/// How BGRA32ToHicolor writes the 565 and 555 layouts without alpha: one pixel at a time; with
/// vectors and ordinary stores; with vectors, and non-temporal stores for large pictures. All write
/// the same pixels. Other layouts and sources always use the fastest code.
enum class HicolorVariant : uint32_t { kPlain, kMmx, kSse };

/// Chooses the variant by the processor's feature word: SSE before MMX before plain. One word is
/// stored, so this may happen while another thread converts.
void SelectHicolorVariant(uint32_t processor_bits);
HicolorVariant SelectedHicolorVariant();

}  // namespace zav
