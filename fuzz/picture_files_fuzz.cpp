// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// The data is the file, for all readers, so that any picture is a seed. Its last byte also chooses
// the destination's format.

#include "base/endian.h"
#include "support/picture_files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const zav::test::Bytes file(data, data + size);
  const int format = data[size - 1] % 18;
  zav::test::ReadAllBytes("x.bmp", file, format);
  zav::test::ReadAllBytes("x.jpg", file, format);
  // A few bytes of packets may announce many pixels; larger pictures take the same code, only
  // longer.
  const auto small = [](int64_t pixels) { return pixels <= 1 << 14; };
  if (size < 16 || small(int64_t{zav::LoadLe16(&file[12])} * zav::LoadLe16(&file[14]))) {
    zav::test::ReadAllBytes("x.tga", file, format);
  }
  if (size < 10 || small(int64_t{zav::LoadBe16(&file[6])} * zav::LoadBe16(&file[8]))) {
    zav::test::ReadAllBytes("x.rgb", file, format);
  }
  return 0;
}
