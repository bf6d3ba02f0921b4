// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "codecs/packer.h"
#include "support/page_end_buffer.h"
#include "support/plain_packer.h"

namespace zav::test {

/// Packs with all buffers at the ends of pages, and unpacks again. Returns the block; an empty one
/// if the packer differs from the plain one, or the data do not come back from either decoder.
inline std::vector<uint8_t> PackAndCompare(const std::vector<uint8_t>& data) {
  const auto size = static_cast<int32_t>(data.size());
  PageEndBuffer source(data.data(), data.size());
  PageEndBuffer packed(data.size() + 4), restored(data.size());
  std::vector<uint8_t> block(data.size() + 4);
  const int32_t length = ZAV_PACKER::Compress(source.data(), packed.data(), size);
  if (length != PlainCompress(data.data(), block.data(), size)) return {};
  block.resize(static_cast<size_t>(length));
  if (std::memcmp(packed.data(), block.data(), block.size()) != 0) return {};
  PageEndBuffer exact(block.data(), block.size());
  if (ZAV_PACKER::DecodedSize(exact.data(), length) != size) return {};
  for (const auto decompress : {ZAV_PACKER::Decompress, PlainDecompress}) {
    if (decompress(exact.data(), length, restored.data(), size) != size ||
        std::memcmp(restored.data(), source.data(), data.size()) != 0) {
      return {};
    }
    std::memset(restored.data(), 0xEE, restored.size());
  }
  return block;
}

/// Unpacks any bytes with both decoders. Returns their result; -1 if they disagree, also about the
/// output.
inline int32_t UnpackAndCompare(const std::vector<uint8_t>& block, size_t capacity) {
  const auto size = static_cast<int64_t>(block.size()), room = static_cast<int64_t>(capacity);
  PageEndBuffer source(block.data(), block.size());
  PageEndBuffer fast(capacity), plain(capacity);
  const int32_t result = ZAV_PACKER::Decompress(source.data(), size, fast.data(), room);
  const bool same = result == PlainDecompress(source.data(), size, plain.data(), room) &&
                    std::memcmp(fast.data(), plain.data(), static_cast<size_t>(result)) == 0;
  return same ? result : -1;
}

}  // namespace zav::test
