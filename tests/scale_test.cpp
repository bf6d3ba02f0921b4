// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "platform/stream_copy.h"
#include "scaling/scale_kernels.h"
#include "support/conversion_check.h"
#include "support/vector_targets.h"
#include "surface/format_table.h"

namespace zav::test {
namespace {

/// Scales noise within its format.
void Check(int32_t format, bool filter, int32_t width, int32_t height, int32_t new_width,
           int32_t new_height, int32_t padding, int granted = INT_MAX) {
  const int32_t bytes = BytesPerPixel(format);
  const auto seed = static_cast<uint64_t>(width * 31 + new_width);
  CheckConversion(NoisePicture(format, width, height, width * bytes + padding, seed),
                  Definition(format, new_width, new_height, new_width * bytes + padding * 2),
                  filter, 0, granted);
}

/// Filtered pictures of one row or column show that no neighbor is read.
void CheckEverywhere(int32_t sw, int32_t sh, int32_t dw, int32_t dh, int32_t padding) {
  for (const int32_t format : {ZAV_FMT_BGRA32, ZAV_FMT_BGR24, ZAV_FMT_RGB565, ZAV_FMT_PAL8}) {
    Check(format, false, sw, sh, dw, dh, padding);
    if (BytesPerPixel(format) >= 3) Check(format, true, sw, sh, dw, dh, padding);
  }
}

TEST(Scale, MatchesThePositionsAtSmallSizes) {
  ForEachVectorTarget([](const VectorTarget& target) {
    SCOPED_TRACE(target.name);
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

// Every way to fetch pixels, blocks that reach the end of the row, tails of every length, tiles.
TEST(Scale, MatchesThePositionsAtAllRatios) {
  ForEachVectorTarget([](const VectorTarget& target) {
    SCOPED_TRACE(target.name);
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
    for (const int32_t format : {ZAV_FMT_BGRA32, ZAV_FMT_BGR24}) {
      for (const bool filter : {false, true}) Check(format, filter, 2000, 2, 1700, 2, 1, granted);
    }
  }
}

// The host may scale a picture into its own memory, and leave an unused palette pointer set. Other
// memory is filled without the heap.
TEST(Resize, TakesABufferThatOverlapsTheSource) {
  Bytes other(ZAV_PALETTE_BYTES, 0xA5);
  for (const int32_t format : {ZAV_FMT_BGRA32, ZAV_FMT_PAL8}) {
    const auto bytes = static_cast<size_t>(512 * BytesPerPixel(format));
    Picture from = NoisePicture(format, 64, 8, 0, 6);
    Bytes apart(bytes), palette(ZAV_PALETTE_BYTES);
    for (uint8_t* buffer : {apart.data(), from.pixels.data()}) {
      Image image;
      image.source = from.definition;
      image.source.palette = from.palette.empty() ? other.data() : from.palette.data();
      image.dest = Definition(format, 128, 4, 128 * BytesPerPixel(format), buffer, palette.data());
      FailingHeap heap(buffer == apart.data() ? 0 : 9);
      ASSERT_EQ(ZAV_CONVERT_RAW(&image), 1);
      EXPECT_EQ(image.dest.pixels, buffer);
    }
    EXPECT_EQ(from.pixels, apart);
    EXPECT_EQ(palette, format == ZAV_FMT_PAL8 ? from.palette : Bytes(ZAV_PALETTE_BYTES));
    // At equal size the host's palette is filled as well.
    Image same;
    Bytes other_palette(ZAV_PALETTE_BYTES);
    same.dest.palette = other_palette.data();
    ASSERT_TRUE(same.Convert(from.definition, format));
    EXPECT_TRUE(SamePicture(same.dest, from.definition));
  }
}

}  // namespace
}  // namespace zav::test
