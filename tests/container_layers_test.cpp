// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <string>

#include "support/container_files.h"
#include "support/pictures.h"
#include "surface/format_table.h"
#include "surface/records.h"

namespace zav::test {
namespace {

uint8_t Kept(const ZAV_LAYER& layer, int index) {
  return std::min<uint8_t>(layer.fields[index], 8);
}

/// The format that a layer stores, by the public table of kinds.
int32_t StoredFormat(const ZAV_LAYER& layer) {
  const bool red_first = layer.fields[0] % 2 == 1;
  if (layer.kind == ZAV_LAYER_HICOLOR) return ZAV_FMT_RGB565 + layer.fields[0] - 1;
  if (layer.kind == ZAV_LAYER_TRUE24) return red_first ? ZAV_FMT_RGB24 : ZAV_FMT_BGR24;
  const bool words = layer.kind == ZAV_LAYER_TRUE32 || layer.kind == ZAV_LAYER_PACKED32;
  return !words ? ZAV_FMT_PAL8 : red_first ? ZAV_FMT_RGBA32 : ZAV_FMT_BGRA32;
}

/// A byte of which the top `kept` bits survive; the lost ones repeat the top bit.
uint8_t Widened(uint8_t byte, int kept, bool alpha) {
  if (kept == 0) return alpha ? 0xFF : 0;
  const int lost = 0xFF >> kept;
  return static_cast<uint8_t>((byte & 0x80) != 0 ? byte | lost : byte & ~lost);
}

/// Puts what the layer must read back as into `expected.dest`; false if it cannot be written.
bool Expect(Image& expected, const ZAV_LAYER& layer, const ZAV_GFXDEF& source) {
  const bool packed_pal = layer.kind == ZAV_LAYER_PACKEDPAL8;
  const bool cut = packed_pal && (Kept(layer, 0) & Kept(layer, 1) & Kept(layer, 2)) != 8;
  if (packed_pal && (cut || source.format != ZAV_FMT_PAL8)) {
    Image hub;
    if (!hub.Convert(source, ZAV_FMT_BGRA32)) return false;
    for (int32_t i = 0; i < hub.dest.pitch * hub.dest.height; ++i) {
      const int order[4] = {2, 1, 0, 3};  // the record names red, green, blue, alpha
      const int kept = Kept(layer, order[i % 4]);
      hub.dest.pixels[i] = static_cast<uint8_t>(hub.dest.pixels[i] & ~(0xFF >> kept));
    }
    return expected.Convert(hub.dest, ZAV_FMT_PAL8);
  }
  if (layer.kind != ZAV_LAYER_PACKED32 && source.format == StoredFormat(layer)) {
    expected.dest = source;  // stored with its padding
    return true;
  }
  if (!expected.Convert(source, StoredFormat(layer))) return false;
  if (layer.kind != ZAV_LAYER_PACKED32) return true;
  for (int32_t i = 0; i < expected.dest.pitch * expected.dest.height; ++i) {
    const int order[4] = {3, 2, 1, 4};  // offsets 6 to 9 name pixel bytes 2, 1, 0, 3
    const int k = i % 4;
    uint8_t& byte = expected.dest.pixels[i];
    byte = Widened(byte, Kept(layer, order[k]), k == 3);
  }
  return true;
}

void ExpectSame(const ZAV_GFXDEF& expected, const ZAV_GFXDEF& read) {
  EXPECT_EQ(read.pitch, expected.pitch);
  ASSERT_EQ(read.bytes_per_pixel, BytesPerPixel(expected.format));
  ASSERT_EQ(std::pair(read.width, read.height), std::pair(expected.width, expected.height));
  ASSERT_TRUE(read.pixels == nullptr ? read.format == expected.format
                                     : SamePicture(expected, read));
}

/// Writes the picture and reads it back through every entry point.
void RoundTrip(const ZAV_LAYER& layer, const Picture& picture) {
  const ZAV_GFXDEF& source = picture.definition;
  SCOPED_TRACE(testing::Message() << "kind " << int{layer.kind} << ", " << int{layer.fields[0]}
                                  << " from " << source.format << ", " << source.width << " x "
                                  << source.height);
  Image expected;
  const bool can = Expect(expected, layer, source);
  int written = 1;
  ZAV_GFXDEF definition = source;  // with the defaults left to the library
  if (definition.pitch == definition.width * definition.bytes_per_pixel) definition.pitch = 0;
  definition.bytes_per_pixel = 0;
  const Bytes before = picture.pixels;
  const Bytes file = WriteOne(layer, definition, &written);
  EXPECT_EQ(picture.pixels, before);
  ASSERT_EQ(written, can ? 0 : -1);
  if (!can) return;
  Reader stream(file);
  ZAV_LAYER header = Layer(ZAV_REC_IMAGE);
  ASSERT_EQ(ZAV_READ_LAYER(stream, &header), 0);
  ZAV_GFXDEF reported{};
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(ZAV_DECODE_BITMAPFORMAT(stream, &reported), 0);
    ExpectSame(expected.dest, reported);
  }
  ASSERT_EQ(stream.Kind(), layer.kind);
  Image read;
  ASSERT_EQ(ZAV_DECODE_BITMAP(stream, &read), 0);
  ExpectSame(expected.dest, read.source);
  ASSERT_EQ(stream.Kind(), ZAV_KIND_END);

