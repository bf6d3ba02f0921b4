// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "base/endian.h"
#include "support/container_files.h"
#include "support/pictures.h"

namespace zav::test {
namespace {

/// A mipmap image alone in its file.
Bytes WriteLevels(ZAV_LAYER layer, ZAV_GFXDEF definition, int levels, int result = 0) {
  char name[] = "levels";
  return WriteContainer([&](void* stream) {
    EXPECT_EQ(ZAV_WRITE_MIPMAPIMAGE(stream, name, levels, &layer, &definition), result);
  });
}

/// Walks the levels and compares each with the next one of a chain of its own.
void ExpectChain(const ZAV_LAYER& layer, const Picture& picture, int levels, int expected) {
  SCOPED_TRACE(testing::Message() << "layer " << int{layer.kind} << ", format "
                                  << picture.definition.format << ", " << picture.definition.width
                                  << " x " << picture.definition.height << ", " << levels);
  const Bytes file = WriteLevels(layer, picture.definition, levels);
  Reader stream(file);
  ZAV_LAYER header = Layer(ZAV_REC_MIPMAP);
  ASSERT_EQ(ZAV_READ_LAYER(stream, &header), 0);
  EXPECT_STREQ(reinterpret_cast<char*>(header.fields), "levels");
  EXPECT_EQ(LoadLe32(header.size), file.size() - 4);
  ASSERT_EQ(header.fields[32], expected);
  ZAV_GFXDEF level = picture.definition;
  Image chain[2];
  for (int i = 0; i < expected; ++i) {
    Image read, wanted;
    ASSERT_EQ(ZAV_DECODE_BITMAP(stream, &read), 0);
    const Bytes one = WriteOne(layer, level);
    ASSERT_TRUE(ReadOne(wanted, one));
    ASSERT_TRUE(SamePicture(wanted.source, read.source)) << "level " << i;
    EXPECT_EQ(read.source.width, std::max(picture.definition.width >> i, 1));
    EXPECT_EQ(read.source.height, std::max(picture.definition.height >> i, 1));
    Image& next = chain[i % 2];
    ZAV_FREE(&next);
    ZAV_INIT(&next);
    next.source = level;
    ASSERT_EQ(ZAV_GEN_MIPMAPLEVEL(&next), 1);
    level = next.dest;
  }
  EXPECT_EQ(stream.Kind(), ZAV_KIND_END);
}

TEST(MipmapImage, LevelsAreAChain) {
  const int sizes[][3] = {{128, 128, 8}, {64, 16, 7}, {1, 8, 4}, {8, 1, 4}, {1, 1, 1}, {2, 64, 7}};
  for (const ZAV_LAYER& layer : EveryLayer()) {
    for (const int32_t format : {ZAV_FMT_PAL8, ZAV_FMT_RGBA32, ZAV_FMT_BGRA32, ZAV_FMT_RGB24}) {
      for (const auto& size : sizes) {
        ExpectChain(layer, NoisePicture(format, size[0], size[1], 0, 3), 20, size[2]);
        if (HasFatalFailure()) return;
      }
    }
  }
  const Picture picture = SpritePicture(ZAV_FMT_BGRA32, 16, 4, 8, 1);
  const int asked[][2] = {{5, 5}, {6, 5}, {0x7FFFFFFF, 5}, {4, 4}, {1, 1}, {0, 0}, {-1, 0}};
  for (const auto& [levels, expected] : asked) {
    ExpectChain(Layer(ZAV_LAYER_TRUE32, {2}), picture, levels, expected);
  }
}

TEST(MipmapImage, LevelsThatCannotBeWrittenAreLeftOut) {
  // A kind that is a record but no layer.
  const Picture picture = SpritePicture(ZAV_FMT_BGRA32, 256, 256, 8, 1);
  const Bytes none = WriteLevels(Layer(ZAV_REC_TILED), picture.definition, 20);
  ASSERT_EQ(none.size(), 4u + 38);
  EXPECT_EQ(LoadLe32(&none[5]), 38u);
  EXPECT_EQ(none[41], 0);
  // Blocks of 4 x 4 pixels have no smaller levels.
  const Bytes blocks = WriteLevels(Layer(ZAV_LAYER_DXT1), picture.definition, 20);
  EXPECT_EQ(blocks[41], blocks.size() > 42 ? 7 : 0);
}

}  // namespace
}  // namespace zav::test
