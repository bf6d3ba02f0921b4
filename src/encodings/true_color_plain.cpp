// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <cstring>

#include "encodings/true_color_rows.h"

namespace zav {
namespace {

// Every byte shuffle is this loop; kSwap exchanges bytes 0 and 2. Pixels are read whole before they
// are written, so a swap can work in place.
template <size_t kSourceBytes, size_t kDestBytes, bool kSwap>
void ShuffleRow(const uint8_t* source, uint8_t* dest, size_t count) {
  for (size_t i = 0; i < count; ++i, source += kSourceBytes, dest += kDestBytes) {
    const uint8_t first = source[kSwap ? 2 : 0];
    const uint8_t second = source[1];
    const uint8_t third = source[kSwap ? 0 : 2];
    if constexpr (kDestBytes == 4) dest[3] = kSourceBytes == 4 ? source[3] : uint8_t{0xFF};
    dest[0] = first;
    dest[1] = second;
    dest[2] = third;
  }
}

void Lookup32Row(const uint8_t* source, const uint8_t* palette, uint8_t* dest, size_t count) {
  for (size_t i = 0; i < count; ++i) std::memcpy(dest + i * 4, palette + source[i] * size_t{4}, 4);
}

void Lookup24Row(const uint8_t* source, const uint8_t* palette, uint8_t* dest, size_t count) {
  for (size_t i = 0; i < count; ++i, dest += 3) {
    const uint8_t* entry = palette + source[i] * size_t{4};
    dest[0] = entry[0];
    dest[1] = entry[1];
    dest[2] = entry[2];
  }
}

constexpr TrueColorRows kRows = {
    .swap_red_blue_32 = ShuffleRow<4, 4, true>,
    .swap_red_blue_24 = ShuffleRow<3, 3, true>,
    .narrow_32_to_24 = ShuffleRow<4, 3, false>,
    .narrow_32_to_24_swap = ShuffleRow<4, 3, true>,
    .widen_24_to_32 = ShuffleRow<3, 4, false>,
    .widen_24_to_32_swap = ShuffleRow<3, 4, true>,
    .lookup_32 = Lookup32Row,
    .lookup_24 = Lookup24Row,
};

constexpr TrueColorTables kPlain = {.target = "plain", .rows = kRows, .streaming = kRows};

}  // namespace

const TrueColorTables& PlainTrueColor() { return kPlain; }

}  // namespace zav
