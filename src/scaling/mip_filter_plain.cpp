// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "scaling/mip_filter.h"

namespace zav {
namespace {

void WeightedRow(const uint8_t* upper, const uint8_t* lower, uint8_t* dest, size_t count) {
  for (size_t x = 0; x < count; ++x, upper += 8, lower += 8, dest += 4) {
    const uint32_t alpha = uint32_t{upper[3]} + upper[7] + lower[3] + lower[7];
    for (size_t c = 0; c < 3; ++c) {
      if (alpha == 0) {
        dest[c] = static_cast<uint8_t>((upper[c] + upper[c + 4] + lower[c] + lower[c + 4]) / 4);
        continue;
      }
      const uint32_t sum = uint32_t{upper[c]} * upper[3] + uint32_t{upper[c + 4]} * upper[7] +
                           uint32_t{lower[c]} * lower[3] + uint32_t{lower[c + 4]} * lower[7];
      dest[c] = static_cast<uint8_t>(sum / alpha);
    }
    dest[3] = static_cast<uint8_t>(alpha / 4);
  }
}

constexpr MipFilter kPlain = {.target = "plain", .weighted = WeightedRow};

}  // namespace

const MipFilter& PlainMipFilter() { return kPlain; }

}  // namespace zav
