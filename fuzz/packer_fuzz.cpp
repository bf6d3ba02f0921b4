// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "codecs/packer.h"
#include "support/plain_packer.h"

namespace {

/// Bytes whose end the address sanitizer guards; not filled, so that reading them shows.
std::unique_ptr<uint8_t[]> Room(int64_t size) {
  return std::unique_ptr<uint8_t[]>(new uint8_t[static_cast<size_t>(size)]);
}

void Require(bool condition) {
  if (!condition) std::abort();
}

void RoundTrip(const uint8_t* data, int32_t size) {
  const auto packed = Room(size + 4), plain = Room(size + 4);
  const int32_t length = zav::ZAV_PACKER::Compress(data, packed.get(), size);
  Require(length == zav::test::PlainCompress(data, plain.get(), size));
  Require(std::memcmp(packed.get(), plain.get(), static_cast<size_t>(length)) == 0);
  const auto block = Room(length), restored = Room(size);
  std::memcpy(block.get(), packed.get(), static_cast<size_t>(length));
  Require(zav::ZAV_PACKER::Decompress(block.get(), length, restored.get(), size) == size);
  Require(std::memcmp(restored.get(), data, static_cast<size_t>(size)) == 0);
}

void Decode(const uint8_t* block, int64_t size, int64_t capacity) {
  const auto fast = Room(capacity), plain = Room(capacity);
  const int32_t result = zav::ZAV_PACKER::Decompress(block, size, fast.get(), capacity);
  Require(result == zav::test::PlainDecompress(block, size, plain.get(), capacity));
  Require(std::memcmp(fast.get(), plain.get(), static_cast<size_t>(result)) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3 || size > 1 << 17) return 0;
  const int64_t capacity = data[0] | data[1] << 8;
  const int64_t rest = static_cast<int64_t>(size) - 2;
  RoundTrip(data + 2, static_cast<int32_t>(rest));
  Decode(data + 2, rest, capacity);
  // Once more with a size that fits, which the fuzzer would seldom find.
  const auto block = Room(rest + 4);
  std::memcpy(block.get() + 4, data + 2, static_cast<size_t>(rest));
  std::memcpy(block.get(), data, 2);
  block[2] = block[3] = 0;
  Decode(block.get(), rest + 4, capacity);
  return 0;
}
