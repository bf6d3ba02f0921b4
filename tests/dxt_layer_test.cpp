// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// DXT layers: what is stored is what the encoder makes of the padded picture, packed or not.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "base/endian.h"
#include "encodings/dxt.h"
#include "platform/dxt_encoder.h"
#include "support/container_files.h"
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
        ZAV_GFXDEF probed;
        ASSERT_EQ(ZAV_GETFILEFORMAT_FROMMEM(&probed, "zav", file.data(), long(file.size())), 1);
        Image image;
        ASSERT_TRUE(ReadOne(image, file));
        ASSERT_EQ(image.source.width, (width + 3) / 4 * 4);
        ASSERT_EQ(image.source.height, (height + 3) / 4 * 4);
        ASSERT_EQ(image.source.format, ZAV_FMT_DXT1 + variant - 1);
        ASSERT_EQ(image.source.bytes_per_pixel, 0);
        // The converter has no size rule for the formats that it only copies.
        const int pitch = variant % 2 == 0 ? 0 : static_cast<int>(blocks.size());
        ASSERT_EQ(image.source.pitch, pitch);
        ASSERT_EQ(probed.pitch, pitch);
        ASSERT_EQ(std::memcmp(image.source.pixels, blocks.data(), blocks.size()), 0);
        EXPECT_EQ(image.converter->source.owns_pixels(), packed == 1);
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

}  // namespace
}  // namespace zav::test
