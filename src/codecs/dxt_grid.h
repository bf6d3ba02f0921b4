// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// Colours that the library itself has widened from 16 bits lie on a grid of multiples of 8, 4 and
/// 8. For a block that lies on it wholly, looks for a colour block that the library's own decoder
/// turns back into exactly these colours, and writes it over the one in `block` unless that one
/// does already. Leaves `block` alone when the colours allow none.
///
/// `rows` are four rows of words 0xAARRGGBB; with punch-through alpha, pixels below 128 are
/// transparent and their colours do not matter.
void MakeGridBlockExact(const uint32_t* const rows[4], bool punch_through, uint8_t* block);

}  // namespace zav
