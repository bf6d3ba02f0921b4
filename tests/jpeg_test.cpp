// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "support/container_files.h"
#include "support/failing_heap.h"
#include "support/picture_files.h"
#include "support/pictures.h"

namespace zav::test {
namespace {

Bytes Save(const ZAV_GFXDEF& picture, long type) {
  const TemporaryFile file(".jpg");
  Image image;
  image.source = picture;
  EXPECT_EQ(ZAV_SAVE_BITMAP(&image, type, file.path()), 1);
  EXPECT_EQ(image.source.pixels, picture.pixels);
  return file.Read();
}

/// Gentle slopes, different in each channel, which survive at high quality.
Picture SmoothPicture(int32_t width, int32_t height) {
  Picture picture = NoisePicture(ZAV_FMT_BGRA32, width, height, width * 4 + 4, 1);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const int32_t pixel[] = {20 + x, 230 - 2 * y, 90 + x + y, 255 * x / width};
      for (int k = 0; k < 4; ++k) picture.Row(y)[x * 4 + k] = static_cast<uint8_t>(pixel[k]);
    }
  }
  return picture;
}

/// Mean error of a channel's bytes in BGRA pixels.
double MeanError(const Bytes& a, const Bytes& b, int channel) {
  EXPECT_EQ(a.size(), b.size());
  double sum = 0;
  for (auto i = static_cast<size_t>(channel); i < std::min(a.size(), b.size()); i += 4) {
    sum += std::abs(a[i] - b[i]);
  }
  return sum * 4 / double(a.size());
}

/// The first segment with the marker, from its length on.
const uint8_t* Segment(const Bytes& file, int marker) {
  for (size_t at = 2; at + 4 < file.size(); at += size_t{2} + file[at + 2] * 256u + file[at + 3]) {
    if (file[at + 1] == marker) return &file[at + 2];
  }
  return nullptr;
}

bool Reads(const Bytes& file) { return ReadAllBytes("x.jpg", file, ZAV_FMT_BGRA32); }

TEST(JpegFiles, SavedPicturesComeBackInEveryOrder) {
  for (const int32_t width : {1, 5, 16, 17, 67}) {
    for (const int32_t height : {1, 8, 31}) {
      const Picture picture = SmoothPicture(width, height);
      const Bytes original = PixelsAs(picture.definition, ZAV_FMT_BGRA32);
      const Bytes file = Save(picture.definition, ZAV_SAVE_JPEG + 100);
      Bytes first;
      for (const int32_t format :
           {0, +ZAV_FMT_BGRA32, +ZAV_FMT_RGBA32, +ZAV_FMT_BGR24, +ZAV_FMT_RGB24, +ZAV_FMT_RGB565}) {
        SCOPED_TRACE(testing::Message() << width << " x " << height << " to " << format);
        Image image;
        // The host's buffer keeps its bytes between rows.
        Bytes guarded(static_cast<size_t>((width * 4 + 8) * height), 0xA5);
        image.source.pixels = guarded.data();
        image.dest.format = format;
        ASSERT_TRUE(image.Read("x.JPG", file));
        const int32_t pitch = image.source.pitch, row = width * image.source.bytes_per_pixel;
        for (int32_t i = 0; i < pitch * height && image.source.pixels == guarded.data(); ++i) {
          ASSERT_TRUE(i % pitch < row || guarded[static_cast<size_t>(i)] == 0xA5);
        }
        if (format == ZAV_FMT_RGB565) continue;
        const ZAV_GFXDEF& read = format == 0 ? image.source : image.dest;
        EXPECT_EQ(read.format, format == 0 ? +ZAV_FMT_BGRA32 : format);
        const Bytes pixels = PixelsAs(read, ZAV_FMT_BGRA32);
        for (size_t i = 3; i < pixels.size(); i += 4) ASSERT_EQ(pixels[i], 255);
        if (first.empty()) first = pixels;
        ASSERT_TRUE(pixels == first);  // in any order the codec is asked for
      }
      for (int channel = 0; channel < 3; ++channel) {
        EXPECT_LT(MeanError(first, original, channel), 1.5) << width << " x " << height;
      }
    }
  }
}

TEST(JpegFiles, QualityAndSamplingAreAsAsked) {
  const Picture picture = AsymmetricPicture(33, 17);
  const int expected[][2] = {
      {1, 255}, {50, 16}, {75, 8}, {100, 1}};  // of a table that starts at 16
  for (const auto& [quality, entry] : expected) {
    const Bytes file = Save(picture.definition, ZAV_SAVE_JPEG + quality);
    EXPECT_EQ(Segment(file, 0xDB)[3], entry) << quality;
    const uint8_t* frame = Segment(file, 0xC0);
    ASSERT_NE(frame, nullptr);  // baseline
    EXPECT_EQ(frame[7], 3);
    EXPECT_EQ(frame[9], 0x21);
    EXPECT_TRUE(frame[12] == 0x11 && frame[15] == 0x11);
    ZAV_GFXDEF expected_probe = Definition(ZAV_FMT_BGRA32, 33, 17, 132);
    expected_probe.bytes_per_pixel = 4;
    EXPECT_TRUE(SameDefinition(Probe("jpg", file), expected_probe));
  }
  EXPECT_TRUE(Save(picture.definition, ZAV_SAVE_JPEG) == Save(picture.definition, 101));
  Image image;
  image.source = picture.definition;
  EXPECT_EQ(ZAV_SAVE_BITMAP(&image, 150, "/nowhere/x.jpg"), 0);
  EXPECT_EQ(ZAV_SAVE_BITMAP(&image, 150, "/dev/full"), 0);
}

