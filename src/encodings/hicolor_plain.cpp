// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "base/endian.h"
#include "encodings/hicolor_rows.h"

namespace zav {
namespace {

uint32_t Field(uint32_t value, const HicolorChannel& channel) {
  return (value << 8 >> channel.shift) & channel.mask;
}

uint32_t Widen(uint32_t pixel, const HicolorChannel& channel) {
  return ((pixel & channel.mask) << channel.shift >> 8) & 255;
}

template <int kBytes>
void NarrowRow(const HicolorLayout& layout, const uint8_t* source, uint8_t* dest, size_t count) {
  const HicolorLayout l = layout;  // a copy, which stores cannot alias
  for (size_t i = 0; i < count; ++i, source += kBytes, dest += 2) {
    const uint32_t alpha =
        kBytes == 4 ? Field(source[kBytes - 1], l.channels[3]) : l.channels[3].mask;
    StoreLe16(dest, alpha | Field(source[0], l.channels[0]) | Field(source[1], l.channels[1]) |
                        Field(source[2], l.channels[2]));
  }
}

void WidenRow(const HicolorLayout& layout, const uint8_t* source, uint8_t* dest, size_t count) {
  const HicolorLayout l = layout;
  for (size_t i = 0; i < count; ++i, source += 2, dest += 4) {
    const uint32_t pixel = LoadLe16(source);
    uint32_t alpha = l.opaque | Widen(pixel, l.channels[3]);
    if (alpha >= 128) alpha |= l.fill;
    dest[0] = static_cast<uint8_t>(Widen(pixel, l.channels[0]));
    dest[1] = static_cast<uint8_t>(Widen(pixel, l.channels[1]));
    dest[2] = static_cast<uint8_t>(Widen(pixel, l.channels[2]));
    dest[3] = static_cast<uint8_t>(alpha);
  }
}

constexpr HicolorRows kPlain = {
    .target = "plain",
    .narrow_32 = {.stored = NarrowRow<4>, .streamed = NarrowRow<4>},
    .narrow_24 = {.stored = NarrowRow<3>, .streamed = NarrowRow<3>},
    .widen = {.stored = WidenRow, .streamed = WidenRow},
};

}  // namespace

const HicolorRows& PlainHicolorRows() { return kPlain; }

}  // namespace zav
