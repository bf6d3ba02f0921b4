// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/hicolor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "convert/pipeline.h"
#include "convert/surface.h"
#include "frame/startup.h"
#include "platform/processor.h"
#include "support/page_end_buffer.h"
#include "support/pictures.h"
#include "support/trace_recorder.h"
#include "support/vector_targets.h"

namespace zav::test {
namespace {

constexpr int64_t kNeverStream = INT64_MAX;

struct Masks {
  int32_t format;
  uint32_t alpha, red, green, blue;
};

// The fixed layouts with what their definitions must hold afterwards, then custom ones.
const Masks kLayouts[] = {
    {ZAV_FMT_RGB565, 0, 0xF800, 0x07E0, 0x001F},
    {ZAV_FMT_RGB555, 0, 0x7C00, 0x03E0, 0x001F},
    {ZAV_FMT_ARGB4444, 0xF000, 0x0F00, 0x00F0, 0x000F},
    {ZAV_FMT_ARGB1555, 0x8000, 0x7C00, 0x03E0, 0x001F},
    {ZAV_FMT_CUSTOM16_1, 0, 0x001F, 0x03E0, 0x7C00},            // red at the bottom
    {ZAV_FMT_CUSTOM16_2, 0, 0xF800, 0x07E0, 0x001F},            // exactly 565
    {ZAV_FMT_CUSTOM16_1, 0xFF00, 0x00E0, 0x001C, 0x0003},       // 8 bits of alpha
    {ZAV_FMT_CUSTOM16_1, 0x0001, 0xF800, 0x07C0, 0x003E},       // alpha at bit 0
    {ZAV_FMT_CUSTOM16_2, 0xFFF0, 0, 0x000F, 0},                 // wider than a byte, empty channels
    {ZAV_FMT_CUSTOM16_1, 0xA050, 0x5500, 0x0A0A, 0x0005},       // holes
    {ZAV_FMT_CUSTOM16_2, 0xF0F0, 0xFF00, 0x0FF0, 0x81FF},       // overlaps, wider than a byte
    {ZAV_FMT_CUSTOM16_1, 0xFFFF, 0xFFFF, 0x8001, 0x0180},       // everything shared
    {ZAV_FMT_CUSTOM16_1, 0xFFFF0000, 0xFF00F800, 0x107E0, 31},  // bits above the pixel's
    {ZAV_FMT_CUSTOM16_2, 0x8000, 0x0001, 0x0002, 0x7FFC},       // far apart
    {ZAV_FMT_CUSTOM16_1, 0, 0, 0, 0},
};

int ShiftOf(uint32_t mask) {
  for (int bit = 15; bit >= 0; --bit) {
    if ((mask >> bit & 1) != 0) return 15 - bit;
  }
  return 0;
}

/// The rules, one pixel and one channel at a time.
uint32_t ExpectedWord(const Masks& m, int32_t format, const uint8_t* pixel) {
  const bool red_first = format == ZAV_FMT_RGBA32 || format == ZAV_FMT_RGB24;
  const auto field = [](uint32_t value, uint32_t mask) {
    return ((value * 256) >> ShiftOf(mask)) & mask & 0xFFFF;
  };
  const uint32_t alpha = BytesPerPixel(format) == 4 ? field(pixel[3], m.alpha) : (m.alpha & 0xFFFF);
  return alpha | field(pixel[red_first ? 0 : 2], m.red) | field(pixel[1], m.green) |
         field(pixel[red_first ? 2 : 0], m.blue);
}

std::array<uint8_t, 4> ExpectedBgra(const Masks& m, uint32_t word) {
  const auto byte = [](uint32_t v, uint32_t mask) {
    return static_cast<uint8_t>(((v & mask & 0xFFFF) << ShiftOf(mask)) >> 8);
  };
  uint8_t alpha = 255;
  if ((m.alpha & 0xFFFF) != 0) {
    alpha = byte(word, m.alpha);
    if (alpha >= 128) alpha = static_cast<uint8_t>(alpha | (255 - byte(0xFFFF, m.alpha)));
  }
  return {byte(word, m.blue), byte(word, m.green), byte(word, m.red), alpha};
}

/// A request through the whole converter, with the caller's buffers.
ZAV_CONVERTER Convert(const ZAV_GFXDEF& source, const Masks& layout, int32_t dest_format,
                      uint8_t* dest, int32_t dest_pitch) {
  ZAV_CONVERTER converter{};
  converter.source.definition() = source;
  converter.dest.format = dest_format;
  converter.dest.pixels = dest;
  converter.dest.pitch = dest_pitch;
  ZAV_SURFACE& hicolor = IsHicolor(dest_format) ? converter.dest : converter.source;
  if (layout.format >= ZAV_FMT_CUSTOM16_1) {
    hicolor.alpha_mask = layout.alpha;
    hicolor.red_mask = layout.red;
    hicolor.green_mask = layout.green;
    hicolor.blue_mask = layout.blue;
  }
  EXPECT_TRUE(ConvertSurface(converter));
  EXPECT_EQ(hicolor.alpha_mask, layout.alpha);
  EXPECT_EQ(hicolor.red_mask, layout.red);
  EXPECT_EQ(hicolor.green_mask, layout.green);
  EXPECT_EQ(hicolor.blue_mask, layout.blue);
  EXPECT_EQ(hicolor.alpha_shift, ShiftOf(layout.alpha));
  EXPECT_EQ(hicolor.red_shift, ShiftOf(layout.red));
  EXPECT_EQ(hicolor.green_shift, ShiftOf(layout.green));
  EXPECT_EQ(hicolor.blue_shift, ShiftOf(layout.blue));
  return converter;
}

/// `source` is converted into the last bytes before an unmapped page, `shift` bytes before its end;
/// the bytes around the rows must stay. The source ends at a page end too.
void Check(Picture& source, const Masks& layout, int32_t dest_format, int32_t dest_pitch,
           size_t shift) {
  const ZAV_GFXDEF& s = source.definition;
  const auto row_bytes = static_cast<size_t>(s.width * BytesPerPixel(dest_format));
  const auto dest_bytes =
      static_cast<size_t>(dest_pitch) * static_cast<size_t>(s.height - 1) + row_bytes;
  const auto source_row = static_cast<size_t>(s.width * s.bytes_per_pixel);
  const PageEndBuffer from(
      source.pixels.data(),
      static_cast<size_t>(s.pitch) * static_cast<size_t>(s.height - 1) + source_row);
  PageEndBuffer to(64 + dest_bytes + shift);
  std::vector<uint8_t> expected(to.size(), 0xA7);
  std::memcpy(to.data(), expected.data(), expected.size());
  for (int32_t y = 0; y < s.height; ++y) {
    uint8_t* out = expected.data() + 64 + int64_t{y} * dest_pitch;
    for (int32_t x = 0; x < s.width; ++x) {
      const uint8_t* pixel = source.Row(y) + x * s.bytes_per_pixel;
      if (dest_format == ZAV_FMT_BGRA32) {
        const auto bgra = ExpectedBgra(layout, pixel[0] | uint32_t{pixel[1]} << 8);
        std::memcpy(out + x * 4, bgra.data(), 4);
      } else {
        const uint32_t word = ExpectedWord(layout, s.format, pixel);
        out[x * 2] = static_cast<uint8_t>(word);
        out[x * 2 + 1] = static_cast<uint8_t>(word >> 8);
      }
    }
  }
  ZAV_GFXDEF borrowed = s;
  borrowed.pixels = const_cast<PageEndBuffer&>(from).data();
  Convert(borrowed, layout, dest_format, to.data() + 64, dest_pitch);
  ASSERT_EQ(std::memcmp(to.data(), expected.data(), expected.size()), 0)
      << "from " << s.format << " to " << dest_format << ", " << s.width << " wide, pitches "
      << s.pitch << " and " << dest_pitch << ", red mask " << layout.red << ", shift " << shift;
}

/// Runs `body(name)` with every vector target, in both ways of storing.
template <typename Body>
void ForEachCode(Body&& body) {
  ForEachVectorTarget([&](const VectorTarget& target) {
    for (const int64_t streaming : {int64_t{1}, kNeverStream}) {
      SetHicolorStreamingBytes(streaming);
      SCOPED_TRACE(std::string(target.name) + (streaming == 1 ? " streamed" : ""));
      body();
    }
  });
  SetHicolorStreamingBytes(0);
}

class Hicolor : public testing::Test {
 protected:
  void SetUp() override { StartUp(); }
  void TearDown() override { TakeTraces(); }
};

TEST_F(Hicolor, EveryWordWidens) {
  Picture words = NoisePicture(ZAV_FMT_RGB565, 65536, 1, 0, 1);
  for (uint32_t v = 0; v < 65536; ++v) {
    words.pixels[v * 2] = static_cast<uint8_t>(v);
    words.pixels[v * 2 + 1] = static_cast<uint8_t>(v >> 8);
  }
  ForEachCode([&] {
    for (const Masks& layout : kLayouts) {
      words.definition.format = layout.format;
      Check(words, layout, ZAV_FMT_BGRA32, 65536 * 4, 0);
    }
  });
}

TEST_F(Hicolor, EveryValueOfEveryChannelNarrows) {
  for (const int32_t format : {ZAV_FMT_BGRA32, ZAV_FMT_RGBA32, ZAV_FMT_BGR24, ZAV_FMT_RGB24}) {
    // Each row sweeps one channel, the others are noise.
    Picture picture = NoisePicture(format, 256, 4, 0, 2);
    const int32_t bytes = BytesPerPixel(format);
    for (int32_t y = 0; y < bytes; ++y) {
      for (int32_t x = 0; x < 256; ++x) {
        picture.Row(y)[x * bytes + y] = static_cast<uint8_t>(x);
      }
    }
    ForEachCode([&] {
      for (const Masks& layout : kLayouts) Check(picture, layout, layout.format, 512, 0);
    });
  }
}

TEST_F(Hicolor, EveryWidthPitchAndAlignmentConverts) {
  Random random(3);
  ForEachCode([&] {
    for (int32_t width = 1; width <= 67; ++width) {
      for (const int32_t format : {ZAV_FMT_BGRA32, ZAV_FMT_RGB24, ZAV_FMT_ARGB4444}) {
        const Masks& layout =
            kLayouts[format == ZAV_FMT_ARGB4444 ? 2 : random.Below(std::size(kLayouts))];
        const int32_t dest = IsHicolor(format) ? int32_t{ZAV_FMT_BGRA32} : layout.format;
        // Odd pitches move the rows off every alignment, and none at all makes them one long row.
        const bool padded = random.Below(4) != 0;
        const auto padding = [&] { return padded ? static_cast<int32_t>(random.Below(8)) : 0; };
        Picture picture = NoisePicture(format, width, 1 + static_cast<int32_t>(random.Below(4)),
                                       width * BytesPerPixel(format) + padding(), random.Next());
        Check(picture, layout, dest, width * BytesPerPixel(dest) + padding(), random.Below(64));
      }
    }
    // Long enough for a row of its own to be aligned first.
    for (const size_t shift : {size_t{0}, size_t{2}, size_t{7}, size_t{60}}) {
      Picture picture = NoisePicture(ZAV_FMT_BGR24, 2111, 2, 0, 5);
      Check(picture, kLayouts[9], ZAV_FMT_CUSTOM16_1, 2111 * 2, shift);
      Check(picture, kLayouts[0], ZAV_FMT_RGB565, 2111 * 2 + 5, shift);
    }
  });
}

// The row function that runs says itself which code it is.
TEST_F(Hicolor, ForcedVariantsAndTargetsRun) {
  Picture picture = NoisePicture(ZAV_FMT_BGRA32, 131, 5, 0, 7);
  Picture words = NoisePicture(ZAV_FMT_ARGB1555, 131, 5, 0, 8);
  const auto expect_run = [](int64_t target, bool streamed) {
    EXPECT_EQ(LastHicolorRun().target, target);
    EXPECT_EQ(LastHicolorRun().streamed, streamed);
  };
  ForEachVectorTarget([&](const VectorTarget& target) {
    SCOPED_TRACE(target.name);
    // Highway's baseline, which has no vectors, is served by the plain code.
    const std::string name = target.name;
    const bool vectors = target.bit != 0 && name != "SCALAR" && name != "EMU128";
    const int64_t bit = vectors ? target.bit : 0;
    SetHicolorStreamingBytes(1);
    for (const int layout : {0, 1, 5}) {  // those that the variants are for
      SelectHicolorVariant(0);
      Check(picture, kLayouts[layout], kLayouts[layout].format, 262, 0);
      expect_run(0, false);
      SelectHicolorVariant(kProcessorMmx);
      Check(picture, kLayouts[layout], kLayouts[layout].format, 262, 0);
      expect_run(bit, false);
      SelectHicolorVariant(kProcessorMmx | kProcessorSse);
      Check(picture, kLayouts[layout], kLayouts[layout].format, 262, 0);
      expect_run(bit, vectors);
    }
    SelectHicolorVariant(0);
    Check(picture, kLayouts[2], ZAV_FMT_ARGB4444, 262, 0);
    expect_run(bit, vectors);
    SetHicolorStreamingBytes(kNeverStream);
    Check(words, kLayouts[3], ZAV_FMT_BGRA32, 524, 0);
    expect_run(bit, false);
  });
  SetHicolorStreamingBytes(0);
  SelectHicolorVariant(kProcessorSse);
  EXPECT_EQ(SelectedHicolorVariant(), HicolorVariant::kSse);
  StartUp();
  const uint32_t bits = ReadProcessorBits();
  EXPECT_EQ(SelectedHicolorVariant(), (bits & kProcessorSse) != 0   ? HicolorVariant::kSse
                                      : (bits & kProcessorMmx) != 0 ? HicolorVariant::kMmx
                                                                    : HicolorVariant::kPlain);
}

TEST_F(Hicolor, WarnsOncePerConversionFromSlowSources) {
  const std::string rgba =
      "ZAV -- PERFORMANCE WARNING: Converting RGB32 Ato Hicolor is not recommended! Use BGRA32 "
      "Source instead!\n";
  const std::string triple =
      "ZAV -- PERFORMANCE WARNING: Converting 24 Bit to Hicolor is not recommended! Use BGRA32 "
      "Source instead!\n";
  const std::vector<std::pair<int32_t, std::vector<std::string>>> cases = {
      {ZAV_FMT_BGRA32, {}},
      {ZAV_FMT_RGBA32, {rgba}},
      {ZAV_FMT_BGR24, {triple}},
      {ZAV_FMT_RGB24, {triple}},
      {ZAV_FMT_ARGB4444, {}}};
  for (const auto& [format, warnings] : cases) {
    Picture picture = NoisePicture(format, 5, 4, 31, 11);
    TakeTraces();
    if (IsHicolor(format)) {
      Check(picture, kLayouts[2], ZAV_FMT_BGRA32, 20, 0);
    } else {
      for (const Masks& layout : kLayouts) {
        Check(picture, layout, layout.format, 10, 0);
        EXPECT_EQ(TakeTraces(), warnings) << format;
      }
    }
    EXPECT_TRUE(TakeTraces().empty()) << format;
  }
}

// Values worked out by hand, with a destination that the library allocates.
TEST_F(Hicolor, KnownPixels) {
  uint8_t pixel[4] = {10, 20, 30, 40};
  ZAV_GFXDEF source{};
  source.pixels = pixel;
  source.width = source.height = 1;
  const auto narrow = [&](int32_t format, const Masks& layout) {
    source.format = format;
    ZAV_CONVERTER converter = Convert(source, layout, layout.format, nullptr, 0);
    const uint32_t word = converter.dest.pixels[0] | uint32_t{converter.dest.pixels[1]} << 8;
    ReleaseSurfaces(converter, true, true);
    return word;
  };
  EXPECT_EQ(narrow(ZAV_FMT_BGRA32, kLayouts[0]), 0x18A1u);
  EXPECT_EQ(narrow(ZAV_FMT_BGRA32, kLayouts[2]), 0x2110u);
  EXPECT_EQ(narrow(ZAV_FMT_BGRA32, kLayouts[3]), 0x0C41u);
  EXPECT_EQ(narrow(ZAV_FMT_BGR24, kLayouts[2]), 0xF110u);
  EXPECT_EQ(narrow(ZAV_FMT_BGRA32, kLayouts[4]), 0x0443u);
  const auto widen = [&](uint32_t word, const Masks& layout) {
    pixel[0] = static_cast<uint8_t>(word);
    pixel[1] = static_cast<uint8_t>(word >> 8);
    source.format = layout.format;
    ZAV_CONVERTER converter = Convert(source, layout, ZAV_FMT_BGRA32, nullptr, 0);
    const std::array<int, 4> bgra = {converter.dest.pixels[0], converter.dest.pixels[1],
                                     converter.dest.pixels[2], converter.dest.pixels[3]};
    ReleaseSurfaces(converter, true, true);
    return bgra;
  };
  EXPECT_EQ(widen(0xFFFF, kLayouts[0]), (std::array<int, 4>{248, 252, 248, 255}));
  EXPECT_EQ(widen(0xFFFF, kLayouts[1]), (std::array<int, 4>{248, 248, 248, 255}));
  EXPECT_EQ(widen(0x8000, kLayouts[2]), (std::array<int, 4>{0, 0, 0, 143}));
  EXPECT_EQ(widen(0x7000, kLayouts[2]), (std::array<int, 4>{0, 0, 0, 112}));
  EXPECT_EQ(widen(0x8000, kLayouts[3]), (std::array<int, 4>{0, 0, 0, 255}));
}

}  // namespace
}  // namespace zav::test
