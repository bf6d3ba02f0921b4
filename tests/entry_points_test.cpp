// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// The life of an image: which buffers it owns when, and its state after a failure.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

#include "support/container_files.h"
#include "support/failing_heap.h"
#include "support/picture_files.h"
#include "support/pictures.h"

namespace zav::test {
namespace {

/// An uncompressed 32-bit Targa file, top row first; its pixels begin at byte 23.
Bytes Targa(int32_t width, int32_t height, uint64_t seed = 1) {
  Bytes file = TgaStart(2, 32, width, height, 0x28);
  Append(file, NoisePicture(ZAV_FMT_BGRA32, width, height, 0, seed).pixels);
  return file;
}

bool Holds(const uint8_t* pixels, const Bytes& targa) {
  return std::equal(targa.begin() + 23, targa.end(), pixels);
}

TEST(ImageLife, SecondReadDoesNotWriteIntoTheFirstOnesBuffer) {
  // Kept in the source, handed over, or converted: the first read's source buffer is the library's,
  // and far too small for the second picture.
  for (const int format : {0, int{ZAV_FMT_BGRA32}, int{ZAV_FMT_RGBA32}, int{ZAV_FMT_RGB24}}) {
    Image image;
    image.dest.format = format;
    ASSERT_TRUE(image.Read("a.tga", Targa(1, 1)));
    uint8_t* const first = image.dest.pixels;
    ZAV_DETACH(&image);
    image.dest = ZAV_GFXDEF{};
    const Bytes large = Targa(300, 200, 2);
    ASSERT_TRUE(image.Read("b.TGA", large));
    EXPECT_TRUE(Holds(image.source.pixels, large));
    ZAV_FREE_BUFFER(first);
  }
  // The host's buffer is filled every time.
  Bytes buffer(4 * 4 * 4 + 16, 0xEE);
  Image image;
  image.source.pixels = buffer.data();
  for (uint64_t seed = 1; seed < 4; ++seed) {
    ASSERT_TRUE(image.Read("x.tga", Targa(4, 4, seed)));
    EXPECT_EQ(image.source.pixels, buffer.data());
    EXPECT_TRUE(Holds(buffer.data(), Targa(4, 4, seed)) && buffer[64] == 0xEE);
  }
}

TEST(ImageLife, FailedReadKeepsTheEarlierPicture) {
  const Bytes good = Targa(5, 3);
  Image image;
  ASSERT_TRUE(image.Read("x.tga", good));
  const uint8_t* const before = image.source.pixels;
  Bytes bad = good;
  bad[16] = 13;
  EXPECT_FALSE(image.Read("x.tga", bad));
  EXPECT_FALSE(image.Read("x.jpeg", good));
  image.dest.format = ZAV_FMT_DXT2;  // read, but not converted
  EXPECT_FALSE(image.Read("x.tga", good));
  image.dest.format = ZAV_FMT_RGB24;
  FailEveryAllocation([&] { return image.Read("x.tga", good); },
                      [&](int granted, bool succeeded) {
                        EXPECT_FALSE(succeeded) << granted;
                        EXPECT_TRUE(image.source.pixels == before && Holds(before, good));
                        EXPECT_EQ(image.dest.pixels, nullptr);
                      });
}

TEST(ImageLife, ChainsOfConversionsHandBuffersOver) {
  const Bytes file = Targa(6, 4);
  Image image;
  ASSERT_TRUE(image.Read("x.tga", file));
  uint8_t* const read = image.source.pixels;
  // The same format and layout: the same buffer, with every default filled in.
  image.dest.format = ZAV_FMT_BGRA32;
  ASSERT_EQ(ZAV_CONVERT_RAW(&image), 1);
  ZAV_GFXDEF complete = Definition(ZAV_FMT_BGRA32, 6, 4, 24, read);
  complete.bytes_per_pixel = 4;
  EXPECT_TRUE(SameDefinition(image.dest, complete));
  // A host that clears the definition keeps the old buffer's bytes.
  image.dest = Definition(ZAV_FMT_RGB24, 3, 3);
  ASSERT_EQ(ZAV_CONVERT_RAW(&image), 1);
  EXPECT_EQ(image.source.pixels, nullptr);
  EXPECT_TRUE(Holds(read, file));
  ZAV_FREE_BUFFER(read);
}

TEST(ImageLife, NamesAndBlocksThatSelectNothing) {
  Bytes file = Targa(2, 2);
  Image image;
  for (const char* name : {"tga", "x.Tga", "xTGA"}) EXPECT_TRUE(image.Read(name, file)) << name;
  for (const char* name : {"", "ga", "x.targa", "x.tg", "x.tga "}) {
    EXPECT_FALSE(image.Read(name, file)) << name;
  }
  ZAV_GFXDEF definition{};
  definition.width = 77;
  uint8_t* data = file.data();
  EXPECT_EQ(ZAV_CONVERT_MEMFILE(&image, nullptr, data, 39), 0);
  EXPECT_EQ(ZAV_GETFILEFORMAT_FROMMEM(nullptr, "x.tga", data, 39), 0);
  for (const auto& [block, size] :
       {std::pair{static_cast<uint8_t*>(nullptr), 39}, {data, 9}, {data, 17}, {data, -39}}) {
    EXPECT_EQ(ZAV_CONVERT_MEMFILE(&image, "x.tga", block, size), 0) << size;
    EXPECT_EQ(ZAV_GETFILEFORMAT_FROMMEM(&definition, "x.tga", block, size), 0) << size;
  }
  EXPECT_EQ(definition.width, 77);
}

TEST(ImageLife, FilesAreReadThroughTheirNames) {
  const TemporaryFile good(".tga"), unknown(".png"), empty(".tga"), pipe(".tga");
  const Bytes file = Targa(9, 5);
  for (const TemporaryFile* written : {&good, &unknown}) written->Write(file);
  unlink(pipe.path());
  ASSERT_EQ(mkfifo(pipe.path(), 0600), 0);
  Image image;
  ASSERT_EQ(ZAV_CONVERT_FILE(&image, good.path()), 1);
  EXPECT_TRUE(Holds(image.source.pixels, file));
  ZAV_GFXDEF definition{};
  ASSERT_EQ(ZAV_GETFILEFORMAT_FROMFILE(&definition, good.path()), 1);
  EXPECT_EQ(definition.pitch, 36);
  for (const char* bad : {empty.path(), unknown.path(), pipe.path(), "", "/nowhere/missing.tga"}) {
    EXPECT_EQ(ZAV_CONVERT_FILE(&image, bad), 0) << bad;
    EXPECT_EQ(ZAV_GETFILEFORMAT_FROMFILE(&definition, bad), 0) << bad;
  }
  EXPECT_EQ(ZAV_CONVERT_FILE(&image, nullptr), 0);
}

TEST(Threads, ConvertDifferentImagesAtOnce) {
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &failures] {
      for (int round = 0; round < 40; ++round) {
        const int from = 3 + (t + round) % 10;
        Picture source = NoisePicture(from, 33, 9, 0, static_cast<uint64_t>(round));
        source.definition.red_mask = 0xFF00;
        Image image;
        image.dest = Definition(3 + round % 8, 20 + round, 9);
        if (!image.Convert(source.definition)) ++failures;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
}

}  // namespace
}  // namespace zav::test
