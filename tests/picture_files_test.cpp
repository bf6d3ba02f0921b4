// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Readers of BMP, Targa and SGI files against plain ones, byte by byte: whole, cut and damaged
// files. Writers of BMP and Targa files.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string_view>

#include "base/endian.h"
#include "support/container_files.h"
#include "support/failing_heap.h"
#include "support/page_end_buffer.h"
#include "support/picture_files.h"
#include "support/pictures.h"
#include "support/trace_recorder.h"
#include "support/vector_targets.h"

namespace zav::test {
namespace {

/// What a file must be read as. The definition is known if the header is sound.
struct Expected {
  bool probed = false, read = false;
  int64_t format = 0, width = 0, height = 0, pitch = 0;
  Bytes pixels, palette;  // in memory that was filled with `background`

  uint8_t* Row(int64_t y) { return &pixels[static_cast<size_t>(y * pitch)]; }
  /// False for pictures that are too large for these tests.
  bool Allocate(uint8_t background) {
    if (width < 1 || height < 1 || width * height > 1 << 16) return false;
    pixels.assign(static_cast<size_t>(pitch * height), background);
    palette.assign(ZAV_PALETTE_BYTES, background);
    return true;
  }
};
using PlainReader = Expected (*)(const Bytes& file, uint8_t background);

Expected PlainBmp(const Bytes& file, uint8_t background) {
  Expected e;
  if (file.size() < 54) return e;
  e.width = static_cast<int32_t>(LoadLe32(&file[18]));
  e.height = static_cast<int32_t>(LoadLe32(&file[22]));
  const int64_t bits = LoadLe16(&file[28]), used = static_cast<int32_t>(LoadLe32(&file[46]));
  e.format = bits == 1    ? ZAV_FMT_BGRA32
             : bits == 8  ? ZAV_FMT_PAL8
             : bits == 16 ? ZAV_FMT_RGB565
             : bits == 24 ? ZAV_FMT_BGR24
                          : 0;
  e.pitch = bits == 1 ? e.width * 4 : (e.width * bits + 31) / 32 * 4;
  if (e.format == 0 || !e.Allocate(background)) return e;
  e.probed = bits != 16;
  const int64_t entries = bits != 8 ? 0 : used >= 1 && used <= 256 ? used : 256;
  const int64_t start = bits == 1 ? 62 : 54 + entries * 4, row = (e.width * bits + 31) / 32 * 4;
  const auto size = static_cast<int64_t>(file.size());
  if (start + row * e.height > size) return e;
  e.read = true;
  for (int64_t i = 0; i < e.width * e.height; ++i) {
    const int64_t x = i % e.width, y = i / e.width;
    const uint8_t* from = file.data() + start + (e.height - 1 - y) * row;
    if (bits == 1) {
      std::fill_n(e.Row(y) + x * 4, 4, uint8_t((from[x / 8] & 0x80 >> x % 8) != 0 ? 0 : 255));
    } else if (x == 0) {
      std::copy_n(from, row, e.Row(y));  // padding included
    }
  }
  for (int64_t i = 0; i < 1024; ++i) {
    uint8_t& byte = e.palette[static_cast<size_t>(i)];
    if (i < entries * 4) byte = file[static_cast<size_t>(54 + i)];
    if (i % 4 == 3) byte = static_cast<uint8_t>(255 - byte);
  }
  return e;
}

/// Files that end early leave the rest of the memory; raw rows that are cut are dropped.
Expected PlainTga(const Bytes& file, uint8_t background) {
  Expected e;
  if (file.size() < 18) return e;
  const int64_t p = file[16] / 8, size = static_cast<int64_t>(file.size());
  const int type = file[2] & ~8;
  const bool packed = (file[2] & 8) != 0;
  if ((type != 1 && type != 2) || file[16] % 8 != 0 || p < 1 || p > 4) return e;
  constexpr int64_t kFormats[] = {0, ZAV_FMT_PAL8, ZAV_FMT_RGB555, ZAV_FMT_BGR24, ZAV_FMT_BGRA32};
  e.format = kFormats[p];
  e.width = LoadLe16(&file[12]);
  e.height = LoadLe16(&file[14]);
  e.pitch = e.width * p;
  if (!e.Allocate(background)) return e;
  e.probed = !packed;
  e.read = true;
  int64_t at = std::min<int64_t>(18 + file[0], size);
  const int64_t length = LoadLe16(&file[5]), entry = file[7] == 24 ? 3 : file[7] == 16 ? 2 : 0;
  for (int64_t i = 0; i < 256; ++i) {
    uint8_t* color = &e.palette[static_cast<size_t>(i * 4)];
    const uint8_t* from = &file[0] + at + i * entry;
    if (i >= length) {
      std::fill_n(color, 3, uint8_t{0xFF});
    } else if (entry != 0 && at + (i + 1) * entry <= size) {
      const uint32_t v = LoadLe16(from);
      for (int k = 0; k < 3; ++k) color[k] = entry == 3 ? from[k] : uint8_t(v >> 5 * k << 3);
    }
    color[3] = 0xFF;
  }
  if (p == 1) at = std::min(at + length * entry, size);
  const bool top_down = p != 1 && (file[17] & 0x20) != 0;
  int64_t pending = 0, start = 0;  // pixels left of a packet, and the offset of the next one
  for (int64_t i = 0; i < e.width * e.height; ++i) {
    const int64_t x = i % e.width, y = top_down ? i / e.width : e.height - 1 - i / e.width;
    if (!packed) {
      if (x == 0 && at + e.pitch > size) break;
      std::copy_n(&file[0] + at, p, e.Row(y) + x * p);
      at += p;
      continue;
    }
    if (pending == 0) {
      if (at >= size) break;
      pending = file[static_cast<size_t>(at)];
      start = at + 1;
      at = start + (pending >= 128 ? 1 : pending + 1) * p;
      if (at > size) break;
      ++pending;
    }
    std::copy_n(&file[0] + start, p, e.Row(y) + x * p);
    if (pending <= 128) start += p;
    pending = pending == 129 || pending == 1 ? 0 : pending - 1;
  }
  return e;
}

/// Unpacks a row. Returns its number of pixels, -1 if it is unsound.
int64_t PlainSgiRow(const Bytes& file, size_t at, uint8_t* dest, int64_t width, int64_t step) {
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

Expected PlainSgi(const Bytes& file, uint8_t background) {
  Expected e;
  if (file.size() < 12) return e;
  e.width = LoadBe16(&file[6]);
  e.height = LoadBe16(&file[8]);
  const int64_t channels = LoadBe16(&file[10]), rows = e.height * channels;
  e.format = channels == 3 ? ZAV_FMT_BGR24 : ZAV_FMT_BGRA32;
  e.pitch = (e.width * channels + 3) / 4 * 4;
  if (channels < 3 || channels > 4 || !e.Allocate(background)) return e;
  e.probed = true;
  const bool packed = file[2] == 1;
  const auto data = static_cast<int64_t>(file.size()) - 512;
  if (file[3] != 1 || (file[2] > 1 && file[2] < 128) || data < rows * (packed ? 4 : e.width)) {
    return e;
  }
  e.read = true;
  for (int64_t row = 0; row < rows; ++row) {
    const int64_t c = row / e.height;
    uint8_t* dest = e.Row(e.height - 1 - row % e.height) + (c < 3 ? 2 - c : 3);
    for (int64_t x = 0; x < e.width; ++x) {
      dest[x * channels] = packed ? 0 : file[static_cast<size_t>(512 + row * e.width + x)];
    }
    if (!packed) continue;
    const size_t start = LoadBe32(&file[static_cast<size_t>(512 + row * 4)]);
    e.read &= PlainSgiRow(file, start, dest, e.width, channels) >= 0;
  }
  return e;
}

struct FileReader {
  const char* name;
  PlainReader plain;
};
constexpr FileReader kBmp = {"x.bmp", PlainBmp}, kTga = {"x.Tga", PlainTga},
                     kSgi = {"x.RGB", PlainSgi};

/// Probes, reads into new and into used memory, and with red and blue exchanged.
void Check(const FileReader& reader, const Bytes& file) {
  for (const uint8_t background : {uint8_t{0}, uint8_t{0xA5}}) {
    const Expected e = reader.plain(file, background);
    if (e.width * e.height > 1 << 16) return;
    ASSERT_EQ(Probe(reader.name, file).pitch, e.probed ? e.pitch : 0);
    Image image, swapped;
    PageEndBuffer pixels(e.pixels.size());
    std::memset(pixels.data(), background, pixels.size());
    Bytes palette(ZAV_PALETTE_BYTES, background);
    if (background != 0 && e.read) {
      image.source.pixels = pixels.data();
      image.source.palette = palette.data();
    }
    ASSERT_EQ(image.Read(reader.name, file), e.read);
    const ZAV_GFXDEF& got = image.source;
    ASSERT_EQ(got.pixels != nullptr, e.read);
    if (!e.read) continue;
    ASSERT_EQ(got.format, e.format);
    ASSERT_TRUE(got.width == e.width && got.height == e.height);
    ASSERT_EQ(got.pitch, e.pitch);
    ASSERT_EQ(std::memcmp(got.pixels, e.pixels.data(), e.pixels.size()), 0);
    if (e.format == ZAV_FMT_PAL8) {
      ASSERT_EQ(std::memcmp(got.palette, e.palette.data(), e.palette.size()), 0);
    }
    if (background != 0 || (e.format != ZAV_FMT_BGR24 && e.format != ZAV_FMT_BGRA32)) continue;
    swapped.dest.format = e.format == ZAV_FMT_BGR24 ? ZAV_FMT_RGB24 : ZAV_FMT_RGBA32;
    ASSERT_TRUE(swapped.Read(reader.name, file));
    // Exchanged within the source's buffer, which is then handed over.
    ASSERT_TRUE(reader.plain != PlainTga || swapped.source.pixels == swapped.dest.pixels);
    const int64_t p = got.bytes_per_pixel;
    for (int64_t i = 0; i < e.width * p * e.height; ++i) {
      const int64_t x = i % (e.width * p), y = i / (e.width * p), byte = x % p;
      ASSERT_EQ(swapped.dest.pixels[y * swapped.dest.pitch + x],
                got.pixels[y * e.pitch + (byte < 3 ? x - byte + 2 - byte : x)]);
    }
  }
}

/// Files of every kind with three rows of so many pixels.
std::vector<std::pair<FileReader, Bytes>> Files(std::initializer_list<int32_t> widths) {
  std::vector<std::pair<FileReader, Bytes>> files;
  for (const int32_t width : widths) {
    for (const uint32_t bits : {1u, 8u, 16u, 24u})
      files.emplace_back(kBmp, BmpFile(bits, width, 3, 2));
    for (const int32_t colors : {0, -5, 256, 257}) {
      files.emplace_back(kBmp, BmpFile(8, width, 3, colors));
    }
    for (const uint32_t type : {1u, 2u, 9u, 10u}) {
      for (const uint32_t depth : {8u, 16u, 24u, 32u}) {
        for (const uint32_t descriptor : {0x00u, 0x28u}) {
          const auto p = static_cast<int32_t>(depth / 8);
          files.emplace_back(kTga, TgaStart(type, depth, width, 3, descriptor, p == 1 ? 3 : 0, 24));
          Append(files.back().second, type > 2 ? NoisePackets(p, width * 3, depth)
                                               : Bytes(static_cast<size_t>(p * width * 3), 9));
        }
      }
    }
    for (const uint32_t channels : {3u, 4u}) {
      files.emplace_back(kSgi, SgiStart(false, channels, width, 3));
      Append(files.back().second,
             NoisePicture(ZAV_FMT_PAL8, width * 3, static_cast<int32_t>(channels), 0, 1).pixels);
      files.emplace_back(kSgi, SgiStart(true, channels, width, 3));
      AppendSgiRows(files.back().second, channels * 3, static_cast<uint32_t>(width), channels);
    }
  }
  for (const uint32_t bits : {15u, 16u, 24u, 32u}) {
    for (const uint32_t length : {0u, 1u, 16u, 256u, 300u}) {
      files.emplace_back(kTga, TgaStart(1, 8, 1, 1, 0, length, bits));
      files.back().second.push_back(42);
    }
  }
  return files;
}

TEST(PictureReaders, WholeFiles) {
  ForEachVectorTarget([](const VectorTarget&) {
    for (const auto& [reader, file] :
         Files({1, 2, 3, 4, 5, 6, 8, 9, 15, 16, 17, 31, 32, 33, 47, 63, 64, 65, 96, 129, 200})) {
      ASSERT_TRUE(reader.plain(file, 0).read);
      Check(reader, file);
    }
  });
}

// Packets of every length: the longest may be the last.
TEST(PictureReaders, FilesCutAnywhere) {
  for (const auto& [reader, file] : Files({150})) {
    for (size_t size = 0; size < file.size(); ++size) {
      Check(reader, Bytes(file.data(), file.data() + size));
      if (HasFatalFailure()) FAIL() << reader.name << " of " << size << " bytes";
    }
  }
}

TEST(PictureReaders, DamagedFiles) {
  Random random(1);
  for (const auto& [reader, file] : Files({7, 40})) {
    const size_t header = reader.name == kTga.name ? 18 : reader.name == kSgi.name ? 12 : 54;
    for (size_t i = 0; i < header * 9 + (reader.plain == PlainSgi ? 1500 : 200); ++i) {
      Bytes damaged = file;
      const bool in_header = i < header * 9;
      const size_t at = in_header ? i / 9 : random.Below(static_cast<uint32_t>(file.size()));
      const int change = !in_header ? random.Byte() : i % 9 == 8 ? 0xFF : 1 << i % 9;
      damaged[at] = static_cast<uint8_t>(damaged[at] ^ change);
      Check(reader, damaged);
      if (HasFatalFailure()) FAIL() << reader.name << ", byte " << at << " ^ " << change;
      if (in_header) ReadAllBytes(reader.name, damaged, ZAV_FMT_RGB565);
    }
  }
}

TEST(PictureReaders, FailedAllocationsFailTheRead) {
  for (const auto& [reader, whole] : Files({5})) {
    for (const int32_t format : {0, 1, 4, 5, 9}) {  // 1: handed over, then a palette is refused
      Image image;
      const auto read = [&, name = reader.name, &file = whole] {
        image.dest.format = format;
        return image.Read(name, file);
      };
      FailEveryAllocation(read, [&](int, bool succeeded) {
        EXPECT_FALSE(succeeded);
        EXPECT_TRUE(image.source.pixels == nullptr && image.source.palette == nullptr);
        EXPECT_TRUE(image.dest.pixels == nullptr && image.dest.palette == nullptr);
        EXPECT_EQ(image.source.width + image.dest.width, 0);
      });
    }
  }
}

// A header, or rows that share a terminator, may announce two gigabytes. That is a picture of
// zeros, and takes no memory until it is used.
TEST(PictureReaders, AnnouncedPixelsCostNothing) {
  if (sizeof(void*) < 8) GTEST_SKIP() << "too little address space";
  Image tga, sgi;
  ASSERT_TRUE(tga.Read("x.tga", TgaStart(10, 32, 32767, 16384, 0)));
  EXPECT_EQ(tga.source.pixels[int64_t{32767} * 16384 * 4 - 1], 0);
  Bytes rows = SgiStart(true, 4, 65535, 8191);
  EXPECT_FALSE(sgi.Read("x.rgb", rows));
  rows.resize(512 + size_t{8191} * 16, 0);  // rows that start with the first byte
  rows[0] = 0;
  ASSERT_TRUE(sgi.Read("x.rgb", rows));
  EXPECT_EQ(sgi.source.pixels[int64_t{65535} * 8191 * 4 - 1], 0);
  EXPECT_FALSE(sgi.Read("x.rgb", SgiStart(true, 4, 65535, 65535)));
  EXPECT_FALSE(sgi.Read("x.tga", TgaStart(10, 32, 65535, 65535, 0)));
  Bytes bmp = BmpFile(24, 1, 1, 0);
  std::fill_n(&bmp[18], 8, uint8_t{0x7F});
  EXPECT_FALSE(sgi.Read("x.bmp", bmp));
}

using namespace std::string_view_literals;

struct Saved {
  long type;
  int32_t format;
  const char* ending;
  size_t file_bytes;  // of a picture of 5 x 3 pixels, as is the header
  std::string_view header;
};

constexpr Saved kSaved[] = {
    {ZAV_SAVE_BMP8, ZAV_FMT_PAL8, ".bmp", 1102,
     "BM\x4E\4\0\0\0\0\0\0\x36\4\0\0\x28\0\0\0\5\0\0\0\3\0\0\0\1\0\x08\0\0\0\0\0"
     "\0\0\0\0\x12\x0B\0\0\x12\x0B\0\0\0\0\0\0\0\0\0\0"sv},
    {ZAV_SAVE_BMP24, ZAV_FMT_BGR24, ".bmp", 102,
     "BM\x66\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\5\0\0\0\3\0\0\0\1\0\x18\0\0\0\0\0"
     "\0\0\0\0\x12\x0B\0\0\x12\x0B\0\0\0\0\0\0\0\0\0\0"sv},
    {ZAV_SAVE_TGA8, ZAV_FMT_PAL8, ".tga", 801, "\0\1\1\0\0\0\1\x18\0\0\0\0\5\0\3\0\x08\x08"sv},
    {ZAV_SAVE_TGA16, ZAV_FMT_RGB555, ".tga", 48, "\0\0\2\0\0\0\0\0\0\0\0\0\5\0\3\0\x10\1"sv},
    {ZAV_SAVE_TGA24, ZAV_FMT_BGR24, ".tga", 63, "\0\0\2\0\0\0\0\0\0\0\0\0\5\0\3\0\x18\0"sv},
    {ZAV_SAVE_TGA32, ZAV_FMT_BGRA32, ".tga", 78, "\0\0\2\0\0\0\0\0\0\0\0\0\5\0\3\0\x20\x08"sv},
};

TEST(PictureFiles, WrittenFilesHoldTheSamePixels) {
  for (const Saved& saved : kSaved) {
    for (int32_t width = 1; width <= 9; ++width) {
      for (const size_t transparent :
           {size_t{256}, size_t{1}, size_t{0}}) {  // entries of the palette
        const bool opaque = transparent == 0;
        SCOPED_TRACE(testing::Message() << "type " << saved.type << ", width " << width);
        Picture picture = NoisePicture(saved.format, width, 3, opaque ? 0 : width * 4 + 3, 7);
        for (size_t i = transparent * 4 + 3; i < picture.palette.size(); i += 4) {
          picture.palette[i] = 255;
        }
        const Bytes pixels = picture.pixels, palette = picture.palette;
        const TemporaryFile target(saved.ending);
        unlink(target.path());
        Image image, back;
        image.source = picture.definition;
        ASSERT_EQ(ZAV_SAVE_BITMAP(&image, saved.type, target.path()), 1);
        EXPECT_TRUE(SameDefinition(image.source, picture.definition));
        EXPECT_TRUE(picture.pixels == pixels && picture.palette == palette);
        struct stat status;
        ASSERT_EQ(stat(target.path(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600u);

        const Bytes file = target.Read();
        const bool bmp = saved.header[0] == 'B';
        if (width == 5) {
          EXPECT_EQ(std::memcmp(file.data(), saved.header.data(), saved.header.size()), 0);
          EXPECT_EQ(file.size(), saved.file_bytes);
        }
        // Bitmaps keep the palette's alpha, inverted.
        for (size_t i = 3; i < palette.size(); i += 4) {
          picture.palette[i] = bmp && !opaque ? static_cast<uint8_t>(255 - palette[i]) : 255;
        }
        ASSERT_TRUE(back.Read(saved.ending, file));
        ASSERT_TRUE(SamePicture(back.source, picture.definition));
        // Saved again, from a source that the library owns.
        ASSERT_EQ(ZAV_SAVE_BITMAP(&back, saved.type, target.path()), 1);
        EXPECT_TRUE(target.Read() == file || (bmp && !opaque && !palette.empty()));
      }
    }
  }
}

TEST(PictureFiles, FailedSavesKeepTheFile) {
  const TemporaryFile target;
  const Bytes old = {1, 2, 3};
  target.Write(old);
  const auto refused = [&](const ZAV_GFXDEF& source, long type) {
    Image image;
    image.source = source;
    return ZAV_SAVE_BITMAP(&image, type, target.path()) == 0 &&
           SameDefinition(image.source, source) && target.Read() == old;
  };
  Picture lookup = NoisePicture(ZAV_FMT_PAL8, 4, 4, 0, 1);
  lookup.definition.palette = nullptr;
  EXPECT_TRUE(refused(lookup.definition, ZAV_SAVE_BMP24));
  EXPECT_TRUE(refused(NoisePicture(ZAV_FMT_PAL4, 4, 4, 0, 1).definition, ZAV_SAVE_TGA32));
  const Picture wide = NoisePicture(ZAV_FMT_BGR24, 65536, 1, 0, 1);
  EXPECT_TRUE(refused(wide.definition, ZAV_SAVE_TGA24));
  EXPECT_TRUE(refused(NoisePicture(ZAV_FMT_BGR24, 1, 65536, 0, 1).definition, ZAV_SAVE_TGA24));
  EXPECT_TRUE(refused(wide.definition, ZAV_SAVE_JPEG + 80));
  const Picture small = NoisePicture(ZAV_FMT_BGRA32, 5, 5, 0, 1);
#ifndef ZAV_HAVE_JPEG
  EXPECT_TRUE(refused(small.definition, ZAV_SAVE_JPEG + 80));
  EXPECT_FALSE(Image().Read("x.jpg", FileBytes(ZAV_SAMPLES "/nebula.jpg")));
#endif
  TakeTraces();
  for (long type : {0L, 7L, 99L, 201L, -1L, LONG_MAX, LONG_MIN, LONG_MAX / 2 + 3}) {
    EXPECT_TRUE(refused(wide.definition, type)) << type;
    EXPECT_EQ(TakeTraces(), std::vector<std::string>{"ZAV_ERR: Unsupported SaveType\n"});
  }
  for (const Saved& saved : kSaved) {
    if (saved.format == ZAV_FMT_PAL8) continue;
    FailEveryAllocation(
        [&] {
          Image image;
          if (image.converter == nullptr) return false;
          image.source = small.definition;
          return ZAV_SAVE_BITMAP(&image, saved.type, target.path()) == 1;
        },
        [&](int, bool succeeded) { EXPECT_TRUE(!succeeded && target.Read() == old); });
    target.Write(old);
  }
}

}  // namespace
}  // namespace zav::test
