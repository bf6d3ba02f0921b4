// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// The life of an image: who owns which buffer when, and what a failure leaves.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "base/endian.h"
#include "convert/surface.h"
#include "frame/entry_points.h"
#include "frame/environment.h"
#include "frame/startup.h"
#include "platform/processor.h"
#include "platform/temporary_name.h"
#include "support/failing_heap.h"
#include "support/pictures.h"
#include "zav.h"

namespace zav::test {
namespace {

/// An uncompressed 32-bit Targa file, top row first.
std::vector<uint8_t> MakeTarga(int width, int height, uint8_t seed) {
  std::vector<uint8_t> file(static_cast<size_t>(18 + width * height * 4));
  file[2] = 2, file[16] = 32, file[17] = 0x28;
  StoreLe16(&file[12], static_cast<uint32_t>(width));
  StoreLe16(&file[14], static_cast<uint32_t>(height));
  for (size_t i = 18; i < file.size(); ++i) file[i] = static_cast<uint8_t>(i * 7 + seed);
  return file;
}

int Read(ZAV_IMAGE& image, const char* name, std::vector<uint8_t>& file) {
  return ZAV_CONVERT_MEMFILE(&image, name, file.data(), static_cast<long>(file.size()));
}

const uint8_t* PixelsOf(const std::vector<uint8_t>& targa) { return targa.data() + 18; }

class Image : public testing::Test {
 protected:
  Image() { ZAV_INIT(&image_); }
  ~Image() override { ZAV_FREE(&image_); }
  ZAV_IMAGE image_;
};

TEST_F(Image, StartsZeroAndEndsZero) {
  const ZAV_GFXDEF zero{};
  const ZAV_CONVERTER none{};
  EXPECT_EQ(0, std::memcmp(&image_.source, &zero, sizeof(zero)));
  EXPECT_EQ(0, std::memcmp(&image_.dest, &zero, sizeof(zero)));
  EXPECT_EQ(0, std::memcmp(image_.converter, &none, sizeof(none)));
  for (int i = 0; i < 2; ++i) {
    ZAV_FREE(&image_);
    EXPECT_EQ(image_.converter, nullptr);
  }
  EXPECT_EQ(ZAV_CONVERT_RAW(&image_), 0);
  ZAV_DETACH(&image_);
  ZAV_DETACH(nullptr);
}

TEST_F(Image, SecondReadDoesNotWriteIntoTheFirstOnesBuffer) {
  // Left in the source, handed over to the destination, or converted: the source buffer of the
  // first read is the library's, and far too small for the second picture.
  for (const int format : {0, int{ZAV_FMT_BGRA32}, int{ZAV_FMT_RGBA32}, int{ZAV_FMT_RGB24}}) {
    std::vector<uint8_t> small = MakeTarga(1, 1, 1);
    std::vector<uint8_t> large = MakeTarga(300, 200, 2);
    image_.dest = ZAV_GFXDEF{};
    image_.dest.format = format;
    ASSERT_EQ(Read(image_, "a.tga", small), 1);
    const ZAV_GFXDEF first = image_.dest;
    ZAV_DETACH(&image_);
    image_.dest = ZAV_GFXDEF{};
    ASSERT_EQ(Read(image_, "b.TGA", large), 1);
    ASSERT_EQ(image_.source.width, 300);
    EXPECT_EQ(0, std::memcmp(image_.source.pixels, PixelsOf(large), 300 * 200 * 4));
    ZAV_FREE_BUFFER(first.pixels);
    ZAV_FREE(&image_);
    ZAV_INIT(&image_);
  }
}

TEST_F(Image, CallersBufferIsFilledInPlaceEveryTime) {
  std::vector<uint8_t> buffer(4 * 4 * 4 + 16, 0xEE);
  for (uint8_t seed = 1; seed < 4; ++seed) {
    std::vector<uint8_t> file = MakeTarga(4, 4, seed);
    if (seed == 1) image_.source.pixels = buffer.data();
    ASSERT_EQ(Read(image_, "x.tga", file), 1);
    EXPECT_EQ(image_.source.pixels, buffer.data());
    EXPECT_EQ(0, std::memcmp(buffer.data(), PixelsOf(file), 64));
    EXPECT_EQ(buffer[64], 0xEE);
  }
}

TEST_F(Image, FailedReadKeepsTheEarlierPicture) {
  std::vector<uint8_t> good = MakeTarga(5, 3, 1);
  ASSERT_EQ(Read(image_, "x.tga", good), 1);
  const ZAV_GFXDEF before = image_.source;
  std::vector<uint8_t> bad = good;
  bad[16] = 13;
  ASSERT_EQ(Read(image_, "x.tga", bad), 0);
  ASSERT_EQ(Read(image_, "x.jpeg", good), 0);
  image_.dest.format = ZAV_FMT_DXT2;  // read, but not converted
  ASSERT_EQ(Read(image_, "x.tga", good), 0);
  EXPECT_EQ(image_.source.pixels, before.pixels);
  EXPECT_EQ(0, std::memcmp(image_.source.pixels, PixelsOf(good), 60));
  image_.dest.format = ZAV_FMT_RGB24;
  FailEveryAllocation([&] { return Read(image_, "x.tga", good) == 1; },
                      [&](int granted, bool succeeded) {
                        EXPECT_FALSE(succeeded) << granted;
                        EXPECT_EQ(image_.source.pixels, before.pixels);
                        EXPECT_EQ(image_.dest.pixels, nullptr);
                      });
}

TEST_F(Image, ChainsOfConversionsHandBuffersOver) {
  std::vector<uint8_t> file = MakeTarga(6, 4, 3);
  ASSERT_EQ(Read(image_, "x.tga", file), 1);
  const uint8_t* read = image_.source.pixels;
  // The same format and layout: the very buffer, every default filled in.
  image_.dest.format = ZAV_FMT_BGRA32;
  ASSERT_EQ(ZAV_CONVERT_RAW(&image_), 1);
  EXPECT_EQ(image_.dest.pixels, read);
  EXPECT_EQ(image_.dest.bytes_per_pixel, 4);
  EXPECT_EQ(image_.dest.pitch, 24);
  EXPECT_EQ(image_.dest.width, 6);
  // A host that only clears the definition keeps the old buffer's bytes.
  uint8_t* kept = image_.dest.pixels;
  image_.dest = ZAV_GFXDEF{};
  image_.dest.format = ZAV_FMT_RGB24;
  image_.dest.width = image_.dest.height = 3;
  ASSERT_EQ(ZAV_CONVERT_RAW(&image_), 1);
  EXPECT_EQ(image_.source.pixels, nullptr);
  EXPECT_EQ(0, std::memcmp(kept, PixelsOf(file), 96));
  ZAV_FREE_BUFFER(kept);
}

TEST_F(Image, SwapsInPlaceWhatItOwns) {
  std::vector<uint8_t> file = MakeTarga(7, 2, 3);
  image_.dest.format = ZAV_FMT_RGBA32;
  ASSERT_EQ(Read(image_, "x.tga", file), 1);
  // The reader has swapped the rows already, and handed them over.
  EXPECT_EQ(image_.source.format, ZAV_FMT_RGBA32);
  EXPECT_EQ(image_.dest.pixels, image_.source.pixels);
  for (int i = 0; i < 7 * 2; ++i) {
    EXPECT_EQ(image_.dest.pixels[4 * i], PixelsOf(file)[4 * i + 2]);
    EXPECT_EQ(image_.dest.pixels[4 * i + 3], PixelsOf(file)[4 * i + 3]);
  }
  // A source that owns RGBA32 becomes BGRA32 in the same buffer.
  ZAV_FREE(&image_);
  ZAV_INIT(&image_);
  ASSERT_EQ(Read(image_, "x.tga", file), 1);
  image_.source.format = ZAV_FMT_RGBA32;
  image_.dest.format = ZAV_FMT_BGRA32;
  ASSERT_EQ(ZAV_CONVERT_RAW(&image_), 1);
  EXPECT_EQ(image_.dest.pixels, image_.source.pixels);
  EXPECT_EQ(image_.dest.pixels[0], PixelsOf(file)[2]);
}

TEST_F(Image, NamesAndBlocksThatSelectNothing) {
  std::vector<uint8_t> file = MakeTarga(2, 2, 1);
  for (const char* name : {"tga", "x.Tga", "xTGA"}) EXPECT_EQ(Read(image_, name, file), 1) << name;
  for (const char* name : {"", "ga", "x.targa", "x.tg", "x.tga "}) {
    EXPECT_EQ(Read(image_, name, file), 0) << name;
  }
  ZAV_GFXDEF definition{};
  definition.width = 77;
  uint8_t* data = file.data();
  EXPECT_EQ(ZAV_CONVERT_MEMFILE(&image_, nullptr, data, 34), 0);
  EXPECT_EQ(ZAV_GETFILEFORMAT_FROMMEM(nullptr, "x.tga", data, 34), 0);
  for (const auto& [block, size] :
       {std::pair{static_cast<uint8_t*>(nullptr), 34}, {data, 9}, {data, 17}, {data, -34}}) {
    EXPECT_EQ(ZAV_CONVERT_MEMFILE(&image_, "x.tga", block, size), 0) << size;
    EXPECT_EQ(ZAV_GETFILEFORMAT_FROMMEM(&definition, "x.tga", block, size), 0) << size;
  }
  EXPECT_EQ(definition.width, 77);
}

TEST_F(Image, FilesAreReadThroughTheirNames) {
  std::string directory = testing::TempDir() + "zavXXXXXX";
  ASSERT_NE(mkdtemp(directory.data()), nullptr);
  const std::vector<uint8_t> file = MakeTarga(9, 5, 1);
  const auto write = [&](const std::string& name, size_t size) {
    const std::string path = directory + "/" + name;
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(size));
    return path;
  };
  const std::string path = write("x.tga", file.size());
  ASSERT_EQ(ZAV_CONVERT_FILE(&image_, path.c_str()), 1);
  EXPECT_EQ(0, std::memcmp(image_.source.pixels, PixelsOf(file), 9 * 5 * 4));
  ZAV_GFXDEF definition{};
  ASSERT_EQ(ZAV_GETFILEFORMAT_FROMFILE(&definition, path.c_str()), 1);
  EXPECT_EQ(definition.pitch, 36);
  const std::string pipe = directory + "/pipe.tga";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& bad : {write("empty.tga", 0), write("x.png", file.size()), pipe,
                                 directory, directory + "/missing.tga"}) {
    EXPECT_EQ(ZAV_CONVERT_FILE(&image_, bad.c_str()), 0) << bad;
    EXPECT_EQ(ZAV_GETFILEFORMAT_FROMFILE(&definition, bad.c_str()), 0) << bad;
  }
  EXPECT_EQ(ZAV_CONVERT_FILE(&image_, nullptr), 0);
  std::system(("rm -r " + directory).c_str());
}

