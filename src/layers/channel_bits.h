// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

// Channels of 32-bit pixels cut to their top bits and widened again. Counts above 8 are 8.

/// The number of bits kept of each byte of a pixel.
struct ChannelBits {
  /// From a record's field, which lists pixel bytes 2, 1, 0, 3.
  explicit ChannelBits(const uint8_t* record);

  bool AllKept() const;

  int32_t kept[4];  ///< by pixel byte, 0 to 8
};

/// Moves the kept bits down to the low end of each byte.
void CutChannels(uint8_t* pixels, int64_t count, const ChannelBits& bits);

/// Moves them back up. The lost bits become copies of the channel's top bit; an alpha with no bits
/// becomes opaque.
void WidenChannels(uint8_t* pixels, int64_t count, const ChannelBits& bits);

/// The mask that keeps the top bits of a ZAV_FMT_BGRA32 pixel, from a record's field, which lists
/// red, green, blue and alpha.
uint32_t BitMask(const uint8_t* record);

/// Applies the mask to pixels read as words.
void MaskPixels(uint8_t* pixels, int64_t count, uint32_t mask);

}  // namespace zav
