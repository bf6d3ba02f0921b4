// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

#include "base/endian.h"

namespace zav::packer {

// A packed block is a signed 32-bit size word n, followed by nothing (0), -n raw bytes (negative),
// or a stream of little-endian 32-bit words that decodes to n bytes. The stream's bits run from the
// least significant bit of each word upward, so they also run on from byte to byte: the stream can
// be read and written by the byte, the word or eight bytes.
//
//   literal: 0, the byte's 8 bits
//   match:   1, class (3 bits), remainder (class + 1 bits), length groups
//
// A match of class c copies from 2^(c+1) - 1 + remainder bytes back. Its length less 2 is written
// in groups of 2, 3, 4, ... bits; a group of all ones says that another follows, and the groups add
// up. One more word always follows the last token; it holds the remaining bits.

inline constexpr uint32_t kWindow = 510;     ///< the longest distance, and the positions searched
inline constexpr int32_t kLeastPacked = 16;  ///< shorter data is stored raw
inline constexpr uint32_t kLiteralBits = 9;
inline constexpr uint32_t kLeastMatch = 2;

/// The groups for lengths that need at most five of them, which nearly all do.
struct LengthGroups {
  uint32_t bits;
  uint32_t width;
};
inline constexpr uint32_t kShortLengths = 3 + 7 + 15 + 31 + 63;

constexpr std::array<LengthGroups, kShortLengths> MakeLengthGroups() {
  std::array<LengthGroups, kShortLengths> groups{};
  for (uint32_t excess = 0; excess < kShortLengths; ++excess) {
    uint32_t rest = excess, width = 2;
    LengthGroups& all = groups[excess];
    for (; rest >= (1u << width) - 1; ++width) {
      all.bits |= ((1u << width) - 1) << all.width;
      all.width += width;
      rest -= (1u << width) - 1;
    }
    all.bits |= rest << all.width;
    all.width += width;
  }
  return groups;
}

/// Copies the bytes of a raw block, a piece at a time: long copies may go through the processor's
/// string instruction, which is 20 times slower on some when the destination is a few bytes above
/// the source within a page, as it is for the bytes after a size word.
inline void CopyRaw(uint8_t* dest, const uint8_t* source, int64_t size) {
  constexpr int64_t kPiece = 1024;
  for (; size > kPiece; size -= kPiece, dest += kPiece, source += kPiece) {
    std::memcpy(dest, source, kPiece);
  }
  if (size > 0) std::memcpy(dest, source, static_cast<size_t>(size));
}

}  // namespace zav::packer