TEST_F(Image, BuffersInsideABlockAreCopiedOut) {
  std::vector<uint8_t> block(4096, 3);
  ZAV_SURFACE surface{};
  surface.definition() = {
      block.data() + 10, block.data() + 3000, 4, 4, 1, ZAV_FMT_PAL8, 4, 0, 0, 0, 0};
  const uint8_t* end = block.data() + block.size();
  const auto detach = [&] { return DetachFromRange(surface, block.data(), end); };
  FailEveryAllocation(detach, [](int, bool done) { EXPECT_FALSE(done); });
  EXPECT_EQ(surface.flags, ZAV_SURF_OWNS_PIXELS | ZAV_SURF_OWNS_PALETTE);
  EXPECT_EQ(0, std::memcmp(surface.pixels, block.data(), 16));
  EXPECT_EQ(0, std::memcmp(surface.palette, block.data(), 1024));
  const uint8_t* copied = surface.pixels;
  EXPECT_TRUE(detach());
  EXPECT_EQ(surface.pixels, copied) << "outside the block nothing is copied";
  ReleaseSurface(surface);
}

TEST(Library, PublishesTheEnvironmentWhenAnOperationStarts) {
  ZAV_IMAGE filtered, plain;
  ZAV_INIT(&filtered);
  ZAV_INIT(&plain);
  for (const uint32_t env : {0xFFFF0001u, uint32_t{ZAV_ENV_FILTER}}) {
    ZAV_CONVERT_RAW(&plain);
    ZAV_SETENV(&filtered, env);
    EXPECT_EQ(PublishedEnv(), 0u);
  }
  ZAV_CONVERT_RAW(&filtered);
  EXPECT_EQ(PublishedEnv(), 1u);
  ZAV_CONVERT_RAW(&plain);
  EXPECT_EQ(PublishedEnv(), 0u);
  ZAV_SETENV(nullptr, 1);
  ZAV_FREE(&filtered);
  ZAV_FREE(&plain);
}

