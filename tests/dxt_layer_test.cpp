// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// DXT layers: what is stored is what the encoder makes of the padded picture, packed or not, and
// hostile ones do no harm.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "base/endian.h"
#include "encodings/dxt.h"
#include "platform/dxt_encoder.h"
#include "support/container_files.h"
#include "support/failing_heap.h"
#include "support/page_end_buffer.h"
#include "support/pictures.h"

namespace zav::test {
namespace {

/// The blocks of the picture with its edge pixels repeated to whole blocks.
Bytes PaddedBlocks(int variant, Picture& picture) {
  const int width = picture.definition.width, height = picture.definition.height;
  const int padded_width = (width + 3) / 4 * 4, padded_height = (height + 3) / 4 * 4;
  Bytes padded;
  for (int y = 0; y < padded_height; ++y) {
    for (int x = 0; x < padded_width; ++x) {
      const uint8_t* pixel = picture.Row(std::min(y, height - 1)) + std::min(x, width - 1) * 4;
      padded.insert(padded.end(), pixel, pixel + 4);
    }
  }
  Bytes blocks(static_cast<size_t>(DxtBlockBytes(variant, padded_width, padded_height)));
  EncodeDxt(variant, padded.data(), padded_width, padded_height, padded_width * 4, blocks.data());
  return blocks;
}

/// Reads the one picture of a file as a host that walks the records does.
int Decode(Image& image, ZAV_GFXDEF& definition, uint8_t* data, size_t size) {
  void* stream = ZAV_OPEN_READ(data, static_cast<int>(size));
  ZAV_LAYER header = Layer(ZAV_REC_IMAGE);
  int result = ZAV_READ_LAYER(stream, &header);
  if (result == 0) result = ZAV_DECODE_BITMAPFORMAT(stream, &definition);
  if (result == 0) result = ZAV_DECODE_BITMAP(stream, &image);
  int kind = 0;
  if (result == 0 && (ZAV_GET_LAYER_TYPE(stream, &kind) != 0 || kind != ZAV_KIND_END)) result = -2;
  ZAV_CLOSE(stream);
  return result;
}

TEST(DxtLayers, HoldTheBlocksOfThePaddedPicture) {
  for (int variant = 1; variant <= 5; ++variant) {
    for (int packed = 0; packed < 2; ++packed) {
      for (const auto& [width, height] :
           {std::pair{1, 1}, {4, 4}, {5, 9}, {6, 5}, {8, 8}, {13, 3}, {300, 401}}) {
        SCOPED_TRACE(testing::Message() << "DXT" << variant << " " << width << "x" << height);
        Picture picture = AsymmetricPicture(width, height);
        const Bytes blocks = PaddedBlocks(variant, picture);
        Bytes file = WriteOne(Layer(ZAV_LAYER_DXT1 + variant - 1, {packed}), picture.definition);
        EXPECT_EQ(LoadLe32(&file[4 + 37 + 6]), static_cast<uint32_t>(width));
        EXPECT_EQ(LoadLe32(&file[4 + 37 + 10]), static_cast<uint32_t>(height));
        Image image;
        ZAV_GFXDEF definition;
        ASSERT_EQ(Decode(image, definition, file.data(), file.size()), 0);
        ASSERT_EQ(image.source.width, (width + 3) / 4 * 4);
        ASSERT_EQ(image.source.height, (height + 3) / 4 * 4);
        ASSERT_EQ(image.source.format, ZAV_FMT_DXT1 + variant - 1);
        ASSERT_EQ(image.source.bytes_per_pixel, 0);
        // The converter has no size rule for the formats that it only copies.
        const int pitch = variant % 2 == 0 ? 0 : static_cast<int>(blocks.size());
        ASSERT_EQ(image.source.pitch, pitch);
        ASSERT_EQ(definition.pitch, pitch);
        ASSERT_EQ(std::memcmp(image.source.pixels, blocks.data(), blocks.size()), 0);
        const bool in_place =
            image.source.pixels >= file.data() && image.source.pixels < file.data() + file.size();
        EXPECT_EQ(in_place, packed == 0);
      }
    }
  }
}

TEST(DxtLayers, OtherFormatsAreConvertedFirst) {
  Picture indexed = NoisePicture(ZAV_FMT_PAL8, 6, 5, 0, 3);
  Image expected;
  expected.source = indexed.definition;
  expected.dest.format = ZAV_FMT_BGRA32;
  ASSERT_EQ(ZAV_CONVERT_RAW(&expected), 1);
  EXPECT_EQ(WriteOne(Layer(ZAV_LAYER_DXT5), indexed.definition),
            WriteOne(Layer(ZAV_LAYER_DXT5), expected.dest));
  ForceDdrawState(DdrawState::kFailed);
  int result = 0;
  WriteOne(Layer(ZAV_LAYER_DXT5), indexed.definition, &result);
  EXPECT_EQ(result, -1);
  ForceDdrawState(DdrawState::kNotTried);
}

TEST(DxtLayers, HostileLayersDoNoHarm) {
  Picture picture = AsymmetricPicture(9, 5);
  for (const int kind : {ZAV_LAYER_DXT1, ZAV_LAYER_DXT4, ZAV_LAYER_DXT5}) {
    for (int packed = 0; packed < 2; ++packed) {
      Bytes file = WriteOne(Layer(kind, {packed}), picture.definition);
      for (size_t length = 0; length < file.size(); ++length) {
        PageEndBuffer cut(file.data(), length);
        ASSERT_EQ(Walk(cut.data(), length), 0u) << length;
      }
      for (size_t i = 0; i < file.size(); ++i) {
        for (const int change : {1, 0x10, 0x80, 0xFF}) {
          Bytes changed = file;
          changed[i] = static_cast<uint8_t>(changed[i] ^ change);
          PageEndBuffer block(changed.data(), changed.size());
          Image image;
          image.dest.format = ZAV_FMT_BGRA32;
          ZAV_GFXDEF definition;
          Decode(image, definition, block.data(), block.size());
        }
      }
      // Sides, and a total, that the few bytes behind them cannot justify.
      for (const uint32_t side : {0u, 16u, 40000u, 0x7FFFFFFFu, 0x80000000u}) {
        Bytes changed = file;
        StoreLe32(&changed[4 + 37 + 6], side);
        if (packed == 1) StoreLe32(&changed[4 + 37 + 14], side);
        Image image;
        ZAV_GFXDEF definition;
        const FailingHeap heap(1);  // the stream
        EXPECT_EQ(Decode(image, definition, changed.data(), changed.size()), -1) << side;
        EXPECT_EQ(heap.refused(), 0);
      }
    }
  }
}

TEST(DxtLayers, EveryFailedAllocationIsAFailure) {
  Picture picture = AsymmetricPicture(9, 5);
  picture.definition.format = ZAV_FMT_RGBA32;
  Bytes file;
  const auto write = [&] {
    int result = -1;
    file = WriteOne(Layer(ZAV_LAYER_DXT5, {1}), picture.definition, &result);
    return result == 0;
  };
  const auto fails = [](int, bool succeeded) { EXPECT_FALSE(succeeded); };
  FailEveryAllocation(write, fails);
  const auto read = [&] {
    Image image;
    return ReadOne(image, file);
  };
  FailEveryAllocation(read, fails);
}

}  // namespace
}  // namespace zav::test
