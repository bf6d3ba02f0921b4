// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// The first byte chooses the destination's format, the rest is the file.

#include "base/endian.h"
#include "support/picture_files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  // Rows may share their packets, so few bytes may announce many pixels; more than these are read
  // the same way, only slower.
  constexpr int64_t kMostPixels = 1 << 14;
  if (size > 10 && int64_t{zav::LoadBe16(data + 7)} * zav::LoadBe16(data + 9) > kMostPixels)
    return 0;
  zav::test::ReadAndLookAt("x.rgb", zav::test::Bytes(data + 1, data + size), data[0] % 18);
  return 0;
}
