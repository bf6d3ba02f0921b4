// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/scale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "convert/format_table.h"
#include "convert/scale_kernels.h"
#include "encodings/hicolor.h"
#include "support/failing_heap.h"
#include "support/page_end_buffer.h"
#include "support/pictures.h"
#include "support/vector_targets.h"

namespace zav::test {
namespace {

using Scaling = void (*)(const ZAV_SURFACE& source, const ZAV_SURFACE& dest);

constexpr uint8_t kGuard = 0xA5;

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - (a % b != 0 && (a < 0) != (b < 0)); }

int64_t Blend(int64_t p, int64_t q, int64_t f) { return p + FloorDiv((q - p) * f, 65536); }

/// One byte of the result, from positions alone.
uint8_t Expected(const ZAV_SURFACE& s, const ZAV_SURFACE& d, bool filter, int64_t i, int64_t j,
                 int channel) {
  const int64_t shorter = filter ? 1 : 0;
  const int64_t x = i * ((s.width - shorter) * 65536 / d.width);
  const int64_t y = j * ((s.height - shorter) * 65536 / d.height);
  const auto byte = [&](int64_t column, int64_t row) -> int64_t {
    return s.pixels[row * s.pitch + column * s.bytes_per_pixel + channel];
  };
  const int64_t k = x / 65536, l = y / 65536;
  const int64_t fx = filter ? x % 65536 : 0, fy = filter ? y % 65536 : 0;
  const auto across = [&](int64_t row) {
    return fx == 0 ? byte(k, row) : Blend(byte(k, row), byte(k + 1, row), fx);
  };
  return static_cast<uint8_t>(fy == 0 ? across(l) : Blend(across(l), across(l + 1), fy));
}

ZAV_SURFACE Surface(int32_t format, int32_t width, int32_t height, int32_t padding) {
  ZAV_SURFACE surface{};
  surface.format = format;
  surface.bytes_per_pixel = BytesPerPixel(format);
  surface.width = width;
  surface.height = height;
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

  int64_t wrong = 0;
  for (int64_t i = 0; i < 64; ++i) wrong += result.data()[i] != kGuard;
  for (int64_t j = 0; j < dh; ++j) {
    const uint8_t* row = dest.pixels + j * dest.pitch;
    const int64_t row_bytes = int64_t{dw} * dest.bytes_per_pixel;
    for (int64_t b = 0; b < row_bytes; ++b) {
      wrong += row[b] != Expected(source, dest, filter, b / dest.bytes_per_pixel, j,
                                  static_cast<int>(b % dest.bytes_per_pixel));
    }
    for (int64_t b = row_bytes; j + 1 < dh && b < dest.pitch; ++b) wrong += row[b] != kGuard;
  }
  EXPECT_EQ(wrong, 0) << SelectedPointKernel().target << (filter ? " bilinear " : " point ")
                      << format << ": " << sw << "x" << sh << " to " << dw << "x" << dh;
}

constexpr std::array kFormatsBySize = {ZAV_FMT_BGRA32, ZAV_FMT_BGR24, ZAV_FMT_RGB565, ZAV_FMT_PAL8};

void CheckEverywhere(int32_t sw, int32_t sh, int32_t dw, int32_t dh, int32_t padding) {
  for (const int32_t format : kFormatsBySize) {
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
        if (dw % 8 == 0) CheckEverywhere(sw, 5, dw, 11, 1);
      }
    }
    for (const int32_t sw : {1, 7, 500, 700, 1300, 2600}) CheckEverywhere(sw, 2, 1300, 3, 3);
  });
}

// Steps of exactly one half put every fraction on the tie between two pixels as base.
TEST(Scale, MatchesThePositionsAtHalfSteps) {
  ForEachVectorTarget([](const VectorTarget&) {
    CheckEverywhere(41, 41, 80, 80, 0);
    CheckEverywhere(81, 81, 32, 32, 0);
  });
}