TEST(JpegFiles, LostPixelsFailAndStrayBytesDoNot) {
  Picture picture = NoisePicture(ZAV_FMT_BGR24, 19, 18, 0, 1);
  const Bytes file = Save(picture.definition, 150);
  ASSERT_TRUE(Reads(file));
  for (size_t length = 0; length < file.size(); ++length) {
    ASSERT_FALSE(Reads(Bytes(file.begin(), file.begin() + static_cast<long>(length)))) << length;
  }
  Random random(1);
  for (size_t i = 0; i < file.size(); ++i) {
    for (const int value : {0, 0xFF, file[i] ^ (1 << random.Below(8))}) {
      Bytes changed = file;
      changed[i] = static_cast<uint8_t>(value);
      Reads(changed);
    }
  }
  // A comment, and stray bytes before a marker and after the end.
  Bytes odd = file;
  const Bytes comment = {0xFF, 0xFE, 0, 5, 'h', 'i', 0, 1, 2, 3};
  odd.insert(odd.begin() + 20, comment.begin(), comment.end());
  odd.insert(odd.end(), 9, uint8_t{7});
  EXPECT_TRUE(Reads(odd));
  // One scan with the luma of a single block, and none for the other channels.
  const Bytes block = Save(NoisePicture(ZAV_FMT_BGR24, 8, 8, 0, 2).definition, 150);
  const auto scan = Segment(block, 0xDA) - block.data();
  Bytes colorless(block.begin(), block.begin() + scan);
  const Bytes luma = {0, 8, 1, 1, 0, 0, 63, 0};
  colorless.insert(colorless.end(), luma.begin(), luma.end());
  colorless.insert(colorless.end(), block.begin() + scan + 12, block.end());
  EXPECT_TRUE(Reads(block) && !Reads(colorless));
  // The limit is a hundred scans.
  const Bytes again(colorless.begin() + scan - 2, colorless.end() - 2);
  Bytes scans = block;
  for (int count = 2; count <= 101; ++count) {
    scans.insert(scans.begin() + scan - 2, again.begin(), again.end());
    EXPECT_EQ(Reads(scans), count <= 100) << count;
  }
  // Sides that the bytes cannot justify; no memory is asked for.
  Bytes huge = file;
  const auto frame = Segment(file, 0xC0) - file.data();
  for (int i = 3; i < 7; ++i) huge[static_cast<size_t>(frame + i)] = 0xF0;
  Image image;
  {
    const FailingHeap heap(0);
    EXPECT_FALSE(ZAV_CONVERT_MEMFILE(&image, "jpg", huge.data(), static_cast<long>(huge.size())));
    EXPECT_EQ(heap.refused(), 0);
  }
}

constexpr size_t kLayerAt = 4 + 37, kFileAt = kLayerAt + 19;

/// The JPEG file in the container of a layer.
Bytes JpegOf(const Bytes& container) {
  const size_t mask_size = container[kLayerAt] == ZAV_LAYER_JPEGMASK ? 4 : 0;
  return Bytes(container.begin() + static_cast<long>(kFileAt + mask_size), container.end());
}

TEST(JpegLayers, EveryKindAndOrderComesBack) {
  for (const int32_t width : {1, 2, 31, 45, 64}) {
    const Picture picture = SmoothPicture(width, 30);
    const Bytes original = PixelsAs(picture.definition, ZAV_FMT_BGRA32);
    for (const int kind : {ZAV_LAYER_JPEG32, ZAV_LAYER_JPEG24, ZAV_LAYER_JPEGMASK}) {
      for (int flags = 0; flags < 4; ++flags) {
        for (const bool red_first : {false, true}) {
          SCOPED_TRACE(testing::Message() << kind << ", flags " << flags << ", width " << width);
          Image swapped, image;
          ASSERT_TRUE(swapped.Convert(picture.definition, ZAV_FMT_RGBA32));
          const Bytes file =
              WriteOne(Layer(kind, {flags, 100}), red_first ? swapped.dest : picture.definition);
          ASSERT_TRUE(ReadOne(image, file));
          ASSERT_EQ(image.source.format, ZAV_FMT_BGRA32);
          ASSERT_EQ(image.source.pitch, width * 4);
          const Bytes pixels = PixelsAs(image.source, ZAV_FMT_BGRA32), jpeg = JpegOf(file);
          for (int channel = 0; channel < (kind == ZAV_LAYER_JPEG32 ? 4 : 3); ++channel) {
            EXPECT_LT(MeanError(pixels, original, channel), 1.5) << channel;
          }
          EXPECT_EQ(Segment(jpeg, 0xEE), nullptr);
          if (kind == ZAV_LAYER_JPEG32) continue;
          EXPECT_EQ(Segment(jpeg, 0xC0)[9], (flags & 2) != 0 ? 0x21 : 0x22);
          for (size_t i = 3; i < pixels.size(); i += 4) {
            ASSERT_EQ(pixels[i], kind == ZAV_LAYER_JPEG24 || original[i] >= 128 ? 255 : 0) << i;
          }
        }
      }
    }
  }
}

