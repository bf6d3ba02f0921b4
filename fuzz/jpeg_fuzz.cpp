// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// The data is the file, so that any JPEG file is a seed. Its last byte, which comes after the end
// marker or is part of it, also chooses the destination's format.

#include "support/picture_files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  zav::test::ReadAllBytes("x.jpg", zav::test::Bytes(data, data + size), data[size - 1] % 18);
  return 0;
}
