// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// The first byte chooses the destination's format, the rest is the file.

#include "support/picture_files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  zav::test::ReadAndLookAt("x.bmp", zav::test::Bytes(data + 1, data + size), data[0] % 18);
  return 0;
}