// Products of sides and steps that pass 32 bits.
TEST(Scale, CarriesLongSidesIn64Bits) {
  ForEachVectorTarget([](const VectorTarget&) {
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

TEST(Scale, DoesNothingUnlessBothSidesAgree) {
  Picture picture = NoisePicture(ZAV_FMT_BGRA32, 4, 4, 0, 1);
  std::array<uint8_t, 256> bytes;
  const auto refuses = [&](auto&& spoil) {
    ZAV_SURFACE source{}, dest = Surface(ZAV_FMT_BGRA32, 8, 8, 0);
    source.definition() = picture.definition;
    dest.pixels = bytes.data();
    spoil(source, dest);
    bytes.fill(kGuard);
    ResamplePoint(source, dest);
    ResampleBilinear(source, dest);
    return std::count(bytes.begin(), bytes.end(), kGuard) == 256;
  };
  EXPECT_TRUE(refuses([](ZAV_SURFACE& s, ZAV_SURFACE&) { s.bytes_per_pixel = 3; }));
  EXPECT_TRUE(refuses([](ZAV_SURFACE& s, ZAV_SURFACE&) { s.format = ZAV_FMT_RGBA32; }));
  EXPECT_TRUE(refuses([](ZAV_SURFACE& s, ZAV_SURFACE&) { s.pixels = nullptr; }));
  EXPECT_TRUE(refuses([](ZAV_SURFACE&, ZAV_SURFACE& d) { d.pixels = nullptr; }));
  EXPECT_TRUE(refuses([](ZAV_SURFACE& s, ZAV_SURFACE&) { s.height = 0; }));
  EXPECT_TRUE(refuses([](ZAV_SURFACE&, ZAV_SURFACE& d) { d.width = 0; }));
  EXPECT_TRUE(
      refuses([](ZAV_SURFACE& s, ZAV_SURFACE& d) { s.bytes_per_pixel = d.bytes_per_pixel = 5; }));
}

// --- through the converter -----------------------------------------------------------------------

struct Image : ZAV_IMAGE {
  Image(const ZAV_GFXDEF& definition, int32_t format, int32_t width, int32_t height, bool filter) {
    ZAV_INIT(this);
    ZAV_SETENV(this, filter ? ZAV_ENV_FILTER : 0);
    source = definition;
    dest.format = format;
    dest.width = width;
    dest.height = height;
  }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  ~Image() { ZAV_FREE(this); }
};

std::vector<uint8_t> Rows(const ZAV_GFXDEF& d) {
  std::vector<uint8_t> bytes;
  for (int64_t j = 0; j < d.height; ++j) {
    const uint8_t* row = d.pixels + j * d.pitch;
    bytes.insert(bytes.end(), row, row + int64_t{d.width} * BytesPerPixel(d.format));
  }
  return bytes;
}

std::vector<uint8_t> Convert(const ZAV_GFXDEF& source, int32_t format, int32_t width,
                             int32_t height, bool filter) {
  Image image(source, format, width, height, filter);
  if (ZAV_CONVERT_RAW(&image) != 1) return {};
  EXPECT_EQ(image.source.pixels, nullptr);
  EXPECT_EQ(image.source.width, 0);
  return Rows(image.dest);
}

/// The same, first to another format at the source's size and then scaled in that.
std::vector<uint8_t> ConvertThenScale(const ZAV_GFXDEF& source, int32_t format, int32_t width,
                                      int32_t height, bool filter) {
  Image image(source, format, 0, 0, filter);
  if (ZAV_CONVERT_RAW(&image) != 1) return {};
  return Convert(image.dest, format, width, height, filter);
}

TEST(Resize, KeepsMasksAndPalette) {
  Picture custom = NoisePicture(ZAV_FMT_CUSTOM16_1, 7, 5, 15, 3);
  custom.definition.alpha_mask = 0xC000;
  custom.definition.red_mask = 0x001F;
  custom.definition.green_mask = 0x03E0;
  custom.definition.blue_mask = 0x3C00;
  const Picture pal8 = NoisePicture(ZAV_FMT_PAL8, 7, 5, 9, 4);
  for (const Picture* picture : {&std::as_const(custom), &pal8}) {
    const ZAV_GFXDEF& from = picture->definition;
    // Picking pixels and converting them commute.
    const auto expected = ConvertThenScale(from, ZAV_FMT_BGRA32, 12, 3, false);
    ASSERT_EQ(expected.size(), 12u * 3 * 4);
    EXPECT_EQ(Convert(from, ZAV_FMT_BGRA32, 12, 3, false), expected);
    // Small pixels are filtered as 32-bit BGRA.
    EXPECT_EQ(Convert(from, ZAV_FMT_BGRA32, 12, 3, true),
              ConvertThenScale(from, ZAV_FMT_BGRA32, 12, 3, true));
  }
  Image image(pal8.definition, ZAV_FMT_PAL8, 3, 9, false);
  ASSERT_EQ(ZAV_CONVERT_RAW(&image), 1);
  EXPECT_EQ(std::memcmp(image.dest.palette, pal8.palette.data(), ZAV_PALETTE_BYTES), 0);
}

TEST(Resize, ScalesIntoTheHostsBuffer) {
  const Picture from = NoisePicture(ZAV_FMT_BGR24, 9, 6, 29, 5);
  const int32_t width = 14, height = 11, pitch = 47;
  for (const bool filter : {false, true}) {
    const auto expected = Convert(from.definition, ZAV_FMT_BGR24, width, height, filter);
    PageEndBuffer buffer(static_cast<size_t>(pitch * height));
    std::memset(buffer.data(), kGuard, buffer.size());
    Image image(from.definition, ZAV_FMT_BGR24, width, height, filter);
    image.dest.pixels = buffer.data();
    image.dest.pitch = pitch;
    {
      FailingHeap heap(0);
      ASSERT_EQ(ZAV_CONVERT_RAW(&image), 1);
    }
    EXPECT_EQ(image.dest.pixels, buffer.data());
    EXPECT_EQ(image.dest.bytes_per_pixel, 3);
    EXPECT_EQ(Rows(image.dest), expected);
    for (int32_t j = 0; j < height; ++j) {
      for (int32_t b = width * 3; b < pitch; ++b) ASSERT_EQ(buffer.data()[j * pitch + b], kGuard);
    }
  }
}

// The host may scale a picture into the memory that holds it, and let its unused palette pointer
// stand.
TEST(Resize, TakesABufferThatOverlapsTheSource) {
  std::array<uint8_t, ZAV_PALETTE_BYTES> other;
  other.fill(kGuard);
  for (const int32_t format : {ZAV_FMT_BGRA32, ZAV_FMT_PAL8}) {
    Picture from = NoisePicture(format, 8, 8, 0, 6);
    const auto expected = Convert(from.definition, format, 16, 4, false);
    Image image(from.definition, format, 16, 4, false);
    image.dest.pixels = from.pixels.data();
    image.dest.pitch = 16 * BytesPerPixel(format);
    image.source.palette = from.palette.empty() ? other.data() : from.palette.data();
    std::vector<uint8_t> palette(ZAV_PALETTE_BYTES);
    image.dest.palette = palette.data();
    ASSERT_EQ(ZAV_CONVERT_RAW(&image), 1);
    EXPECT_EQ(Rows(image.dest), expected);
    EXPECT_EQ(palette,
              format == ZAV_FMT_PAL8 ? from.palette : std::vector<uint8_t>(ZAV_PALETTE_BYTES));
  }
}

TEST(Resize, FailureLeavesBothSidesAsFound) {
  const auto same = [](const ZAV_GFXDEF& a, const ZAV_GFXDEF& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
  };
  const Picture pal8 = NoisePicture(ZAV_FMT_PAL8, 6, 7, 0, 7);
  for (const int32_t format : {ZAV_FMT_RGB24, ZAV_FMT_BGRA32, ZAV_FMT_PAL8}) {
    Image image(pal8.definition, format, 5, 20, format != ZAV_FMT_PAL8);
    const ZAV_GFXDEF source = image.source, dest = image.dest;
    const int refused = FailEveryAllocation(
        [&] { return ZAV_CONVERT_RAW(&image) == 1; },
        [&](int granted, bool succeeded) {
          EXPECT_FALSE(succeeded) << granted;
          EXPECT_TRUE(same(image.source, source) && same(image.dest, dest)) << granted;
        });
    EXPECT_GE(refused, 2);
    EXPECT_EQ(image.dest.height, 20);
  }
}

TEST(Resize, RefusesWhatCannotBe) {
  const Picture picture = NoisePicture(ZAV_FMT_BGRA32, 6, 7, 0, 8);
  const auto fails = [](const ZAV_GFXDEF& source, int32_t format, int32_t width, int32_t height) {
    for (const bool filter : {false, true}) {
      if (!Convert(source, format, width, height, filter).empty()) return false;
    }
    return true;
  };
  const ZAV_GFXDEF& from = picture.definition;
  EXPECT_TRUE(fails(from, ZAV_FMT_BGRA32, 0, 7));
  EXPECT_TRUE(fails(from, ZAV_FMT_BGRA32, 6, -1));
  EXPECT_TRUE(fails(from, 0, 3, 3));
  EXPECT_TRUE(fails(from, ZAV_FMT_PAL4, 3, 3));
  EXPECT_TRUE(fails(from, ZAV_FMT_BGRA32, 0x7FFFFFFF, 1));
  EXPECT_TRUE(fails(from, ZAV_FMT_BGRA32, 40000, 40000));
  EXPECT_TRUE(fails(from, ZAV_FMT_PAL8, 0x7FFFFFFF, 0x7FFFFFFF));
  ZAV_GFXDEF pal4 = from;
  pal4.format = ZAV_FMT_PAL4;
  pal4.bytes_per_pixel = 1;
  EXPECT_TRUE(fails(pal4, ZAV_FMT_PAL4, 3, 3));
  EXPECT_TRUE(fails(pal4, ZAV_FMT_BGRA32, 3, 3));
}

}  // namespace
}  // namespace zav::test
