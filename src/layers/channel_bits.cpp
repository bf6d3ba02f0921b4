// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "layers/channel_bits.h"

#include <algorithm>
#include <iterator>

#include "base/endian.h"

namespace zav {
namespace {

constexpr int32_t Bits(uint8_t stored) { return std::min<int32_t>(stored, 8); }

/// The top `bits` bits of a byte.
constexpr uint32_t TopBits(uint8_t stored) { return 0xFF00u >> Bits(stored) & 0xFF; }

}  // namespace

ChannelBits::ChannelBits(const uint8_t* record)
    : kept{Bits(record[2]), Bits(record[1]), Bits(record[0]), Bits(record[3])} {}

bool ChannelBits::AllKept() const {
  return std::all_of(std::begin(kept), std::end(kept), [](int32_t bits) { return bits == 8; });
}

void CutChannels(uint8_t* pixels, int64_t count, const ChannelBits& bits) {
  if (bits.AllKept()) return;
  const int32_t shift[4] = {8 - bits.kept[0], 8 - bits.kept[1], 8 - bits.kept[2], 8 - bits.kept[3]};
  for (uint8_t* end = pixels + count * 4; pixels != end; pixels += 4) {
    for (int k = 0; k < 4; ++k) pixels[k] = static_cast<uint8_t>(pixels[k] >> shift[k]);
  }
}

void WidenChannels(uint8_t* pixels, int64_t count, const ChannelBits& bits) {
  if (bits.AllKept()) return;
  uint8_t wide[4][256];
  for (int k = 0; k < 4; ++k) {
    const int32_t kept = bits.kept[k];
    for (uint32_t stored = 0; stored < 256; ++stored) {
      const uint32_t top = stored << (8 - kept) & 0xFF;
      const bool filled = (top & 0x80) != 0 || (k == 3 && kept == 0);
      wide[k][stored] = static_cast<uint8_t>(filled ? top | 0xFFu >> kept : top);
    }
  }
  for (uint8_t* end = pixels + count * 4; pixels != end; pixels += 4) {
    for (int k = 0; k < 4; ++k) pixels[k] = wide[k][pixels[k]];
  }
}

uint32_t BitMask(const uint8_t* record) {
  return TopBits(record[3]) << 24 | TopBits(record[0]) << 16 | TopBits(record[1]) << 8 |
         TopBits(record[2]);
}

void MaskPixels(uint8_t* pixels, int64_t count, uint32_t mask) {
  if (mask == UINT32_MAX) return;
  for (uint8_t* end = pixels + count * 4; pixels != end; pixels += 4) {
    StoreLe32(pixels, LoadLe32(pixels) & mask);
  }
}

}  // namespace zav
