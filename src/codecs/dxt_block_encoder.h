// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace zav {

/// The most blocks an encoder takes at once.
inline constexpr size_t kMostDxtLanes = 16;

enum class DxtAlpha { kPunchThrough, kExplicit, kInterpolated };

/// Encodes blocks side by side. `rows` are the four rows of their pixels, 4 * kMostDxtLanes words
/// 0xAARRGGBB each, all of them readable; the first `count` blocks are written.
using DxtEncodeBlocks = void (*)(const uint32_t (*rows)[4 * kMostDxtLanes], DxtAlpha alpha,
                                 uint8_t* blocks, size_t count);

/// For every 8-bit value, the pair of stored ends (the second shifted left by 8) whose point a
/// third of the way between them (half, with two steps) is nearest to it.
struct OneColorEnds {
  int32_t five[2][256];
  int32_t six[2][256];
};

constexpr OneColorEnds MakeOneColorEnds() {
  OneColorEnds table{};
  for (int steps = 2; steps <= 3; ++steps) {
    for (int bits = 5; bits <= 6; ++bits) {
      int32_t* row = bits == 5 ? table.five[steps - 2] : table.six[steps - 2];
      int best[256] = {};
      for (int& error : best) error = 1 << 20;
      for (int a = 0; a < 1 << bits; ++a) {
        for (int b = 0; b < 1 << bits; ++b) {
          const int shown_a = a << (8 - bits) | a >> (2 * bits - 8);
          const int shown_b = b << (8 - bits) | b >> (2 * bits - 8);
          const int mixed = (steps - 1) * shown_a + shown_b;
          // Among equal errors, the closest pair: decoders round differently in between.
          const int spread = shown_a > shown_b ? shown_a - shown_b : shown_b - shown_a;
          const int low = mixed / steps - 3 < 0 ? 0 : mixed / steps - 3;
          for (int value = low; value <= 255 && value <= low + 7; ++value) {
            const int off = mixed / steps > value ? mixed / steps - value : value - mixed / steps;
            if (off * 256 + spread < best[value]) {
              best[value] = off * 256 + spread;
              row[value] = a | b << 8;
            }
          }
        }
      }
    }
  }
  return table;
}

inline const OneColorEnds kOneColor = MakeOneColorEnds();

struct DxtEncoder {
  const char* target;  ///< "plain" or the instruction set's name
  size_t lanes;        ///< blocks that it takes at once
  DxtEncodeBlocks encode;
};

const DxtEncoder& PlainDxtEncoder();
const DxtEncoder& SelectedDxtEncoder();

}  // namespace zav
