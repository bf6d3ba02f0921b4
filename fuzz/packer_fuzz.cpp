// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Packs the data, and unpacks them as a block, with the library and the plain packer. The first two
// bytes are the room for the result.

#include <cstdlib>

#include "support/plain_packer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3 || size > 1 << 17) return 0;
  const auto room = static_cast<size_t>(data[0] | data[1] << 8);
  std::vector<uint8_t> bytes(data + 2, data + size);
  const bool packs = !zav::test::PackAndCompare(bytes).empty();
  const bool unpacks = zav::test::UnpackAndCompare(bytes, room) >= 0;
  // Once more with an announced size that fits, which the fuzzer would seldom find.
  bytes.insert(bytes.begin(), {data[0], data[1], 0, 0});
  if (!packs || !unpacks || zav::test::UnpackAndCompare(bytes, room) < 0) std::abort();
  return 0;
}
