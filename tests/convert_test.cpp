// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Every pair of uncompressed formats through the exported conversion, against a per-pixel
// reference: sizes, pitches, buffers of the host's and the library's own, hand-overs, scaling.

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/failing_heap.h"
#include "support/pictures.h"
#include "support/reference.h"
#include "support/trace_recorder.h"
#include "support/vector_targets.h"
#include "zav.h"

namespace zav::test {
namespace {

constexpr uint8_t kGuard = 0xA5;
constexpr int kGuardBytes = 64;
constexpr int kConvertible[] = {1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};

bool IsCustom(int format) { return format == ZAV_FMT_CUSTOM16_1 || format == ZAV_FMT_CUSTOM16_2; }
bool Is16Bit(int format) { return format >= ZAV_FMT_RGB565 && format <= ZAV_FMT_CUSTOM16_2; }

/// Layouts with holes, overlaps, a channel missing, and alpha wider than a byte.
void SetCustomMasks(ZAV_GFXDEF& definition, int which) {
  constexpr uint32_t kLayouts[][4] = {{0, 0x001F, 0x03E0, 0x7C00},
                                      {0x8001, 0x7030, 0x0F0F, 0x00FF},
                                      {0xFFC0, 0x0030, 0, 0x000F},
                                      {0x000F, 0xFFFF, 0x0FF0, 0xF000}};
  const uint32_t* masks = kLayouts[which % 4];
  definition.alpha_mask = masks[0];
  definition.red_mask = masks[1];
  definition.green_mask = masks[2];
  definition.blue_mask = masks[3];
}

/// One conversion and what must come of it.
struct Case {
  int from, to, width, height, new_width, new_height;
  int source_padding;  // bytes
  int dest_padding;    // bytes; below 0: the library allocates
  bool filter;
};

std::ostream& operator<<(std::ostream& out, const Case& c) {
  return out << c.from << " -> " << c.to << ", " << c.width << "x" << c.height << " -> "
             << c.new_width << "x" << c.new_height << ", padding " << c.source_padding << " / "
             << c.dest_padding << (c.filter ? ", filtered" : "");
}

BgraPicture RawWords(const ZAV_GFXDEF& definition) {
  BgraPicture words;
  for (int y = 0; y < definition.height; ++y) {
    const uint8_t* p = definition.pixels + int64_t{y} * definition.pitch;
    for (int x = 0; x < definition.width; ++x, p += 2)
      words.push_back({p[0] + 256u * p[1], 0, 0, 0});
  }
  return words;
}

std::vector<uint32_t> ExpectedWords(const Case& c, const ZAV_GFXDEF& source,
                                    const ZAV_GFXDEF& dest) {
  const bool scaled = c.new_width != c.width || c.new_height != c.height;
  // 16-bit words of one layout are copied whole, bits without a channel included, unless filtered.
  const bool copied = c.from == c.to && Is16Bit(c.to) && !(scaled && c.filter);
  BgraPicture picture = copied ? RawWords(source) : ReferenceDecode(source);
  if (scaled) {
    picture = ReferenceScale(picture, c.width, c.height, c.new_width, c.new_height, c.filter);
  }
  const std::array<uint32_t, 4> masks = ReferenceMasks(dest);
  std::vector<uint32_t> words;
  for (const Bgra& pixel : picture) {
    uint32_t word = copied ? pixel.blue : ReferenceEncode(pixel, c.to, masks);
    // Without a stored alpha, opaque means every bit of the mask, also where it has more than 8.
    if (ReferenceBytes(c.from) == 3 && Is16Bit(c.to)) word |= masks[0];
    words.push_back(word);
  }
  return words;
}

void CheckPixels(const Case& c, const ZAV_GFXDEF& dest, const std::vector<uint32_t>& expected) {
  const int bytes = ReferenceBytes(c.to);
  for (int y = 0; y < dest.height; ++y) {
    for (int x = 0; x < dest.width; ++x) {
      uint32_t word = 0;
      for (int k = 0; k < bytes; ++k) {
        word |= uint32_t{dest.pixels[int64_t{y} * dest.pitch + x * bytes + k]} << 8 * k;
      }
      const uint32_t wanted = expected[static_cast<size_t>(y * dest.width + x)];
      ASSERT_EQ(word, wanted) << c << " at " << x << "," << y;
    }
    for (int p = dest.width * bytes; p < dest.pitch; ++p) {
      ASSERT_EQ(dest.pixels[int64_t{y} * dest.pitch + p], c.dest_padding < 0 ? 0 : kGuard) << c;
    }
  }
}

void RunCase(const Case& c) {
  const int source_pitch = c.width * ReferenceBytes(c.from) + c.source_padding;
  const int dest_pitch = c.new_width * ReferenceBytes(c.to) + c.dest_padding;
  Picture source = NoisePicture(c.from, c.width, c.height, source_pitch,
                                static_cast<uint64_t>(c.from * 100 + c.to + c.width));
  const std::vector<uint8_t> source_before = source.pixels;
  if (IsCustom(c.from)) SetCustomMasks(source.definition, c.width);

  ZAV_IMAGE image;
  ZAV_INIT(&image);
  ZAV_SETENV(&image, c.filter ? ZAV_ENV_FILTER : 0);
  image.source = source.definition;
  image.dest.format = c.to;
  image.dest.width = c.new_width;
  image.dest.height = c.new_height;
  if (IsCustom(c.to)) SetCustomMasks(image.dest, c.width + 1);
  std::vector<uint8_t> buffer;
  if (c.dest_padding >= 0) {
    buffer.assign(static_cast<size_t>(dest_pitch * c.new_height + 2 * kGuardBytes), kGuard);
    image.dest.pixels = buffer.data() + kGuardBytes;
    image.dest.pitch = dest_pitch;
  }
  const std::vector<uint32_t> expected = ExpectedWords(c, source.definition, image.dest);
  ASSERT_EQ(ZAV_CONVERT_RAW(&image), 1) << c;
  ASSERT_EQ(image.dest.bytes_per_pixel, ReferenceBytes(c.to)) << c;
  if (c.dest_padding >= 0) {
    ASSERT_EQ(image.dest.pitch, dest_pitch) << c;
  } else if (c.from != c.to || c.width != c.new_width || c.height != c.new_height) {
    ASSERT_EQ(image.dest.pitch, (c.new_width * ReferenceBytes(c.to) + 3) & ~3) << c;
  }
  CheckPixels(c, image.dest, expected);
  for (int i = 0; c.dest_padding >= 0 && i < kGuardBytes; ++i) {
    ASSERT_EQ(buffer[static_cast<size_t>(i)], kGuard) << c;
    ASSERT_EQ(buffer[buffer.size() - 1 - static_cast<size_t>(i)], kGuard) << c;
  }
  ASSERT_EQ(source.pixels, source_before) << c;
  ZAV_FREE(&image);
}

TEST(Convert, EveryPairAtEqualSize) {
  ForEachVectorTarget([](const VectorTarget& target) {
    SCOPED_TRACE(target.name);
    for (const int from : kConvertible) {
      for (const int to : kConvertible) {
        if (to == ZAV_FMT_PAL8) continue;
        for (int width = 1; width <= 67 && !testing::Test::HasFatalFailure(); ++width) {
          RunCase({from, to, width, 3, width, 3, width % 5, width % 7, false});
          RunCase({from, to, width, 2, width, 2, 0, -1, false});
        }
      }
    }
  });
  TakeTraces();
}

TEST(Convert, EveryPairScaled) {
  for (const bool filter : {false, true}) {
    for (const int from : kConvertible) {
      for (const int to : kConvertible) {
        if (to == ZAV_FMT_PAL8) continue;
        for (int width = 1; width <= 67 && !testing::Test::HasFatalFailure(); width += 3) {
          RunCase({from, to, width, 5, 68 - width, 7, width % 5, width % 3, filter});
          RunCase({from, to, width, 4, 2 * width, 2, width % 2, -1, filter});
        }
      }
    }
  }
  TakeTraces();
}

TEST(Convert, PalettizedCopyKeepsIndicesAndPalette) {
  for (const int width : {1, 2, 5, 64}) {
    Picture source = NoisePicture(ZAV_FMT_PAL8, width, 3, width + 3, 7);
    ZAV_IMAGE image;
    ZAV_INIT(&image);
    image.source = source.definition;
    image.dest.format = ZAV_FMT_PAL8;
    ASSERT_EQ(ZAV_CONVERT_RAW(&image), 1);
    ASSERT_NE(image.dest.pixels, image.source.pixels);
    for (int y = 0; y < 3; ++y) {
      ASSERT_EQ(0, std::memcmp(image.dest.pixels + y * image.dest.pitch, source.Row(y),
                               static_cast<size_t>(width)));
    }
    ASSERT_EQ(0, std::memcmp(image.dest.palette, source.palette.data(), ZAV_PALETTE_BYTES));

    // Point-sampled, the indices are picked and the palette stays.
    ZAV_IMAGE doubled;
    ZAV_INIT(&doubled);
    doubled.source = source.definition;
    doubled.dest.format = ZAV_FMT_PAL8;
    doubled.dest.width = 2 * width;
    doubled.dest.height = 6;
    ASSERT_EQ(ZAV_CONVERT_RAW(&doubled), 1);
    for (int x = 0; x < 2 * width; ++x) {
      ASSERT_EQ(doubled.dest.pixels[5 * doubled.dest.pitch + x], source.Row(2)[x / 2]);
    }
    ASSERT_EQ(0, std::memcmp(doubled.dest.palette, source.palette.data(), ZAV_PALETTE_BYTES));
    ASSERT_EQ(doubled.source.pixels, nullptr);
    ZAV_FREE(&doubled);
    ZAV_FREE(&image);
  }
}

TEST(Convert, WarnsOncePerRoute) {
  Picture source = NoisePicture(ZAV_FMT_RGB24, 4, 4, 0, 1);
  ZAV_IMAGE image;
  ZAV_INIT(&image);
  image.source = source.definition;
  image.dest.format = ZAV_FMT_BGR24;
  TakeTraces();
  ASSERT_EQ(ZAV_CONVERT_RAW(&image), 1);
  EXPECT_EQ(TakeTraces(),
            std::vector<std::string>{"ZAV -- PERFORMANCE WARNING: Direct Converstion unsupported. "
                                     "Converting to BRGA32 First!\n"});
  ZAV_FREE(&image);
}

TEST(Convert, RefusedRequestsChangeNothing) {
  Picture true_color = NoisePicture(ZAV_FMT_BGRA32, 4, 4, 0, 1);
  Picture palettized = NoisePicture(ZAV_FMT_PAL8, 4, 4, 0, 1);
  struct Request {
    const char* what;
    ZAV_GFXDEF source, dest;
  };
  std::vector<Request> requests;
  const auto add = [&](const char* what, const ZAV_GFXDEF& source, int format, int width,
                       int height) -> Request& {
    requests.push_back({what, source, {}});
    requests.back().dest.format = format;
    requests.back().dest.width = width;
    requests.back().dest.height = height;
    return requests.back();
  };
  add("no format", true_color.definition, 0, 0, 0);
  add("unknown format", true_color.definition, 18, 0, 0);
  add("unknown format, scaled", true_color.definition, -1, 2, 2);
  add("no kernel", true_color.definition, ZAV_FMT_PAL4, 0, 0);
  add("no kernel", true_color.definition, ZAV_FMT_DXT2, 0, 0);
  add("no kernel", true_color.definition, ZAV_FMT_DXT4, 0, 0);
  add("one side 0", true_color.definition, ZAV_FMT_BGRA32, 4, 0);
  add("negative side", true_color.definition, ZAV_FMT_BGRA32, 4, -4);
  add("too large", true_color.definition, ZAV_FMT_BGRA32, 40000, 40000);
  add("far too large", true_color.definition, ZAV_FMT_RGB24, 0x7FFFFFFF, 0x7FFFFFFF);
  add("no pixels", {}, ZAV_FMT_BGRA32, 0, 0);
  add("bad pitch", true_color.definition, ZAV_FMT_BGR24, 0, 0).source.pitch = 15;
  add("negative pitch", true_color.definition, ZAV_FMT_BGR24, 0, 0).source.pitch = -16;
  add("bad bytes", true_color.definition, ZAV_FMT_BGR24, 0, 0).source.bytes_per_pixel = 3;
  add("bad format", true_color.definition, ZAV_FMT_BGR24, 0, 0).source.format = 99;
  add("huge source", true_color.definition, ZAV_FMT_BGR24, 0, 0).source.height = 0x7FFFFFFF;
  for (const int format : {3, 4, 5, 6, 7, 12, 1}) {
    Request& request = add("no palette", palettized.definition, format, 0, 0);
    request.source.palette = nullptr;
    if (format == ZAV_FMT_PAL8) requests.pop_back();  // indices can be copied without one
  }
  for (const int format : {2, 14, 16}) {
    for (const int side : {0, 3}) {
      Request& request = add("only copied", true_color.definition, ZAV_FMT_BGRA32, side, side);
      request.source.format = format;
      request.source.bytes_per_pixel = format == 2 ? 1 : 0;
      request.source.pitch = 16;
    }
  }
  // A buffer whose rows would lie on each other.
  add("no pitch", true_color.definition, ZAV_FMT_BGR24, 0, 0).dest.pixels =
      palettized.pixels.data();

  for (const Request& request : requests) {
    ZAV_IMAGE image;
    ZAV_INIT(&image);
    image.source = request.source;
    image.dest = request.dest;
    EXPECT_EQ(ZAV_CONVERT_RAW(&image), 0) << request.what << " " << request.dest.format;
    EXPECT_EQ(0, std::memcmp(&image.source, &request.source, 52)) << request.what;
    EXPECT_EQ(0, std::memcmp(&image.dest, &request.dest, 52)) << request.what;
    ZAV_FREE(&image);
  }
  TakeTraces();
}

TEST(Convert, DxtAndPal4AreCopiedWithinTheirBounds) {
  // The source holds exactly 16 bytes; a destination that says it has more must not get more.
  std::vector<uint8_t> blocks(16);
  for (size_t i = 0; i < blocks.size(); ++i) blocks[i] = static_cast<uint8_t>(i + 1);
  for (const int pitch : {0, 8, 16, 64}) {
    ZAV_IMAGE image;
    ZAV_INIT(&image);
    image.source = {blocks.data(), nullptr, 4, 4, 0, ZAV_FMT_DXT5, 16, 0, 0, 0, 0};
    image.dest.format = ZAV_FMT_DXT5;
    image.dest.pitch = pitch;
    ASSERT_EQ(ZAV_CONVERT_RAW(&image), 1) << pitch;
    ASSERT_EQ(image.dest.pitch, pitch == 64 ? 64 : 16);
    EXPECT_EQ(0, std::memcmp(image.dest.pixels, blocks.data(), 16));
    for (int i = 16; i < image.dest.pitch; ++i) EXPECT_EQ(image.dest.pixels[i], 0);
    ZAV_FREE(&image);
  }
}

TEST(Convert, AllocationFailureLeavesEverythingAsFound) {
  for (const int from : {1, 3, 4, 5, 7}) {
    for (const int to : {1, 3, 4, 6, 8}) {
      for (const int size : {0, 9}) {
        if (to == ZAV_FMT_PAL8 && from != ZAV_FMT_PAL8) continue;
        Picture source = NoisePicture(from, 5, 5, 0, 3);
        const auto convert = [&](ZAV_IMAGE& image) {
          image.source = source.definition;
          image.dest.format = to;
          image.dest.width = image.dest.height = size;
          return ZAV_CONVERT_RAW(&image) == 1;
        };
        ZAV_IMAGE image;
        ZAV_INIT(&image);
        ZAV_SETENV(&image, ZAV_ENV_FILTER);
        const int allocations = FailEveryAllocation(
            [&] { return convert(image); },
            [&](int granted, bool succeeded) {
              EXPECT_FALSE(succeeded) << from << " -> " << to << " after " << granted;
              EXPECT_EQ(image.source.pixels, source.definition.pixels);
              EXPECT_EQ(image.dest.pixels, nullptr);
              EXPECT_EQ(image.dest.palette, nullptr);
            });
        EXPECT_GE(allocations, 1);
        ZAV_FREE(&image);
      }
    }
  }
  TakeTraces();
}

}  // namespace
}  // namespace zav::test