// An Adobe marker turns four channels into inks: here Y, Cb and Cr of black, printed without and
// with the full value for black.
TEST(JpegFiles, FourChannelsOfAnotherProgramAreInks) {
  const uint8_t expected[][4] = {{0, 0, 0, 255}, {128, 128, 0, 255}};
  for (const size_t full : {size_t{0}, size_t{1}}) {
    Picture plain = NoisePicture(ZAV_FMT_BGRA32, 31, 3, 0, 1);
    std::fill(plain.pixels.begin(), plain.pixels.end(), uint8_t{0});
    for (size_t i = 3; full != 0 && i < plain.pixels.size(); i += 4) plain.pixels[i] = 255;
    Bytes inks = JpegOf(WriteOne(Layer(ZAV_LAYER_JPEG32, {0, 80}), plain.definition));
    const Bytes adobe = {0xFF, 0xEE, 0, 14, 'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0, 0};
    inks.insert(inks.begin() + 2, adobe.begin(), adobe.end());
    Image printed;
    ASSERT_TRUE(printed.Read("jpg", inks));
    const Bytes pixels = PixelsAs(printed.source, ZAV_FMT_BGRA32);
    for (size_t i = 0; i < pixels.size(); ++i) ASSERT_EQ(pixels[i], expected[full][i % 4]) << full;
  }
}

TEST(JpegLayers, HoldWholeFiles) {
  const Picture picture = NoisePicture(ZAV_FMT_BGR24, 21, 9, 0, 3);
  const Bytes layer = WriteOne(Layer(ZAV_LAYER_JPEG24, {2, 60}), picture.definition);
  const Bytes saved = Save(picture.definition, 160);
  EXPECT_TRUE(JpegOf(layer) == saved);
  for (const auto& [given, taken] : {std::pair{0, 1}, {150, 100}}) {
    const Bytes a = WriteOne(Layer(ZAV_LAYER_JPEG24, {2, given}), picture.definition);
    const Bytes b = WriteOne(Layer(ZAV_LAYER_JPEG24, {2, taken}), picture.definition);
    EXPECT_EQ(a[kLayerAt + 6], given);
    EXPECT_TRUE(JpegOf(a) == JpegOf(b));
  }
  // Other sides than the header's, and other channels than the kind's.
  for (const size_t at : {kLayerAt + 11, kLayerAt + 15, kLayerAt}) {
    Bytes changed = layer;
    --changed[at];
    Image image;
    EXPECT_FALSE(ReadOne(image, changed)) << at;
  }
}

TEST(JpegLayers, CutLevelsAndMask) {
  const Picture picture = NoisePicture(ZAV_FMT_BGRA32, 40, 20, 0, 9);
  for (const int kind : {ZAV_LAYER_JPEG32, ZAV_LAYER_JPEG24, ZAV_LAYER_JPEGMASK}) {
    Bytes file = WriteOne(Layer(kind, {0, 80}), picture.definition);
    Image uncut;
    ASSERT_TRUE(ReadOne(uncut, file));
    const uint8_t levels[][4] = {
        {16, 100, 200, 0}, {0, 0, 0, 90}, {255, 255, 255, 255}, {1, 0, 0, 0}};
    for (const auto& level : levels) {
      std::copy_n(level, 4, &file[kLayerAt + 7]);
      Image cut;
      ASSERT_TRUE(ReadOne(cut, file));
      for (int32_t i = 0; i < 40 * 20 * 4; ++i) {
        const bool applies = i % 4 < 3 || kind == ZAV_LAYER_JPEG32;
        const uint8_t whole = uncut.source.pixels[i];
        ASSERT_EQ(cut.source.pixels[i], applies && whole < level[i % 4] ? 0 : whole) << kind;
      }
    }
  }
  // Rows of the mask follow each other without padding bits; the last size exceeds a chunk.
  for (const auto& [width, height] : {std::pair{3, 3}, {13, 11}, {1024, 520}}) {
    Picture sprite = NoisePicture(ZAV_FMT_BGRA32, width, height, width * 4 + 4, 2);
    Image image;
    ASSERT_TRUE(ReadOne(image, WriteOne(Layer(ZAV_LAYER_JPEGMASK, {3, 1}), sprite.definition)));
    const Bytes read = PixelsAs(image.source, ZAV_FMT_BGRA32);
    const Bytes written = PixelsAs(sprite.definition, ZAV_FMT_BGRA32);
    for (size_t i = 3; i < read.size(); i += 4) ASSERT_EQ(read[i], written[i] >= 128 ? 255 : 0);
  }
}

}  // namespace
}  // namespace zav::test
