// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "support/container_files.h"
#include "support/picture_files.h"
#include "support/pictures.h"

namespace zav::test {
namespace {

// What the library built without libjpeg-turbo does: every JPEG operation fails as others do.
TEST(JpegAbsent, OperationsFail) {
  Image image;
  EXPECT_EQ(ZAV_CONVERT_FILE(&image, ZAV_SAMPLES "/nebula.jpg"), 0);
  EXPECT_EQ(image.source.pixels, nullptr);

  const Picture picture = NoisePicture(ZAV_FMT_BGRA32, 9, 7, 0, 1);
  const TemporaryFile file(".jpg");
  const Bytes old = {1, 2, 3};
  file.Write(old);
  image.source = picture.definition;
  EXPECT_EQ(ZAV_SAVE_BITMAP(&image, ZAV_SAVE_JPEG + 80, file.path()), 0);
  EXPECT_EQ(file.Read(), old);

  for (const int kind : {ZAV_LAYER_JPEG32, ZAV_LAYER_JPEG24, ZAV_LAYER_JPEGMASK}) {
    ZAV_LAYER layer = Layer(kind, {0, 80});
    ZAV_GFXDEF definition = picture.definition;
    WriteContainer([&](void* stream) {
      EXPECT_EQ(ZAV_WRITE_IMAGE(stream, nullptr, &layer, &definition), -1);
    });
  }
}

}  // namespace
}  // namespace zav::test
