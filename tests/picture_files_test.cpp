// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// What holds for all formats alike.

#include "support/picture_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <string_view>

#include "support/failing_heap.h"
#include "support/pictures.h"
#include "support/trace_recorder.h"

namespace zav::test {
namespace {

using namespace std::string_view_literals;

struct Saved {
  long type;
  int32_t format;
  const char* ending;
  std::string_view header;  // of a picture of 5 x 3 pixels
};

constexpr Saved kSaved[] = {
    {ZAV_SAVE_BMP8, ZAV_FMT_PAL8, "bmp",
     "BM\x4E\4\0\0\0\0\0\0\x36\4\0\0\x28\0\0\0\5\0\0\0\3\0\0\0\1\0\x08\0\0\0\0\0"
     "\0\0\0\0\x12\x0B\0\0\x12\x0B\0\0\0\0\0\0\0\0\0\0"sv},
    {ZAV_SAVE_BMP24, ZAV_FMT_BGR24, "bmp",
     "BM\x66\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\5\0\0\0\3\0\0\0\1\0\x18\0\0\0\0\0"
     "\0\0\0\0\x12\x0B\0\0\x12\x0B\0\0\0\0\0\0\0\0\0\0"sv},
    {ZAV_SAVE_TGA8, ZAV_FMT_PAL8, "tga", "\0\1\1\0\0\0\1\x18\0\0\0\0\5\0\3\0\x08\x08"sv},
    {ZAV_SAVE_TGA16, ZAV_FMT_RGB555, "tga", "\0\0\2\0\0\0\0\0\0\0\0\0\5\0\3\0\x10\1"sv},
    {ZAV_SAVE_TGA24, ZAV_FMT_BGR24, "tga", "\0\0\2\0\0\0\0\0\0\0\0\0\5\0\3\0\x18\0"sv},
    {ZAV_SAVE_TGA32, ZAV_FMT_BGRA32, "tga", "\0\0\2\0\0\0\0\0\0\0\0\0\5\0\3\0\x20\x08"sv},
};

std::string TestPath(const char* ending) {
  return testing::TempDir() + "zav_" + std::to_string(getpid()) + "." + ending;
}

TEST(PictureFiles, WrittenFilesHoldTheSamePixels) {
  for (const Saved& saved : kSaved) {
    for (int32_t width = 1; width <= 9; ++width) {
      for (bool opaque : {false, true}) {
        SCOPED_TRACE(testing::Message() << "type " << saved.type << ", width " << width);
        Picture picture = NoisePicture(saved.format, width, 3, opaque ? 0 : width * 4 + 3, 7);
        for (size_t i = 3; opaque && i < picture.palette.size(); i += 4) picture.palette[i] = 255;
        const Bytes pixels = picture.pixels, palette = picture.palette;
        const int32_t row = width * picture.definition.bytes_per_pixel;
        Image image;
        image.source = picture.definition;
        const std::string path = TestPath(saved.ending);
        ASSERT_EQ(ZAV_SAVE_BITMAP(&image, saved.type, path.c_str()), 1);
        EXPECT_TRUE(SameDefinition(image.source, picture.definition));
        EXPECT_TRUE(picture.pixels == pixels && picture.palette == palette);

        const Bytes file = FileBytes(path);
        struct stat status;
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600u);
        unlink(path.c_str());
        const bool bmp = saved.header[0] == 'B';
        if (width == 5) {
          EXPECT_EQ(std::memcmp(file.data(), saved.header.data(), saved.header.size()), 0);
          const size_t map = palette.empty() ? 0 : bmp ? 1024 : 768;
          EXPECT_EQ(file.size(), saved.header.size() + map +
                                     static_cast<size_t>((bmp ? (row + 3) / 4 * 4 : row) * 3));
          if (bmp && map != 0) {
            EXPECT_EQ(file[57], opaque ? 0 : palette[3]);
          }
        }
        Image back;
        ASSERT_TRUE(back.Read(saved.ending, file));
        ASSERT_EQ(back.source.format, saved.format);
        for (int32_t y = 0; y < 3; ++y) {
          ASSERT_EQ(std::memcmp(back.source.pixels + y * back.source.pitch, picture.Row(y),
                                static_cast<size_t>(row)),
                    0);
        }
        for (size_t i = 0; i < palette.size(); ++i) {
          const int32_t alpha = bmp && !opaque ? 255 - palette[i] : 255;
          ASSERT_EQ(back.source.palette[i], i % 4 == 3 ? alpha : palette[i]) << i;
        }
        // Saved again, from a source that the library owns.
        ASSERT_EQ(ZAV_SAVE_BITMAP(&back, saved.type, path.c_str()), 1);
        EXPECT_TRUE(FileBytes(path) == file || (bmp && !opaque && !palette.empty()));
        unlink(path.c_str());
      }
    }
  }
}

TEST(PictureFiles, FailedSavesKeepTheFile) {
  const std::string path = TestPath("kept");
  const Bytes old = {1, 2, 3};
  WriteFile(path, old);
  const auto refused = [&](const ZAV_GFXDEF& source, long type) {
    Image image;
    image.source = source;
    return ZAV_SAVE_BITMAP(&image, type, path.c_str()) == 0 &&
           SameDefinition(image.source, source) && FileBytes(path) == old;
  };
  Picture lookup = NoisePicture(ZAV_FMT_PAL8, 4, 4, 0, 1);
  lookup.definition.palette = nullptr;
  EXPECT_TRUE(refused(lookup.definition, ZAV_SAVE_BMP24));
  EXPECT_TRUE(refused(NoisePicture(ZAV_FMT_PAL4, 4, 4, 0, 1).definition, ZAV_SAVE_TGA32));
  const Picture wide = NoisePicture(ZAV_FMT_BGR24, 65536, 1, 0, 1);
  EXPECT_TRUE(refused(wide.definition, ZAV_SAVE_TGA24));
  EXPECT_TRUE(refused(NoisePicture(ZAV_FMT_BGR24, 1, 65536, 0, 1).definition, ZAV_SAVE_TGA24));
  EXPECT_TRUE(refused(wide.definition, ZAV_SAVE_JPEG + 80));
  TakeTraces();
  for (long type : {0L, 7L, 99L, 201L, -1L, LONG_MAX, LONG_MIN, LONG_MAX / 2 + 3}) {
    EXPECT_TRUE(refused(wide.definition, type)) << type;
    EXPECT_EQ(TakeTraces(), std::vector<std::string>{"ZAV_ERR: Unsupported SaveType\n"});
  }
  const Picture small = NoisePicture(ZAV_FMT_BGRA32, 5, 5, 0, 1);
  for (const Saved& saved : kSaved) {
    if (saved.format == ZAV_FMT_PAL8) continue;
    FailEveryAllocation(
        [&] {
          Image image;
          if (image.converter == nullptr) return false;
          image.source = small.definition;
          return ZAV_SAVE_BITMAP(&image, saved.type, path.c_str()) == 1;
        },
        [&](int, bool succeeded) { EXPECT_TRUE(!succeeded && FileBytes(path) == old); });
    WriteFile(path, old);
  }
  unlink(path.c_str());
}

}  // namespace
}  // namespace zav::test
