// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Every pair of uncompressed formats through the export, against a per-pixel reference: sizes,
// pitches, buffers of the host and of the library, hand-overs, scaling.

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>
#include <vector>

#include "convert/mip_level.h"
#include "convert/pipeline.h"
#include "encodings/hicolor.h"
#include "encodings/true_color_rows.h"
#include "platform/stream_copy.h"
#include "support/conversion_check.h"
#include "support/failing_heap.h"
#include "support/trace_recorder.h"
#include "support/vector_targets.h"
#include "surface/surface.h"

namespace zav::test {
namespace {

constexpr int kConvertible[] = {1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};

/// A conversion of noise. With a destination padding below 0 the library allocates.
struct Case {
  int from, to, width, height, new_width, new_height, source_padding, dest_padding;
};

void RunCase(const Case& c, bool filter, size_t shift) {
  Picture source =
      NoisePicture(c.from, c.width, c.height, c.width * ReferenceBytes(c.from) + c.source_padding,
                   static_cast<uint64_t>(c.from * 100 + c.to + c.width));
  SetCustomMasks(source.definition, static_cast<size_t>(c.width));
  ZAV_GFXDEF wanted = Definition(c.to, c.new_width, c.new_height);
  if (c.dest_padding >= 0) wanted.pitch = c.new_width * ReferenceBytes(c.to) + c.dest_padding;
  SetCustomMasks(wanted, static_cast<size_t>(c.width + 1));
  CheckConversion(source, wanted, filter, shift);
}

template <typename Body>
void ForEachPair(Body&& body) {
  for (const int from : kConvertible) {
    for (const int to : kConvertible) {
      // Long enough for whole blocks of cache lines after an unaligned start.
      for (int width = 1; width <= 200 && to != ZAV_FMT_PAL8; width += width < 67 ? 1 : 19) {
        if (!testing::Test::HasFatalFailure()) body(from, to, width);
      }
    }
  }
  TakeTraces();
}

TEST(Convert, EveryPairAtEqualSize) {
  ForEachVectorTarget([](const VectorTarget& target) {
    SCOPED_TRACE(target.name);
    const char* expected = HasVectors(target) ? target.name : "plain";
    EXPECT_STREQ(SelectedTrueColor().target, expected);
    ForEachPair([](int from, int to, int width) {
      const auto shift = static_cast<size_t>(width * 5 % 64);
      for (const int64_t streaming : {int64_t{1}, INT64_MAX}) {
        SetStreamFrom(streaming);
        RunCase({from, to, width, 3, width, 3, width % 5, width % 7}, false, shift);
      }
      RunCase({from, to, width, 2, width, 2, 0, -1}, false, 0);
    });
  });
  SetStreamFrom(0);
}

// A host may give the same buffer twice where no pixel is written before it is read.
TEST(Convert, SwapsAndNarrowsInPlace) {
  ForEachVectorTarget([](const VectorTarget& target) {
    for (int32_t width = 1; width <= 200; ++width) {
      for (const int to : {ZAV_FMT_RGBA32, ZAV_FMT_RGB24, ZAV_FMT_BGR24}) {
        Picture picture = NoisePicture(ZAV_FMT_BGRA32, width, 2, 0, 8);
        Image apart, image;
        ASSERT_TRUE(apart.Convert(picture.definition, to));
        image.dest = Definition(to, 0, 0, width * BytesPerPixel(to), picture.pixels.data());
        ASSERT_TRUE(image.Convert(picture.definition));
        EXPECT_TRUE(SamePicture(image.dest, apart.dest))
            << target.name << ", " << width << " to " << to;
      }
    }
  });
}

TEST(Convert, EveryPairScaled) {
  ForEachPair([](int from, int to, int width) {
    const bool filter = width % 2 == 0;
    RunCase({from, to, width, 5, 201 - width, 7, width % 5, width % 3}, filter, 0);
    RunCase({from, to, width, 4, 2 * width, 2, width % 3, -1}, filter, 0);
  });
}

TEST(Convert, WarnsOncePerConversion) {
  const std::string hicolor = "to Hicolor is not recommended! Use BGRA32 Source instead!\n";
  const std::tuple<int, int, std::string> cases[] = {
      {ZAV_FMT_RGB24, ZAV_FMT_BGR24,
       "Direct Converstion unsupported. Converting to BRGA32 First!\n"},
      {ZAV_FMT_BGRA32, ZAV_FMT_RGB565, ""},
      {ZAV_FMT_RGBA32, ZAV_FMT_CUSTOM16_1, "Converting RGB32 A" + hicolor},
      {ZAV_FMT_BGR24, ZAV_FMT_ARGB4444, "Converting 24 Bit " + hicolor},
      {ZAV_FMT_RGB24, ZAV_FMT_RGB555, "Converting 24 Bit " + hicolor}};
  for (const auto& [from, to, warning] : cases) {
    TakeTraces();
    RunCase({from, to, 5, 4, 5, 4, 3, 0}, false, 0);
    std::vector<std::string> expected;
    if (!warning.empty()) expected.push_back("ZAV -- PERFORMANCE WARNING: " + warning);
    EXPECT_EQ(TakeTraces(), expected) << from << " to " << to;
  }
}

TEST(Convert, RefusedRequestsChangeNothing) {
  Picture true_color = NoisePicture(ZAV_FMT_BGRA32, 4, 4, 0, 1);
  const ZAV_GFXDEF& good = true_color.definition;
  const auto expect_refused = [](const ZAV_GFXDEF& source, const ZAV_GFXDEF& wanted) {
    Image image;
    image.dest = wanted;
    EXPECT_FALSE(image.Convert(source))
        << source.format << " " << source.width << " x " << source.height << " to " << wanted.format
        << " " << wanted.width << " x " << wanted.height;
    EXPECT_TRUE(SameDefinition(image.source, source));
    EXPECT_TRUE(SameDefinition(image.dest, wanted));
  };
  for (const int format : {0, 2, 14, 16, 18}) expect_refused(good, Definition(format, 0, 0));
  const int unusable[][3] = {{-1, 2, 2},
                             {ZAV_FMT_BGRA32, 4, 0},
                             {ZAV_FMT_BGRA32, 4, -4},
                             {ZAV_FMT_BGRA32, 40000, 40000},
                             {ZAV_FMT_RGB24, 0x7FFFFFFF, 0x7FFFFFFF}};
  for (const auto& [format, width, height] : unusable) {
    expect_refused(good, Definition(format, width, height));
  }
  // No pixels; rows that would overlap; no palette.
  expect_refused({}, Definition(ZAV_FMT_BGRA32, 0, 0));
  Bytes buffer(16);
  expect_refused(good, Definition(ZAV_FMT_BGR24, 0, 0, 0, buffer.data()));
  for (const int format : {3, 4, 5, 6, 7, 12}) {
    expect_refused(Definition(ZAV_FMT_PAL8, 4, 4, 4, buffer.data()), Definition(format, 0, 0));
  }
  const std::pair<int32_t ZAV_GFXDEF::*, int32_t> spoilt[] = {{&ZAV_GFXDEF::pitch, 15},
                                                              {&ZAV_GFXDEF::pitch, -16},
                                                              {&ZAV_GFXDEF::bytes_per_pixel, 3},
                                                              {&ZAV_GFXDEF::format, 99},
                                                              {&ZAV_GFXDEF::height, 0x7FFFFFFF}};
  for (const auto& [field, value] : spoilt) {
    ZAV_GFXDEF source = good;
    source.*field = value;
    expect_refused(source, Definition(ZAV_FMT_BGR24, 0, 0));
  }
  // Formats that are only copied.
  for (const int format : {2, 14, 16}) {
    const ZAV_GFXDEF source = Definition(format, 4, 4, 16, true_color.pixels.data());
    for (const int side : {0, 3}) expect_refused(source, Definition(ZAV_FMT_BGRA32, side, side));
  }
  TakeTraces();
}

TEST(Convert, BlocksAreCopiedWithinTheirBounds) {
  // The source has 16 bytes; a longer destination must not get more of them.
  Bytes blocks = NoisePicture(ZAV_FMT_PAL8, 16, 1, 0, 1).pixels;
  for (const int pitch : {0, 8, 16, 64}) {
    Image image;
    image.dest.pitch = pitch;
    ASSERT_TRUE(image.Convert(Definition(ZAV_FMT_DXT5, 4, 4, 16, blocks.data()), ZAV_FMT_DXT5));
    ASSERT_EQ(image.dest.pitch, pitch == 64 ? 64 : 16);
    Bytes expected = blocks;
    expected.resize(static_cast<size_t>(image.dest.pitch));
    EXPECT_EQ(0, std::memcmp(image.dest.pixels, expected.data(), expected.size()));
  }
}

// The converter owns its source: consuming it too early is a use after free.
TEST(Convert, AllocationFailureLeavesEverythingAsFound) {
  for (const int from : {1, 3, 4, 5, 7}) {
    for (const int to : {0, 1, 3, 4, 6, 8}) {  // 0: a mip level
      for (const int size : {0, 9, 40}) {
        if (to == 0 && size != 0) continue;
        const Picture picture = NoisePicture(from, 40, 40, 0, 3);
        const Bytes& pixels = picture.pixels;
        ScopedConverter converter;
        ASSERT_TRUE(AllocSurface(converter.source, 40, 40, from));
        std::copy(pixels.begin(), pixels.end(), converter.source.pixels);
        const ZAV_SURFACE found = converter.source;
        const auto convert = [&] {
          converter.dest = {};
          converter.dest.definition() = Definition(to, size, size);
          return to == 0 ? GenerateMipLevel(converter) : ConvertSurface(converter);
        };
        FailEveryAllocation(convert, [&](int granted, bool succeeded) {
          EXPECT_FALSE(succeeded) << from << " to " << to << ", granted " << granted;
          EXPECT_EQ(std::memcmp(&converter.source, &found, sizeof(found)), 0);
          EXPECT_TRUE(std::equal(pixels.begin(), pixels.end(), found.pixels));
          EXPECT_EQ(converter.dest.flags, 0u);
        });
      }
    }
  }
  TakeTraces();
}

}  // namespace
}  // namespace zav::test
