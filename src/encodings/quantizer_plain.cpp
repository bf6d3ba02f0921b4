// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "base/endian.h"
#include "encodings/quantizer_rows.h"

namespace zav {
namespace {

size_t FindUncovered(const CoveredColors& covered, const uint8_t* pixels, size_t count) {
  size_t i = 0;
  while (i < count && covered.Contains(LoadLe32(pixels + i * 4))) ++i;
  return i;
}

void Map(const IndexTable& table, LeafSums& sums, const uint8_t* pixels, uint8_t* dest,
         size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const uint32_t color = LoadLe32(pixels + i * 4);
    const uint32_t cell = table.cells()[kCell.Of(color)];
    uint32_t index = table.subcells()[(cell >> 6) + (kSubcell.Of(color) & cell)];
    if (index >= kMaxColors) index = table.Fine(color, index);
    dest[i] = static_cast<uint8_t>(index);
    std::array<uint32_t, 4>& lanes = sums[index].halves[0];
    lanes[0] += color & 0xFF;
    lanes[1] += color >> 8 & 0xFF;
    lanes[2] += color >> 16 & 0xFF;
    lanes[3] += 1;
  }
}

constexpr QuantizerRows kPlain = {.target = "plain", .find_uncovered = FindUncovered, .map = Map};

}  // namespace

const QuantizerRows& PlainQuantizerRows() { return kPlain; }

}  // namespace zav
