// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "scaling/scale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>

#include "platform/stream_copy.h"
#include "scaling/scale_kernels.h"
#include "support/failing_heap.h"
#include "support/page_end_buffer.h"
#include "support/picture_files.h"
#include "support/pictures.h"
#include "support/reference.h"
#include "support/vector_targets.h"
#include "surface/surface.h"

namespace zav::test {
namespace {

constexpr uint8_t kGuard = 0xA5;

ZAV_SURFACE Surface(int32_t format, int32_t width, int32_t height, int32_t padding) {
  ZAV_SURFACE surface{};
  SetDefinition(surface, width, height, format);
  surface.pitch = width * surface.bytes_per_pixel + padding;
  return surface;
}

/// Scales noise, which ends with its last pixel at an unmapped page, and compares every pixel and
/// every byte around them. Filtered pictures of one row or column show that no neighbour is read.
void Check(int32_t format, bool filter, int32_t sw, int32_t sh, int32_t dw, int32_t dh,
           int32_t padding) {
  ZAV_SURFACE source = Surface(format, sw, sh, padding);
  ZAV_SURFACE dest = Surface(format, dw, dh, padding * 2);
  Picture noise = NoisePicture(format, sw, sh, source.pitch, static_cast<uint64_t>(sw * 31 + dw));
  PageEndBuffer pixels(noise.pixels.data(), noise.pixels.size() - static_cast<size_t>(padding));
  source.pixels = pixels.data();
  PageEndBuffer result(static_cast<size_t>(int64_t{dest.pitch} * dh - padding * 2 + 64));
  std::memset(result.data(), kGuard, result.size());
  dest.pixels = result.data() + 64;
  (filter ? ResampleBilinear : ResamplePoint)(source, dest);

  // The channels are scaled alike, whatever they mean.
  const int32_t bytes = dest.bytes_per_pixel;
  BgraPicture plain(static_cast<size_t>(int64_t{sw} * sh));
  for (size_t i = 0; i < plain.size(); ++i) {
    const auto x = static_cast<int32_t>(i) % sw, y = static_cast<int32_t>(i) / sw;
    std::array<uint8_t, 4> p{};
    std::memcpy(p.data(), noise.Row(y) + x * bytes, static_cast<size_t>(bytes));
    plain[i] = {p[0], p[1], p[2], p[3]};
  }
  plain = ReferenceScale(plain, sw, sh, dw, dh, filter);
  Bytes expected(result.size(), kGuard);
  for (size_t i = 0; i < plain.size(); ++i) {
    const auto x = static_cast<int32_t>(i) % dw, y = static_cast<int32_t>(i) / dw;
    const uint32_t channels[] = {plain[i].blue, plain[i].green, plain[i].red, plain[i].alpha};
    uint8_t* to = &expected[static_cast<size_t>(64 + int64_t{y} * dest.pitch + x * bytes)];
    std::copy_n(channels, bytes, to);
  }
  EXPECT_EQ(std::memcmp(result.data(), expected.data(), expected.size()), 0)
      << SelectedPointKernel().target << (filter ? " bilinear " : " point ") << format << ": " << sw
      << "x" << sh << " to " << dw << "x" << dh;
}

void CheckEverywhere(int32_t sw, int32_t sh, int32_t dw, int32_t dh, int32_t padding) {
  for (const int32_t format : {ZAV_FMT_BGRA32, ZAV_FMT_BGR24, ZAV_FMT_RGB565, ZAV_FMT_PAL8}) {
    Check(format, false, sw, sh, dw, dh, padding);
    if (BytesPerPixel(format) >= 3) Check(format, true, sw, sh, dw, dh, padding);
  }
}

TEST(Scale, MatchesThePositionsAtSmallSizes) {
  ForEachVectorTarget([](const VectorTarget& target) {
    // Targets without a byte shuffle use the plain loops.
    if (&SelectedPointKernel() != &PlainPointKernel()) {
      EXPECT_EQ(SelectedPointKernel().target, std::string(target.name));
      EXPECT_EQ(SelectedBilinearKernel().target, std::string(target.name));
    }
    if (target.name == std::string("plain") || target.name == std::string("AVX2")) {
      EXPECT_EQ(SelectedPointKernel().target, std::string(target.name));
    }
    for (int32_t sw = 1; sw <= 9; ++sw) {
      for (int32_t dw = 1; dw <= 17; ++dw) {
        CheckEverywhere(sw, 1 + dw % 9, dw, 1 + (sw * 5 + dw) % 17, dw % 4);
        CheckEverywhere(1 + dw % 9, sw, 1 + (sw * 5 + dw) % 17, dw, sw % 3);
      }
    }
  });
}

// Every way to fetch pixels, blocks that reach the end of the row, tails of all lengths, tiles.
TEST(Scale, MatchesThePositionsAtAllRatios) {
  ForEachVectorTarget([](const VectorTarget&) {
    for (int32_t dw = 60; dw <= 92; ++dw) {
      for (const int32_t sw : {5, 17, 61, 91, 150, 2 * dw, 257, 4 * dw, 1021}) {
        CheckEverywhere(sw, 6, dw, 5, dw % 5);
        // Two destination rows between two source rows, among three, and apart.
        if (dw % 8 == 0) CheckEverywhere(sw, 5, dw, 11, 1);
        if (dw % 8 == 1) CheckEverywhere(sw, 23, dw, 16, 1);  // with ties
        if (dw % 8 == 2) CheckEverywhere(sw, 28, dw, 9, 1);
      }
    }
    for (const int64_t streamed : {1, 0}) {
      SetStreamFrom(streamed);
      for (const int32_t sw : {1, 7, 61, 500, 700, 1300, 2600}) CheckEverywhere(sw, 2, 1300, 3, 3);
      for (int32_t dw = 509; dw < 530; ++dw) CheckEverywhere(dw / 2, 2, dw, 4, dw % 4);
    }
    // Steps of exactly one half put every fraction on the tie between two pixels as base.
    CheckEverywhere(41, 41, 80, 80, 0);
    CheckEverywhere(81, 81, 32, 32, 0);
    // Products of sides and steps that pass 32 bits.
    for (const auto& [from, to] : {std::pair{32767, 32768},
                                   {32768, 9},
                                   {40000, 70000},
                                   {70000, 40000},
                                   {70000, 3},
                                   {3, 70000}}) {
      Check(ZAV_FMT_BGRA32, false, from, 1, to, 1, 0);
      Check(ZAV_FMT_BGR24, true, from, 1, to, 1, 0);
      Check(ZAV_FMT_BGRA32, true, 1, from, 1, to, 4);
      Check(ZAV_FMT_PAL8, false, 1, from, 2, to, 1);
    }
  });
}

TEST(Scale, WideRowsNeedNoHeap) {
  for (const int granted : {0, 1}) {
    FailingHeap heap(granted);
    CheckEverywhere(2000, 2, 1700, 2, 1);
  }
}

// The host may scale a picture into the memory that holds it, and let its unused palette pointer
// stand. Memory apart from the source is filled without the heap.
TEST(Resize, TakesABufferThatOverlapsTheSource) {
  Bytes other(ZAV_PALETTE_BYTES, kGuard);
  for (const int32_t format : {ZAV_FMT_BGRA32, ZAV_FMT_PAL8}) {
    const auto bytes = static_cast<size_t>(64 * BytesPerPixel(format));
    Picture from = NoisePicture(format, 8, 8, 0, 6);
    Bytes apart(bytes), palette(ZAV_PALETTE_BYTES);
    for (uint8_t* buffer : {apart.data(), from.pixels.data()}) {
      Image image;
      image.source = from.definition;
      image.source.palette = from.palette.empty() ? other.data() : from.palette.data();
      image.dest = {buffer, palette.data(), 16, 4, 0, format, 16 * BytesPerPixel(format), 0, 0, 0,
                    0};
      FailingHeap heap(buffer == apart.data() ? 0 : 9);
      ASSERT_EQ(ZAV_CONVERT_RAW(&image), 1);
      EXPECT_EQ(image.dest.pixels, buffer);
    }
    EXPECT_EQ(from.pixels, apart);
    EXPECT_EQ(palette, format == ZAV_FMT_PAL8 ? from.palette : Bytes(ZAV_PALETTE_BYTES));
    // At equal size the host's palette is filled as well.
    Image same;
    Bytes other_palette(ZAV_PALETTE_BYTES);
    same.source = from.definition;
    same.dest.palette = other_palette.data();
    same.dest.format = format;
    ASSERT_EQ(ZAV_CONVERT_RAW(&same), 1);
    EXPECT_TRUE(SamePicture(same.dest, from.definition));
  }
}

}  // namespace
}  // namespace zav::test
