// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/hicolor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "base/endian.h"
#include "convert/pipeline.h"
#include "convert/stream_copy.h"
#include "convert/surface.h"
#include "frame/startup.h"
#include "platform/processor.h"
#include "support/page_end_buffer.h"
#include "support/pictures.h"
#include "support/reference.h"
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

/// A request through the whole converter, into the caller's buffer or the library's own.
void Convert(ZAV_CONVERTER& converter, const Masks& layout, int32_t dest_format) {
  converter.dest.format = dest_format;
  ZAV_SURFACE& hicolor = IsHicolor(dest_format) ? converter.dest : converter.source;
  uint32_t* const fields[] = {&hicolor.alpha_mask, &hicolor.red_mask, &hicolor.green_mask,
                              &hicolor.blue_mask};
  const uint32_t masks[] = {layout.alpha, layout.red, layout.green, layout.blue};
  const bool custom = layout.format >= ZAV_FMT_CUSTOM16_1;
  for (size_t i = 0; custom && i < 4; ++i) *fields[i] = masks[i];
  EXPECT_TRUE(ConvertSurface(converter));
  const int32_t shifts[] = {hicolor.alpha_shift, hicolor.red_shift, hicolor.green_shift,
                            hicolor.blue_shift};
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(*fields[i], masks[i]);
    EXPECT_EQ(shifts[i], ShiftOf(masks[i]));
  }
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
  PageEndBuffer from(source.pixels.data(),
                     static_cast<size_t>(s.pitch) * static_cast<size_t>(s.height - 1) + source_row);
  PageEndBuffer to(64 + dest_bytes + shift);
  std::vector<uint8_t> expected(to.size(), 0xA7);
  std::memcpy(to.data(), expected.data(), expected.size());
  ZAV_GFXDEF described = s;
  described.alpha_mask = layout.alpha;
  described.red_mask = layout.red;
  described.green_mask = layout.green;
  described.blue_mask = layout.blue;
  const std::array<uint32_t, 4> masks = {layout.alpha & 0xFFFF, layout.red & 0xFFFF,
                                         layout.green & 0xFFFF, layout.blue & 0xFFFF};
  const BgraPicture pixels = ReferenceDecode(described);
  for (size_t i = 0; i < pixels.size(); ++i) {
    const auto x = static_cast<int32_t>(i) % s.width, y = static_cast<int32_t>(i) / s.width;
    uint32_t word = ReferenceEncode(pixels[i], dest_format, masks);
    // Without a stored alpha, opaque means every bit of the mask, also where it has more than 8.
    if (s.bytes_per_pixel == 3) word |= masks[0];
    uint8_t* out = expected.data() + 64 + int64_t{y} * dest_pitch + x * BytesPerPixel(dest_format);
    for (int32_t b = 0; b < BytesPerPixel(dest_format); ++b, word >>= 8) {
      out[b] = static_cast<uint8_t>(word);
    }
  }
  ZAV_CONVERTER converter{};
  converter.source.definition() = s;
  converter.source.pixels = from.data();
  converter.dest.pixels = to.data() + 64;
  converter.dest.pitch = dest_pitch;
  Convert(converter, layout, dest_format);
  ASSERT_EQ(std::memcmp(to.data(), expected.data(), expected.size()), 0)
      << "from " << s.format << " to " << dest_format << ", " << s.width << " wide, pitches "
      << s.pitch << " and " << dest_pitch << ", red mask " << layout.red << ", shift " << shift;
}