  ExpectSame(expected.dest, Probe("x.zav", file));
  const TemporaryFile on_disk(".ZAV");
  on_disk.Write(file);
  Image from_disk, from_memory, hub;
  ASSERT_EQ(ZAV_CONVERT_FILE(&from_disk, on_disk.path()), 1);
  ExpectSame(expected.dest, from_disk.source);
  from_memory.dest.format = ZAV_FMT_BGRA32;
  ASSERT_TRUE(ReadOne(from_memory, file) && hub.Convert(expected.dest, ZAV_FMT_BGRA32));
  ASSERT_TRUE(SamePicture(hub.dest, from_memory.dest));
}

TEST(ContainerLayers, EveryKindReadsBackExactly) {
  const int32_t sizes[][3] = {{1, 1, 0}, {3, 5, 24}, {7, 2, 0}, {17, 9, 68 + 8}, {150, 111, 0}};
  uint64_t seed = 1;
  for (const ZAV_LAYER& layer : EveryLayer()) {
    for (int32_t format = ZAV_FMT_PAL8; format <= ZAV_FMT_ARGB1555; ++format) {
      if (format == ZAV_FMT_PAL4) continue;
      for (const auto& size : sizes) {
        Picture picture = NoisePicture(format, size[0], size[1], size[2], ++seed);
        // Channels of few values have runs and matches for the packer.
        for (uint8_t& byte : picture.pixels) byte = seed % 3 == 0 ? byte & 0x81 : byte;
        RoundTrip(layer, picture);
        if (HasFatalFailure()) return;
      }
    }
  }
  // Planes of more than one chunk.
  RoundTrip(Layer(ZAV_LAYER_PACKED32, {2, 8, 7, 8, 8}), AsymmetricPicture(300, 230));
}

Bytes Hex(std::string digits) {
  std::erase(digits, ' ');
  Bytes bytes(digits.size() / 2);
  for (size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<uint8_t>(std::stoi(digits.substr(2 * i, 2), nullptr, 16));
  }
  return bytes;
}

// The file that docs/container-format.md explains byte by byte.
TEST(ContainerLayers, FilesAreTheseBytes) {
  Bytes pixels = Hex("0102030405060708 090A0B0C");
  Bytes palette = Hex("112200FF 00004400");
  Bytes same(ZAV_PALETTE_BYTES, 0x41);
  palette.resize(ZAV_PALETTE_BYTES);
  ZAV_GFXDEF true32 = Definition(ZAV_FMT_BGRA32, 2, 1, 12, pixels.data());
  ZAV_GFXDEF pal8 = Definition(ZAV_FMT_PAL8, 3, 2, 4, pixels.data(), palette.data());
  ZAV_GFXDEF run = Definition(ZAV_FMT_PAL8, 4, 4, 4, same.data(), same.data());
  char name[] = "abc";
  Bytes file = WriteContainer([&](void* stream) {
    ZAV_LAYER layers[] = {Layer(23, {2}), Layer(20), Layer(33, {2, 8, 8, 4, 0}),
                          Layer(34, {8, 8, 8, 8})};
    ZAV_GFXDEF* pictures[] = {&true32, &pal8, &true32, &run};
    for (int i = 0; i < 4; ++i) {
      ASSERT_EQ(ZAV_WRITE_IMAGE(stream, i == 0 ? name : nullptr, &layers[i], pictures[i]), 0);
    }
  });
  const std::string name_bytes(64, '0');
  const std::string abc = "616263" + name_bytes.substr(6);
  // clang-format off
  EXPECT_EQ(file, Hex("5A415600"
      " 03 43000000 " + abc +
      " 17 1E000000 02 02000000 01000000 0C000000 0102030405060708090A0B0C"
      " 03 47000000 " + name_bytes +
      " 14 22000000 02 03000000 02000000 04000000 112200FF00004400 0102030405060708"
      // Three groups of four bytes, the padding zero: four raw chunks.
      " 03 67000000 " + name_bytes +
      " 21 42000000 02 08080400 02000000 01000000 0C000000"
      " 07000000 FDFFFFFF 000000  07000000 FDFFFFFF 020600"
      " 07000000 FDFFFFFF 030700  07000000 FDFFFFFF 000000"
      // Runs of one byte: two literals, and one match of what is left.
      " 03 5E000000 " + name_bytes +
      " 22 39000000 08080808 04000000 04000000 04000000"
      " 10000000 00040000 820485FF FFFFFFFF 47000000"
      " 0C000000 10000000 8204852F 00000000"));
  // clang-format on
  EXPECT_EQ(Walk(file.data(), file.size()), 4u);
}

TEST(ContainerLayers, PalettesKeepTheirLastEntryThatIsNotZero) {
  for (const int entries : {10, 255, 256, 0}) {
    Picture picture = NoisePicture(ZAV_FMT_PAL8, 2, 1, 0, 9);
    std::fill(picture.palette.begin() + 4 * entries, picture.palette.end(), uint8_t{0});
    if (entries != 0) picture.palette[static_cast<size_t>(4 * entries) - 4] = 1;
    const Bytes file = WriteOne(Layer(ZAV_LAYER_PAL8), picture.definition);
    const int stored = entries == 0 ? 256 : entries;
    ASSERT_EQ(file.size(), 4u + 37 + 18 + static_cast<size_t>(4 * stored) + 2);
    EXPECT_EQ(file[46], stored % 256);
    Image image;
    ASSERT_TRUE(ReadOne(image, file));
    EXPECT_EQ(image.converter->source.owns_palette(), stored != 256);
    EXPECT_FALSE(image.converter->source.owns_pixels());
    std::fill(picture.palette.begin() + 4 * stored, picture.palette.end(), uint8_t{0xFF});
    EXPECT_EQ(std::memcmp(image.source.palette, picture.palette.data(), 1024), 0);
    EXPECT_EQ(image.source.pixels, file.data() + file.size() - 2);
  }
}

// The library must not reuse a buffer that it allocated for an earlier picture, nor free pointers
// into the file.
TEST(ContainerLayers, BorrowedPixelsAreNeverOwned) {
  const Picture picture = AsymmetricPicture(6, 6);
  Bytes own(6 * 6 * 4);
  const Bytes plain = WriteOne(Layer(ZAV_LAYER_TRUE32, {2}), picture.definition);
  const Bytes packed = WriteOne(Layer(ZAV_LAYER_PACKED32, {2, 8, 8, 8, 8}), picture.definition);
  Image image;
  const auto read = [&](const Bytes& bytes) {
    image.dest = ZAV_GFXDEF{};
    ASSERT_TRUE(ReadOne(image, bytes));
    EXPECT_EQ(image.converter->source.owns_pixels(), &bytes == &packed);
    EXPECT_EQ(std::memcmp(image.source.pixels, picture.pixels.data(), own.size()), 0);
  };
  for (const Bytes* bytes : {&packed, &plain, &packed}) read(*bytes);
  ZAV_FREE_BUFFER(image.source.pixels);
  image.source.pixels = static_cast<uint8_t*>(std::malloc(4));  // the flag still says owned
  read(plain);
  image.source.pixels = own.data();
  read(plain);
  for (const auto& [bytes, format] : {std::pair{&packed, 0}, {&plain, int{ZAV_FMT_PAL4}}}) {
    Reader stream(*bytes);
    ZAV_LAYER header = Layer(ZAV_REC_IMAGE);
    EXPECT_EQ(ZAV_READ_LAYER(stream, &header), 0);
    image.dest.format = format;  // a conversion that fails does not show in the result
    EXPECT_EQ(ZAV_DECODE_BITMAP(stream, &image), 0);
    EXPECT_EQ(ZAV_DECODE_BITMAP(stream, &image), -1);
    // Owned pixels are released by the read that found nothing.
    EXPECT_EQ(image.source.pixels == nullptr, bytes == &packed);
    EXPECT_EQ(image.dest.pixels, nullptr);
  }
  read(packed);
}

TEST(ContainerReader, TheFirstImageRecordIsThePicture) {
  Picture picture = AsymmetricPicture(3, 3);
  const Bytes image = WriteOne(Layer(ZAV_LAYER_TRUE32, {2}), picture.definition);
  const auto reads = [&](const Bytes& front) {
    Bytes file = image;
    file.insert(file.begin() + 4, front.begin(), front.end());
    Image read;
    const bool found = ReadOne(read, file);
    EXPECT_EQ(Probe("zav", file).width, found ? 3 : 0);
    return found;
  };
  const Bytes layer_record(image.begin() + 41, image.end());
  EXPECT_TRUE(reads({}));
  EXPECT_TRUE(reads(layer_record));
  EXPECT_TRUE(reads({2, 7, 0, 0, 0, 1, 1}));                          // an unknown record
  EXPECT_TRUE(reads({99, 0, 0, 0, 0, 98, 9, 9, 9, 9}));               // invalid sizes
  EXPECT_FALSE(reads({ZAV_KIND_END, 5, 0, 0, 0}));                    // read as the end
  EXPECT_FALSE(reads(Bytes(image.begin() + 4, image.begin() + 41)));  // an image without a layer
  Bytes mipmap(38, 0);
  mipmap[0] = ZAV_REC_MIPMAP;
  mipmap.insert(mipmap.end(), layer_record.begin(), layer_record.end());
  EXPECT_TRUE(reads(mipmap));
  Bytes none = image;
  none.erase(none.begin() + 4, none.begin() + 41);  // a layer on its own
  Image read;
  EXPECT_FALSE(ReadOne(read, none));
}

}  // namespace
}  // namespace zav::test
