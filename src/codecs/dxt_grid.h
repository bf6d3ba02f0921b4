// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// Colors that the library has widened from 16 bits lie on a grid of multiples of 8, 4 and 8. If
/// the whole block lies on it, looks for a color block that the library's decoder turns back into
/// exactly these colors, and writes it over the one in `block` unless that one already does. Leaves
/// `block` alone when there is none.
///
/// `rows` are four rows of words 0xAARRGGBB; with punch-through alpha, pixels below 128 are
/// transparent and their colors do not matter.
void MakeGridBlockExact(const uint32_t* const rows[4], bool punch_through, uint8_t* block);

}  // namespace zav
