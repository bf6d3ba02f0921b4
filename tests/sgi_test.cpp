// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "formats/sgi.h"

#include <gtest/gtest.h>

#include <string>

#include "base/endian.h"
#include "formats/sgi_planes.h"
#include "support/page_end_buffer.h"
#include "support/picture_files.h"
#include "support/pictures.h"
#include "support/vector_targets.h"

namespace zav::test {
namespace {

/// One row byte by byte, with `step` bytes from pixel to pixel. How many pixels; -1 when unsound.
int64_t PlainRow(const Bytes& file, size_t at, uint8_t* dest, int64_t width, int64_t step) {
  for (int64_t x = 0; x < width;) {
    if (at >= file.size()) return -1;
    const uint8_t control = file[at++];
    if (control % 128 == 0) return x;
    for (int i = 0; i < control % 128; ++i, ++x) {
      if (x == width || at >= file.size()) return -1;
      dest[x * step] = file[at];
      if (control >= 128) ++at;
    }
    if (control < 128) ++at;
  }
  return width;
}

/// The whole picture with rows of `pitch` bytes into memory that held `background`; empty when the
/// file is unsound. The header must be sound.
Bytes PlainPicture(const Bytes& file, uint8_t background) {
  if (file.size() < 512) return {};
  const int64_t width = LoadBe16(&file[6]), height = LoadBe16(&file[8]), channels = file[11];
  const int64_t pitch = (width * channels + 3) / 4 * 4;
  Bytes pixels(static_cast<size_t>(pitch * height), background);
  for (int64_t row = 0; row < channels * height; ++row) {
    const int64_t c = row / height;
    uint8_t* dest = &pixels[static_cast<size_t>((height - 1 - row % height) * pitch)];
    dest += c < 3 ? 2 - c : 3;
    for (int64_t x = 0; x < width; ++x) dest[x * channels] = 0;
    if (file[2] != 1) {
      const size_t at = static_cast<size_t>(512 + row * width);
      if (at + static_cast<size_t>(width) > file.size()) return {};
      for (int64_t x = 0; x < width; ++x) dest[x * channels] = file[at + static_cast<size_t>(x)];
    } else {
      if (512 + channels * height * 4 > static_cast<int64_t>(file.size())) return {};
      const uint32_t start = LoadBe32(&file[static_cast<size_t>(512 + row * 4)]);
      if (PlainRow(file, start, dest, width, channels) < 0) return {};
    }
  }
  return pixels;
}

/// Reads into new memory and into a buffer with a past, and compares.
void Check(const Bytes& file, size_t buffer_bytes) {
  const Bytes expected = PlainPicture(file, 0);
  Image image, own;
  ASSERT_EQ(image.Read("x.rgb", file), !expected.empty());
  Bytes buffer(buffer_bytes, 0xA5);
  own.source.pixels = buffer.data();
  ASSERT_EQ(own.Read("x.rgb", file), !expected.empty());
  if (expected.empty()) return;
  ASSERT_EQ(image.source.format, file[11] == 3 ? ZAV_FMT_BGR24 : ZAV_FMT_BGRA32);
  ASSERT_EQ(Bytes(image.source.pixels, image.source.pixels + expected.size()), expected);
  ASSERT_EQ(buffer, PlainPicture(file, 0xA5));
}

TEST(Sgi, EveryKindOfFileCutAnywhereAndDamaged) {
  Random random(1);
  for (uint32_t channels : {3u, 4u}) {
    for (int32_t width : {1, 2, 7, 40, 300}) {
      for (bool run_length : {false, true}) {
        const int32_t height = 3;
        Bytes whole = SgiStart(run_length, channels, width, height);
        if (run_length) {
          AppendSgiRows(whole, channels * height, static_cast<uint32_t>(width), channels);
        } else {
          whole.resize(512 + static_cast<size_t>(width) * channels * height);
          for (size_t i = 512; i < whole.size(); ++i) whole[i] = random.Byte();
        }
        const size_t bytes = (static_cast<size_t>(width) * channels + 3) / 4 * 4 * 3;
        ASSERT_FALSE(PlainPicture(whole, 0).empty());
        ForEachVectorTarget([&](const VectorTarget&) { Check(whole, bytes); });
        for (size_t size = 500; size < whole.size(); ++size) {
          Check(Bytes(whole.data(), whole.data() + size), bytes);
        }
        for (int i = 0; run_length && i < 3000; ++i) {
          Bytes file = whole;
          const auto places = static_cast<uint32_t>(file.size() - 512);
          file[512 + random.Below(i % 4 == 0 ? channels * 12 : places)] = random.Byte();
          Check(file, bytes);
        }
      }
    }
  }
}

TEST(Sgi, HeaderFields) {
  const struct {
    size_t at;
    uint8_t value;
    bool read, probed;
  } cases[] = {
      {0, 0, true, true},    {2, 2, false, true},  {2, 127, false, true}, {2, 128, true, true},
      {2, 255, true, true},  {3, 2, false, true},  {3, 0, false, true},   {4, 77, true, true},
      {7, 0, false, false},  {9, 0, false, false}, {10, 1, false, false}, {11, 1, false, false},
      {11, 2, false, false}, {11, 4, false, true}, {11, 5, false, false}, {200, 9, true, true},
  };
  for (const auto& change : cases) {
    SCOPED_TRACE(testing::Message() << change.at << ": " << int{change.value});
    Bytes file = SgiStart(false, 3, 5, 7);
    file.resize(512 + 5 * 7 * 3);
    file[change.at] = change.value;
    Image image;
    EXPECT_EQ(image.Read("x.rgb", file), change.read);
    ZAV_GFXDEF probed{};
    EXPECT_EQ(ZAV_GETFILEFORMAT_FROMMEM(&probed, "x.RGB", file.data(), 12), change.probed);
    EXPECT_EQ(probed.pitch, !change.probed ? 0 : change.value == 4 ? 20 : 16);
    EXPECT_EQ(ZAV_GETFILEFORMAT_FROMMEM(&probed, "x.rgb", file.data(), 11), 0);
  }
}

// All rows may share one that is terminated at once: a picture of two gigabytes of zeros, but not
// one that is paid for before somebody looks at it.
TEST(Sgi, AnnouncedPixelsCostNothing) {
  Bytes file = SgiStart(true, 4, 65535, 8191);
  Image image;
  EXPECT_FALSE(image.Read("x.rgb", file));
  file.resize(512 + size_t{8191} * 16, 0);  // rows that start with the first byte
  file[0] = 0;
  ASSERT_TRUE(image.Read("x.rgb", file));
  EXPECT_EQ(image.source.pixels[int64_t{65535} * 8191 * 4 - 1], 0);
  EXPECT_FALSE(image.Read("x.rgb", SgiStart(true, 4, 65535, 65535)));
}

TEST(Sgi, PlanesBecomePixels) {
  const Bytes noise = NoisePicture(ZAV_FMT_PAL8, 1000, 1, 0, 1).pixels;
  ForEachVectorTarget([&](const VectorTarget& target) {
    const PlaneRows& rows = SelectedPlaneRows();
    const bool shuffles = std::string("SSE4 AVX2 AVX3").find(target.name) != std::string::npos;
    EXPECT_STREQ(rows.target, shuffles ? target.name : "plain");
    for (size_t count = 0; count <= 200; ++count) {
      for (size_t channels : {3u, 4u}) {
        const uint8_t* const planes[] = {&noise[1], &noise[202], &noise[405], &noise[800 - count]};
        PageEndBuffer dest(count * channels);
        (channels == 3 ? rows.three : rows.four)(planes, dest.data(), count);
        for (size_t i = 0; i < dest.size(); ++i) {
          const size_t c = i % channels;
          ASSERT_EQ(dest.data()[i], planes[c < 3 ? 2 - c : 3][i / channels]) << count << ", " << i;
        }
      }
    }
  });
}

}  // namespace
}  // namespace zav::test
