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
  uint16_t reach;  ///< the bits of `mask` that a byte covers when their tops are aligned
  int32_t shift;   ///< places from the mask's top bit to bit 15
};

/// Narrowing by products: every byte times a power of two, summed. Pairs of neighbouring bytes
/// first, then the two sums, then `places` down. Exact if no two fields share a bit.
struct HicolorProducts {
  bool exact;
  uint32_t kept;          ///< the bits of the pixel's bytes that reach the word
  uint32_t byte_weights;  ///< four bytes
  uint32_t sum_weights;   ///< two words
  int32_t places;
};

/// Widening of two channels into the low and the high byte of a word: the pixel times a power of
/// two, masked.
struct HicolorPair {
  uint16_t mask;              ///< the bits of both bytes that are filled
  uint16_t low_up, low_down;  ///< low byte: times low_up, or times low_down / 65536; one is 0
  uint16_t high_up;
};

/// A 16-bit layout as the row functions use it, set up once per conversion. The channels are in the
/// order of the true-color pixel's bytes, so one function handles both channel orders.
struct HicolorLayout {
  std::array<HicolorChannel, 4> channels;  ///< the fourth is alpha
  uint8_t opaque = 0;                      ///< widening: alpha for a layout without it
  uint8_t fill = 0;  ///< widening: the bits of the alpha byte below the field, set from 128 up
  HicolorProducts products{};          ///< narrowing
  std::array<HicolorPair, 2> pairs{};  ///< widening: channels 0 and 2, channels 1 and 3
};

enum class ChannelOrder : uint8_t { kRedFirst, kBlueFirst };

/// The layout of a surface whose masks are set, for narrowing pixels of 3 or 4 bytes to it. Without
/// an alpha byte, alpha has a mask and no reach.
HicolorLayout NarrowingLayout(const ZAV_SURFACE& surface, ChannelOrder order,
                              int32_t true_color_bytes);
/// The same, for widening to 32-bit BGRA.
HicolorLayout WideningLayout(const ZAV_SURFACE& surface);

/// Converts `count` consecutive pixels. The buffers do not overlap.
using HicolorRow = void (*)(const HicolorLayout& layout, const uint8_t* source, uint8_t* dest,
                            size_t count);

/// A row function for any destination, and one that streams whole cache lines.
struct HicolorRowPair {
  HicolorRow stored;
  HicolorRow streamed;
};

/// One implementation of the row functions.
struct HicolorRows {
  const char* target;  ///< "plain" or the instruction set's name
  HicolorRowPair narrow_32;
  HicolorRowPair narrow_24;  ///< every pixel gets the whole alpha mask
  HicolorRowPair widen;      ///< to 32 bits
};

/// The reference: one pixel at a time, ordinary stores.
const HicolorRows& PlainHicolorRows();

/// The fastest for this processor, or the one that a test forced (platform/vector_target.h).
const HicolorRows& SelectedHicolorRows();

}  // namespace zav
