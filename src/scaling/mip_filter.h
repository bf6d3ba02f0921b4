// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

#include "surface/records.h"

namespace zav {

// Reduction of 32-bit pixels, alpha in byte 3, to half the size. The order of the other three
// channels does not matter.

/// Makes `count` pixels from twice as many in each of two rows. They are averages weighted by
/// alpha, or unweighted where all four pixels are transparent; every quotient is truncated.
using MipRow = void (*)(const uint8_t* upper, const uint8_t* lower, uint8_t* dest, size_t count);

/// One implementation of the filter that does nearly all the work.
struct MipFilter {
  const char* target;  ///< "plain" or the instruction set's name
  MipRow weighted;
};

/// The reference: one pixel at a time.
const MipFilter& PlainMipFilter();

/// The fastest for this processor, or the one that a test forced (platform/vector_target.h).
const MipFilter& SelectedMipFilter();

/// Fills a destination of at most half the source's sides (at least 1). Pictures that are one pixel
/// high or wide are made from pairs: pixels of the upper row alone, or of the left column alone.
void FilterMipLevel(const ZAV_SURFACE& source, const ZAV_SURFACE& dest);

}  // namespace zav
