// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

// Colors here are BGRA32 pixels as words (0xAARRGGBB); the alpha byte is ignored. A node at depth
// d of the tree covers the colors that agree in the top d bits of red, green and blue: a cube.

inline constexpr int32_t kMaxColors = 256;
inline constexpr int kLeafDepth = 8;

// A color's place in a table over cubes is the concatenation of some bits of blue, green and red.
// One multiplication gathers them at the top of a 32-bit word: it adds three shifted copies of the
// masked color, and only the right fields reach the top, without overlapping.

struct Place {
  uint32_t mask;
  uint32_t factor;
  int shift;

  constexpr uint32_t Of(uint32_t color) const { return ((color & mask) * factor) >> shift; }
};
inline constexpr Place kCell = {0xF0F0F0, 0x01001001, 20};     ///< the cube of depth 4: 12 bits
inline constexpr Place kSubcell = {0x0C0C0C, 0x10040100, 26};  ///< of depth 6 in its cell: 6 bits
inline constexpr Place kFine = {0x030303, 0x40100400, 26};     ///< of depth 8 in that: 6 bits

/// Sets the entries of a cube with sides of 2^free_bits in a table over 2^channel_bits values of
/// each channel; `place` is any place within the cube.
template <typename T>
void FillCube(T* table, uint32_t place, int channel_bits, int free_bits, T value) {
  const uint32_t side = 1u << free_bits;
  const uint32_t green = 1u << channel_bits;
  const uint32_t blue = green << channel_bits;
  T* cube = table + (place & ~((side - 1) * (1 + green + blue)));
  for (uint32_t b = 0; b < side; ++b) {
    for (uint32_t g = 0; g < side; ++g) {
      for (uint32_t r = 0; r < side; ++r) cube[b * blue + g * green + r] = value;
    }
  }
}

}  // namespace zav
