// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <vector>

#include "support/failing_heap.h"
#include "support/page_end_buffer.h"
#include "support/picture_files.h"
#include "support/pictures.h"
#include "support/reference.h"

namespace zav::test {

/// Alpha, red, green, blue of layouts for the custom formats.
inline constexpr uint32_t kCustomMasks[][4] = {
    {0, 0x001F, 0x03E0, 0x7C00},            // red at the bottom
    {0, 0xF800, 0x07E0, 0x001F},            // exactly 565
    {0xFF00, 0x00E0, 0x001C, 0x0003},       // 8 bits of alpha
    {0x0001, 0xF800, 0x07C0, 0x003E},       // alpha at bit 0
    {0xFFF0, 0, 0x000F, 0},                 // wider than a byte, empty channels
    {0xA050, 0x5500, 0x0A0A, 0x0005},       // holes
    {0xF0F0, 0xFF00, 0x0FF0, 0x81FF},       // overlaps, wider than a byte
    {0xFFFF, 0xFFFF, 0x8001, 0x0180},       // everything shared
    {0xFFFF0000, 0xFF00F800, 0x107E0, 31},  // bits above the pixel's
    {0x8000, 0x0001, 0x0002, 0x7FFC},       // far apart
    {0, 0, 0, 0},
};

inline bool Is16Bit(int format) { return format >= ZAV_FMT_RGB565 && format <= ZAV_FMT_CUSTOM16_2; }

/// Sets the masks of a custom format from kCustomMasks, wrapping around.
inline void SetCustomMasks(ZAV_GFXDEF& definition, size_t layout) {
  if (definition.format != ZAV_FMT_CUSTOM16_1 && definition.format != ZAV_FMT_CUSTOM16_2) return;
  std::memcpy(&definition.alpha_mask, kCustomMasks[layout % std::size(kCustomMasks)],
              sizeof(kCustomMasks[0]));
}

inline std::vector<uint32_t> ExpectedWords(const ZAV_GFXDEF& source, const ZAV_GFXDEF& dest,
                                           bool filter) {
  const bool scaled = dest.width != source.width || dest.height != source.height;
  // Words and indices of one format are copied whole, bits without a channel included, unless they
  // are filtered.
  const bool copied =
      source.format == dest.format && ReferenceBytes(dest.format) < 3 && !(scaled && filter);
  BgraPicture picture = ReferenceDecode(source);
  for (size_t i = 0; copied && i < picture.size(); ++i) {
    const auto at = static_cast<int32_t>(i);
    const int32_t bytes = ReferenceBytes(source.format);
    const uint8_t* p = source.pixels + int64_t{at / source.width} * source.pitch;
    p += at % source.width * bytes;
    picture[i].blue = p[0] + (bytes == 2 ? 256u * p[1] : 0);
  }
  if (scaled) {
    picture = ReferenceScale(picture, source.width, source.height, dest.width, dest.height, filter);
  }
  const std::array<uint32_t, 4> masks = ReferenceMasks(dest);
  std::vector<uint32_t> words;
  for (const Bgra& pixel : picture) {
    words.push_back(copied ? pixel.blue : ReferenceEncode(pixel, dest.format, masks));
    // Without a stored alpha, opaque means every bit of the mask, also where it has more than 8.
    if (ReferenceBytes(source.format) == 3 && Is16Bit(dest.format)) words.back() |= masks[0];
  }
  return words;
}

/// Converts through the export, with that many allocations granted, and compares every byte with
/// the reference. The source is read-only and ends at an unmapped page. With a pitch in `wanted`
/// the destination is the host's buffer, `shift` bytes before the end of a page; without, the
/// library's.
inline void CheckConversion(const Picture& picture, const ZAV_GFXDEF& wanted, bool filter = false,
                            size_t shift = 0, int granted = INT_MAX) {
  constexpr uint8_t kGuard = 0xA5;
  constexpr int32_t kGuardBytes = 64;
  const ZAV_GFXDEF& from = picture.definition;
  const int32_t bytes = ReferenceBytes(wanted.format), row_bytes = wanted.width * bytes;
  SCOPED_TRACE(testing::Message() << from.format << " -> " << wanted.format << ", " << from.width
                                  << "x" << from.height << " -> " << wanted.width << "x"
                                  << wanted.height << ", pitches " << from.pitch << " -> "
                                  << wanted.pitch << ", shift " << shift
                                  << (filter ? ", filtered" : ""));
  PageEndBuffer source(picture.pixels.data(),
                       static_cast<size_t>(from.pitch * (from.height - 1) +
                                           from.width * ReferenceBytes(from.format)));
  const bool own = wanted.pitch != 0;
  PageEndBuffer buffer(
      static_cast<size_t>(kGuardBytes + wanted.pitch * (wanted.height - 1) + row_bytes) + shift);
  std::memset(buffer.data(), kGuard, buffer.size());
  Image image;
  ZAV_SETENV(&image, filter ? ZAV_ENV_FILTER : 0);
  image.source = from;
  image.source.pixels = source.data();
  image.dest = wanted;
  if (own) image.dest.pixels = buffer.data() + kGuardBytes;
  {
    const FailingHeap heap(granted);
    ASSERT_EQ(ZAV_CONVERT_RAW(&image), 1);
  }
  const ZAV_GFXDEF& dest = image.dest;
  const bool same = from.format == dest.format;
  const bool copied = same && from.width == dest.width && from.height == dest.height;
  const int32_t least = std::max((row_bytes + 3) & ~3, copied ? from.pitch : 0);
  ASSERT_EQ(dest.pitch, own ? wanted.pitch : least);
  ASSERT_EQ(dest.bytes_per_pixel, bytes);
  // The masks of fixed layouts are filled in, on the side that a kernel sees.
  const ZAV_GFXDEF& words = wanted.format == ZAV_FMT_BGRA32 ? image.source : dest;
  if (!same && Is16Bit(words.format) && words.format < ZAV_FMT_CUSTOM16_1) {
    ASSERT_EQ(std::memcmp(&words.alpha_mask, ReferenceMasks(words).data(), 16), 0);
  }

  const size_t start = own ? kGuardBytes : 0;
  Bytes expected(own ? buffer.size() : static_cast<size_t>(dest.pitch * dest.height),
                 own ? kGuard : uint8_t{0});
  const std::vector<uint32_t> pixels = ExpectedWords(from, dest, filter);
  for (size_t i = 0; i < pixels.size(); ++i) {
    const auto at = static_cast<int32_t>(i);
    uint8_t* out = &expected[start] + int64_t{at / dest.width} * dest.pitch;
    out += at % dest.width * bytes;
    for (int32_t k = 0; k < bytes; ++k) out[k] = static_cast<uint8_t>(pixels[i] >> 8 * k);
  }
  const uint8_t* const made = dest.pixels - start;
  const auto differing = std::mismatch(expected.begin(), expected.end(), made);
  ASSERT_EQ(differing.first, expected.end()) << "at byte " << differing.second - dest.pixels;
}

}  // namespace zav::test