/// Runs `body()` with every vector target, in both ways of storing.
template <typename Body>
void ForEachCode(Body&& body) {
  ForEachVectorTarget([&](const VectorTarget& target) {
    for (const int64_t streaming : {int64_t{1}, kNeverStream}) {
      SetStreamFrom(streaming);
      SCOPED_TRACE(std::string(target.name) + (streaming == 1 ? " streamed" : ""));
      body();
    }
  });
  SetStreamFrom(0);
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
    for (const uint32_t processor : {0u, +kProcessorMmx, kProcessorMmx | kProcessorSse}) {
      SelectHicolorVariant(processor);
      SetStreamFrom(1);
      for (const int layout : {0, 1, 5, 2}) {  // all but the last are those that variants are for
        Check(picture, kLayouts[layout], kLayouts[layout].format, 262, 0);
        const bool fastest = layout == 2 || (processor & kProcessorSse) != 0;
        expect_run(fastest || processor != 0 ? bit : 0, fastest && vectors);
      }
      SetStreamFrom(kNeverStream);
      Check(words, kLayouts[3], ZAV_FMT_BGRA32, 524, 0);
      expect_run(bit, false);
    }
  });
  SetStreamFrom(0);
  SelectHicolorVariant(kProcessorSse);
  EXPECT_EQ(SelectedHicolorVariant(), HicolorVariant::kSse);
  StartUp();
  const uint32_t bits = ReadProcessorBits();
  EXPECT_EQ(SelectedHicolorVariant(), (bits & kProcessorSse) != 0   ? HicolorVariant::kSse
                                      : (bits & kProcessorMmx) != 0 ? HicolorVariant::kMmx
                                                                    : HicolorVariant::kPlain);
}

TEST_F(Hicolor, WarnsOncePerConversionFromSlowSources) {
  const auto warning = [](const std::string& source) {
    return std::vector<std::string>{"ZAV -- PERFORMANCE WARNING: Converting " + source +
                                    "to Hicolor is not recommended! Use BGRA32 Source instead!\n"};
  };
  for (const int32_t format : {ZAV_FMT_BGRA32, ZAV_FMT_RGBA32, ZAV_FMT_BGR24, ZAV_FMT_RGB24}) {
    Picture picture = NoisePicture(format, 5, 4, 31, 11);
    for (const Masks& layout : kLayouts) {
      TakeTraces();
      Check(picture, layout, layout.format, 10, 0);
      const auto expected = format == ZAV_FMT_BGRA32   ? std::vector<std::string>{}
                            : format == ZAV_FMT_RGBA32 ? warning("RGB32 A")
                                                       : warning("24 Bit ");
      EXPECT_EQ(TakeTraces(), expected) << format;
    }
  }
}

// Values worked out by hand, with a destination that the library allocates.
TEST_F(Hicolor, KnownPixels) {
  struct Known {
    int32_t source;
    uint32_t pixel;
    int layout;
    int32_t dest;
    uint32_t result;
  };
  for (const Known& known : {Known{ZAV_FMT_BGRA32, 0x281E140A, 0, ZAV_FMT_RGB565, 0x18A1},
                             {ZAV_FMT_BGRA32, 0x281E140A, 2, ZAV_FMT_ARGB4444, 0x2110},
                             {ZAV_FMT_BGRA32, 0x281E140A, 3, ZAV_FMT_ARGB1555, 0x0C41},
                             {ZAV_FMT_BGR24, 0x281E140A, 2, ZAV_FMT_ARGB4444, 0xF110},
                             {ZAV_FMT_BGRA32, 0x281E140A, 4, ZAV_FMT_CUSTOM16_1, 0x0443},
                             {ZAV_FMT_RGB565, 0xFFFF, 0, ZAV_FMT_BGRA32, 0xFFF8FCF8},
                             {ZAV_FMT_ARGB4444, 0x8000, 2, ZAV_FMT_BGRA32, 0x8F000000},
                             {ZAV_FMT_ARGB4444, 0x7000, 2, ZAV_FMT_BGRA32, 0x70000000},
                             {ZAV_FMT_ARGB1555, 0x8000, 3, ZAV_FMT_BGRA32, 0xFF000000}}) {
    uint8_t pixel[4];
    StoreLe32(pixel, known.pixel);
    ScopedConverter converter;
    converter.source.pixels = pixel;
    SetDefinition(converter.source, 1, 1, known.source);
    Convert(converter, kLayouts[known.layout], known.dest);
    uint8_t word[4] = {};
    std::copy_n(converter.dest.pixels, BytesPerPixel(known.dest), word);
    EXPECT_EQ(LoadLe32(word), known.result);
  }
}

}  // namespace
}  // namespace zav::test
