// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Image records of every kind: what they have in common, and mipmaps.

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "base/endian.h"
#include "convert/environment.h"
#include "kinds/container_reader.h"
#include "support/container_files.h"
#include "support/failing_heap.h"
#include "support/page_end_buffer.h"
#include "support/pictures.h"
#include "surface/surface.h"

namespace zav::test {
namespace {

const ZAV_LAYER kTrue32 = Layer(ZAV_LAYER_TRUE32, {2});
const ZAV_LAYER kPacked32 = Layer(ZAV_LAYER_PACKED32, {2 + 4, 8, 8, 8, 8});
const ZAV_LAYER kPal8 = Layer(ZAV_LAYER_PAL8);
const ZAV_LAYER kPackedPal8 = Layer(ZAV_LAYER_PACKEDPAL8, {8, 8, 8, 8});
const ZAV_LAYER kLayers[] = {kTrue32, kPacked32, kPal8, kPackedPal8};

/// The format of which a layer keeps every bit.
int32_t FormatOf(const ZAV_LAYER& layer) {
  return layer.kind == ZAV_LAYER_TRUE32 || layer.kind == ZAV_LAYER_PACKED32 ? ZAV_FMT_BGRA32
                                                                            : ZAV_FMT_PAL8;
}

bool IsPowerOfTwo(int32_t side) { return (side & (side - 1)) == 0; }

void ReadsBackExactly(int32_t width, int32_t height) {
  std::vector<std::pair<int, Picture>> written;
  const Bytes file = WriteContainer([&](void* stream) {
    for (ZAV_LAYER layer : kLayers) {
      for (const int kind : kImageKinds) {
        // A uniform picture leaves no block to store.
        if (kind == ZAV_REC_SQUIZ && width * height == 1) continue;
        Picture picture = SpritePicture(FormatOf(layer), width, height, 8,
                                        static_cast<uint64_t>(width * 41 + height));
        const bool can = kind != ZAV_REC_MIPMAP || (IsPowerOfTwo(width) && IsPowerOfTwo(height));
        ASSERT_EQ(WriteImageOf(kind, stream, nullptr, &layer, &picture.definition), can ? 0 : -1);
        if (!can) continue;
        written.emplace_back(kind, std::move(picture));
      }
    }
  });
  size_t at = 4;
  for (const auto& [kind, picture] : written) {
    SCOPED_TRACE(testing::Message() << "kind " << kind << ", format " << picture.definition.format
                                    << ", " << width << " x " << height);
    const size_t size = LoadLe32(&file[at + 1]);
    Bytes one = {'Z', 'A', 'V', 0};
    Append(one, Bytes(&file[at], &file[at] + size));
    at += size;
    Image image;
    ASSERT_TRUE(ReadOne(image, one));
    ASSERT_TRUE(SamePicture(picture.definition, image.source));
    const ZAV_GFXDEF probed = Probe("zav", one);
    ASSERT_EQ(probed.format, image.source.format);
    ASSERT_EQ(std::pair(probed.width, probed.height), std::pair(width, height));
    if (kind == ZAV_REC_SQUIZ) continue;  // the probe reports the strip's pitch
    ASSERT_EQ(probed.pitch, image.source.pitch);
    ASSERT_EQ(image.source.pitch % (kind == ZAV_REC_TILED ? 8 : 1), 0);
  }
  EXPECT_EQ(at, file.size());
}

TEST(ImageKinds, EverySizeReadsBackExactly) {
  for (int32_t width = 1; width <= 40; ++width) {
    for (int32_t height = 1; height <= 40; ++height) {
      ReadsBackExactly(width, height);
      if (HasFatalFailure()) return;
    }
  }
  const int32_t large[][2] = {{257, 257}, {300, 200},  {600, 100}, {3, 5000},
                              {5001, 7},  {1023, 301}, {511, 770}, {1, 40000}};
  for (const auto& size : large) ReadsBackExactly(size[0], size[1]);
}

TEST(ImageKinds, RefusedPicturesLeaveNoByte) {
  const Picture picture = SpritePicture(ZAV_FMT_PAL8, 16, 16, 8, 1);
  const ZAV_GFXDEF good = picture.definition;
  std::vector<ZAV_GFXDEF> refused(7, good);
  refused[0].height = 0;
  refused[1].width = -16;
  refused[2].pixels = nullptr;
  refused[3].palette = nullptr;
  refused[4].format = ZAV_FMT_PAL4;
  refused[5].pitch = 15;
  refused[6].format = 99;
  for (const int kind : {ZAV_REC_TILED, ZAV_REC_SQUIZ, ZAV_REC_MIPMAP}) {
    const auto refuses = [&](ZAV_LAYER* layer, ZAV_GFXDEF* definition) {
      const Bytes file = WriteContainer([&](void* stream) {
        EXPECT_EQ(WriteImageOf(kind, stream, nullptr, layer, definition), -1);
        // Only the mipmap writer checks before it uses the stream.
        ZAV_LAYER again = kPal8;
        ZAV_GFXDEF same = good;
        EXPECT_EQ(WriteImageOf(kind, stream, nullptr, &again, &same),
                  kind == ZAV_REC_MIPMAP ? 0 : -1);
      });
      EXPECT_EQ(file.size() == 4, kind != ZAV_REC_MIPMAP);
      EXPECT_EQ(Walk(const_cast<uint8_t*>(file.data()), file.size()),
                kind != ZAV_REC_MIPMAP ? 0u : 5u);
    };
    for (ZAV_LAYER layer : {kTrue32, kPackedPal8}) {
      for (ZAV_GFXDEF definition : refused) refuses(&layer, &definition);
      refuses(&layer, nullptr);
    }
    ZAV_GFXDEF definition = good;
    ZAV_LAYER unknown = Layer(32);
    refuses(nullptr, &definition);
    refuses(&unknown, &definition);
    ZAV_LAYER layer = kPal8;
    Reader reading({'Z', 'A', 'V', 0});
    EXPECT_EQ(WriteImageOf(kind, reading, nullptr, &layer, &definition), -1);
    EXPECT_EQ(reading.Kind(), -1);
  }
}

TEST(ImageKinds, WritersPublishTheEnvironmentOfTheirConversionsAndReadersLeaveIt) {
  ZAV_CONVERTER filtering{};
  filtering.env = ZAV_ENV_FILTER;
  const Picture picture = NoisePicture(ZAV_FMT_RGB24, 300, 9, 0, 1);
  const ZAV_LAYER hicolor = Layer(ZAV_LAYER_HICOLOR, {1});
  const std::tuple<int, ZAV_LAYER, uint32_t> rows[] = {
      {ZAV_REC_IMAGE, hicolor, 0},
      {ZAV_REC_TILED, hicolor, 0},
      {ZAV_REC_SQUIZ, hicolor, 0},
#ifdef ZAV_HAVE_JPEG
      {ZAV_REC_IMAGE, Layer(ZAV_LAYER_JPEG24, {0, 50}), 0},
      {ZAV_REC_IMAGE, Layer(ZAV_LAYER_JPEG24, {1, 50}), ZAV_ENV_FILTER},  // no conversion
      {ZAV_REC_IMAGE, Layer(ZAV_LAYER_JPEGMASK, {0, 50}), ZAV_ENV_FILTER},
#endif
  };
  for (const auto& [kind, layer, published] : rows) {
    PublishEnv(filtering);
    const Bytes file = WriteOne(layer, picture.definition, nullptr, kind);
    EXPECT_EQ(PublishedEnv(), published) << kind << ", " << int{layer.kind};
    PublishEnv(filtering);
    ScopedConverter converter;
    EXPECT_TRUE(ContainerRead(converter, file.data(), static_cast<int64_t>(file.size())));
    EXPECT_EQ(PublishedEnv(), uint32_t{ZAV_ENV_FILTER});
  }
}

/// Kinds of images, with their layers.
std::vector<std::pair<int, ZAV_LAYER>> EveryKindAndLayer() {
  std::vector<std::pair<int, ZAV_LAYER>> all;
  for (const ZAV_LAYER& layer : EveryLayer()) all.emplace_back(ZAV_REC_IMAGE, layer);
  for (const int kind : {ZAV_LAYER_DXT1, ZAV_LAYER_DXT4, ZAV_LAYER_DXT5}) {
    for (const int packed : {0, 1}) all.emplace_back(ZAV_REC_IMAGE, Layer(kind, {packed}));
  }
#ifdef ZAV_HAVE_JPEG
  for (const int kind : {ZAV_LAYER_JPEG32, ZAV_LAYER_JPEG24, ZAV_LAYER_JPEGMASK}) {
    all.emplace_back(ZAV_REC_IMAGE, Layer(kind, {0, 20}));
  }
#endif
  for (const int kind : {ZAV_REC_TILED, ZAV_REC_SQUIZ, ZAV_REC_MIPMAP}) {
    for (const ZAV_LAYER& layer : kLayers) all.emplace_back(kind, layer);
  }
  return all;
}

TEST(ImageKinds, CutAndChangedFilesDoNoHarm) {
  for (const auto& [kind, layer] : EveryKindAndLayer()) {
    // One layer; two tiles; three rows of blocks; three levels.
    const int32_t width = kind == ZAV_REC_TILED ? 257 : kind == ZAV_REC_IMAGE ? 9 : 4;
    const int32_t height = kind == ZAV_REC_SQUIZ ? 20 : kind == ZAV_REC_IMAGE ? 5 : 2;
    Picture picture = SpritePicture(FormatOf(layer), width, height, 8, 3);
    if (layer.kind == ZAV_LAYER_PAL8 && kind != ZAV_REC_SQUIZ) {  // leaves squares to store
      std::fill(picture.palette.begin() + 8, picture.palette.end(), uint8_t{0});
    }
    const Bytes file = WriteOne(layer, picture.definition, nullptr, kind);
    for (size_t length = 0; length < file.size(); ++length) {
      PageEndBuffer cut(file.data(), length);
      const size_t pictures = Walk(cut.data(), length);
      Image image;
      const bool read = ZAV_CONVERT_MEMFILE(&image, "zav", cut.data(), long(length)) == 1;
      ASSERT_TRUE(!read || kind == ZAV_REC_MIPMAP) << kind << ", " << length << " bytes";
      ASSERT_TRUE(pictures == 0 || kind != ZAV_REC_IMAGE) << int{layer.kind} << ", " << length;
    }
    PageEndBuffer block(file.size());
    std::copy(file.begin(), file.end(), block.data());
    Image whole;
    ASSERT_TRUE(ReadOne(whole, file)) << kind << ", " << int{layer.kind};
    for (size_t i = 0; i < file.size(); ++i) {
      for (const int value : {0, 1, 0x7F, 0x80, 0xFF, file[i] ^ 0x10, file[i] + 1, file[i] - 1}) {
        block.data()[i] = static_cast<uint8_t>(value);
        Walk(block.data(), file.size());
      }
      block.data()[i] = file[i];
    }
    EXPECT_TRUE(std::equal(file.begin(), file.end(), block.data()));  // no reader writes
  }
}

// Sides that the few bytes after them cannot justify are refused before any memory is asked for.
TEST(ImageKinds, HostileSidesTakeNoMemory) {
  // Width, height, pitch; only the pitch is wrong in the last two.
  const uint32_t rows[][3] = {{32768, 16383, 131072}, {1, 0x7FFFFFFF, 4},
                              {0x80000000, 1, 4},     {1, 0x80000000, 4},
                              {65536, 65536, 262144}, {0, 4, 16},
                              {65536, 32767, 65536},  {4, 0, 16},
                              {23000, 23000, 92000},  {40000, 40000, 160000},
                              {0x1FFFFFFF, 1, 16},    {51200, 129, 204800},
                              {160, 10, 15},          {1, 5, 0x40000001}};
  for (const auto& [kind, layer] : EveryKindAndLayer()) {
    if (kind == ZAV_REC_IMAGE && layer.kind == ZAV_LAYER_PAL8) continue;  // its palette comes first
    if (kind == ZAV_REC_MIPMAP) continue;                                 // has no sides
    const Picture picture = SpritePicture(FormatOf(layer), 16, 16, 8, 3);
    const Bytes good = WriteOne(layer, picture.definition, nullptr, kind);
    const bool dxt = layer.kind >= ZAV_LAYER_DXT1 && layer.kind <= ZAV_LAYER_DXT5;
    const size_t in_layer = layer.kind == ZAV_LAYER_PACKED32     ? 10
                            : layer.kind == ZAV_LAYER_PACKEDPAL8 ? 9
                                                                 : 6;
    for (const auto& row : rows) {
      if (&row >= std::end(rows) - 2 && (dxt || kind != ZAV_REC_IMAGE)) continue;
      Bytes file = good;
      const size_t at = 41 + (kind == ZAV_REC_IMAGE ? in_layer : 0);
      const size_t fields = kind != ZAV_REC_IMAGE || dxt ? 2 : 3;
      for (size_t i = 0; i < fields; ++i) StoreLe32(&file[at + i * 4], row[i]);
      if (dxt && layer.fields[0] == 1) StoreLe32(&file[at + 8], row[0]);  // the blocks' bytes
      Image image;
      const FailingHeap heap(0);
      EXPECT_FALSE(ReadOne(image, file));
      EXPECT_EQ(heap.refused(), 0)
          << kind << ", " << int{layer.kind} << ": " << row[0] << " x " << row[1];
    }
  }
}

TEST(ImageKinds, EveryFailedAllocationIsAFailure) {
  const TemporaryFile file;
  const auto fails = [](int, bool succeeded) { EXPECT_FALSE(succeeded); };
  for (const auto& [kind, layer] : EveryKindAndLayer()) {
    for (const int32_t format : {ZAV_FMT_BGRA32, ZAV_FMT_PAL8}) {
      SCOPED_TRACE(testing::Message() << kind << ", " << int{layer.kind} << " of " << format);
      ZAV_LAYER record = layer;
      Picture picture = SpritePicture(format, 32, kind == ZAV_REC_TILED ? 300 : 64, 8, 4);
      const size_t whole = WriteOne(layer, picture.definition, nullptr, kind).size();
      const auto write = [&, image_kind = kind] {
        void* stream = ZAV_OPEN_WRITE(file.path());
        const int written = WriteImageOf(image_kind, stream, nullptr, &record, &picture.definition);
        ZAV_CLOSE(stream);
        return written == 0 && file.Read().size() == whole;  // levels may be left out
      };
      const auto read = [&, kind = layer.kind] {
        Image image;
        image.dest.format =
            kind >= ZAV_LAYER_DXT1 && kind < ZAV_LAYER_PACKED32 ? 0 : ZAV_FMT_RGBA32;
        if (ZAV_CONVERT_FILE(&image, file.path()) == 1) return true;
        EXPECT_EQ(image.source.pixels, nullptr);
        EXPECT_TRUE(image.converter == nullptr || image.converter->source.flags == 0);
        return false;
      };
      FailEveryAllocation(write, fails);
      FailEveryAllocation(read, fails);
    }
  }
}

/// Compares the levels of a mipmap image with plain images of a chain of levels.
void ExpectChain(ZAV_LAYER layer, const Picture& picture, int levels, int expected) {
  ZAV_GFXDEF level = picture.definition;
  SCOPED_TRACE(testing::Message() << "layer " << int{layer.kind} << ", format " << level.format
                                  << ", " << level.width << " x " << level.height << ", "
                                  << levels);
  char name[] = "levels";
  const Bytes file = WriteContainer(
      [&](void* to) { EXPECT_EQ(ZAV_WRITE_MIPMAPIMAGE(to, name, levels, &layer, &level), 0); });
  Reader stream(file);
  ZAV_LAYER header = Layer(ZAV_REC_MIPMAP);
  ASSERT_EQ(ZAV_READ_LAYER(stream, &header), 0);
  EXPECT_STREQ(reinterpret_cast<char*>(header.fields), name);
  EXPECT_EQ(LoadLe32(header.size), file.size() - 4);
  ASSERT_EQ(header.fields[32], expected);
  std::vector<Image> chain(static_cast<size_t>(expected));
  for (Image& made : chain) {
    Image read, wanted;
    ASSERT_EQ(ZAV_DECODE_BITMAP(stream, &read), 0);
    const Bytes one = WriteOne(layer, level);
    ASSERT_TRUE(ReadOne(wanted, one));
    ASSERT_TRUE(SamePicture(wanted.source, read.source)) << read.source.width;
    made.source = level;
    ASSERT_EQ(ZAV_GEN_MIPMAPLEVEL(&made), 1);
    level = made.dest;
  }
  EXPECT_EQ(stream.Kind(), ZAV_KIND_END);
}

TEST(MipmapImage, LevelsAreAChain) {
  const int sizes[][3] = {{128, 128, 8}, {64, 16, 7}, {1, 8, 4}, {8, 1, 4}, {1, 1, 1}, {2, 64, 7}};
  for (const ZAV_LAYER& layer : EveryLayer()) {
    for (const int32_t format : {ZAV_FMT_PAL8, ZAV_FMT_RGBA32, ZAV_FMT_BGRA32, ZAV_FMT_RGB24}) {
      for (const auto& [width, height, levels] : sizes) {
        ExpectChain(layer, NoisePicture(format, width, height, 0, 3), 20, levels);
        if (HasFatalFailure()) return;
      }
    }
  }
  const Picture picture = SpritePicture(ZAV_FMT_BGRA32, 16, 4, 8, 1);
  const int asked[][2] = {{5, 5}, {6, 5}, {0x7FFFFFFF, 5}, {4, 4}, {1, 1}, {0, 0}, {-1, 0}};
  for (const auto& [levels, expected] : asked) ExpectChain(kTrue32, picture, levels, expected);
}

TEST(MipmapImage, LevelsThatCannotBeWrittenAreLeftOut) {
  const Picture picture = SpritePicture(ZAV_FMT_BGRA32, 256, 256, 8, 1);
  const auto write = [&](const ZAV_LAYER& layer) {
    return WriteOne(layer, picture.definition, nullptr, ZAV_REC_MIPMAP);
  };
  const Bytes none = write(Layer(ZAV_REC_TILED));  // a record, but not a layer
  ASSERT_EQ(none.size(), 4u + 38);
  EXPECT_EQ(LoadLe32(&none[5]), 38u);
  EXPECT_EQ(none[41], 0);
  EXPECT_EQ(write(Layer(ZAV_LAYER_DXT1))[41], 7);  // no levels smaller than a block
}

}  // namespace
}  // namespace zav::test
