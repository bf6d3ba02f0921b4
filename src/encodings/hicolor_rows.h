// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "encodings/hicolor.h"

namespace zav {

/// One channel of a 16-bit pixel.
struct HicolorChannel {
  uint16_t mask;   ///< its bits in the pixel; possibly none, scattered, or shared
  uint16_t reach;  ///< those of them that the 8 bits of a value reach when the top bits meet
  int32_t shift;   ///< places from the mask's top bit to bit 15
};

/// A 16-bit layout as the row functions want it, set up once per conversion. The channels stand in
/// the order of the true-colour pixel's bytes, which makes one function serve both channel orders.
struct HicolorLayout {
  std::array<HicolorChannel, 4> channels;  ///< the fourth is alpha
  uint8_t fill;  ///< widening: the bits of the alpha byte below the field, set from 128 up
};

/// Converts `count` consecutive pixels and returns which code it is. The buffers are apart.
using HicolorRow = const HicolorRun* (*)(const HicolorLayout& layout, const uint8_t* source,
                                         uint8_t* dest, size_t count);

/// One row function in its two ways of storing. The streamed one needs the table's `flush` after
/// the last row.
struct HicolorRowPair {
  HicolorRow stored;
  HicolorRow streamed;
};

/// One implementation of the row functions.
struct HicolorRows {
  HicolorRowPair narrow_32;
  HicolorRowPair narrow_24;  ///< every pixel gets the whole alpha mask
  HicolorRowPair widen;      ///< to 32 bits
  void (*flush)();
};

/// The reference: one pixel at a time, ordinary stores.
const HicolorRows& PlainHicolorRows();

/// The fastest for this processor, or the one that a test forced (platform/vector_target.h).
const HicolorRows& SelectedHicolorRows();

}  // namespace zav