TEST(Library, KnowsTheProcessor) {
  EXPECT_EQ(ZAV_CPU_FEATURES() & ~(kProcessorMmx | kProcessorSse), 0u);
#ifdef __x86_64__
  EXPECT_EQ(ZAV_CPU_FEATURES(), kProcessorMmx | kProcessorSse);
#endif
}

TEST(Library, TemporaryNames) {
  char first[kTemporaryNameBytes], second[kTemporaryNameBytes];
  for (char* name : {first, second}) MakeTempFileName(name);
  EXPECT_STRNE(first, second);
  for (const char* name : {first, second}) EXPECT_EQ(unlink(name), 0);
  const char* previous = std::getenv("TMPDIR");
  const std::string kept = previous != nullptr ? previous : "";
  for (const std::string& directory : {std::string("/nowhere"), std::string(300, 'x')}) {
    setenv("TMPDIR", directory.c_str(), 1);
    MakeTempFileName(first);
    EXPECT_STREQ(first, "temp");
  }
  previous != nullptr ? setenv("TMPDIR", kept.c_str(), 1) : unsetenv("TMPDIR");
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
        ZAV_IMAGE image;
        ZAV_INIT(&image);
        image.source = source.definition;
        image.dest.format = 3 + round % 8;
        image.dest.width = 20 + round;
        image.dest.height = 9;
        if (ZAV_CONVERT_RAW(&image) != 1) ++failures;
        ZAV_FREE(&image);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
}

}  // namespace
}  // namespace zav::test
