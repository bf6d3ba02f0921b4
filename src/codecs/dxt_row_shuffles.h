// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// For every index byte of a block's row, the byte shuffle that spreads four 4-byte colors to four
/// pixels.
struct DxtRowShuffles {
  alignas(16) uint8_t control[256][16];
};

constexpr DxtRowShuffles MakeDxtRowShuffles() {
  DxtRowShuffles shuffles{};
  for (uint32_t indices = 0; indices < 256; ++indices) {
    for (uint32_t k = 0; k < 16; ++k) {
      shuffles.control[indices][k] = static_cast<uint8_t>((indices >> (k / 4 * 2) & 3) * 4 + k % 4);
    }
  }
  return shuffles;
}

inline constexpr DxtRowShuffles kDxtRowShuffles = MakeDxtRowShuffles();

}  // namespace zav
