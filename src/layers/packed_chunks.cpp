// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "layers/packed_chunks.h"

#include <algorithm>

#include "base/endian.h"
#include "base/heap.h"
#include "codecs/packer.h"

namespace zav {
namespace {

constexpr int64_t kLengthBytes = 4;
constexpr int64_t kSizeWordBytes = 4;
/// A chunk that does not shrink is stored after a size word; no block is larger.
constexpr int64_t kLargestBlock = kChunkBytes + kSizeWordBytes;

}  // namespace

ChunkWriter::ChunkWriter(ZAV_STREAM& stream)
    : stream_(stream), buffer_(AllocateBytes(kLengthBytes + kLargestBlock)) {}

ChunkWriter::~ChunkWriter() { FreeBytes(buffer_); }

bool ChunkWriter::Write(const uint8_t* bytes, int64_t count) {
  while (count > 0) {
    const int64_t share = std::min(count, kChunkBytes);
    const int32_t length =
        ZAV_PACKER::Compress(bytes, buffer_ + kLengthBytes, static_cast<int32_t>(share));
    if (length < 1) return false;
    StoreLe32(buffer_, static_cast<uint32_t>(length));
    stream_.file().Write(buffer_, kLengthBytes + length);
    bytes += share;
    count -= share;
  }
  return true;
}

bool SkipChunks(ByteReader& reader, int64_t count) {
  while (count > 0) {
    const int64_t share = std::min(count, kChunkBytes);
    const int64_t length = reader.Le32();
    const uint8_t* block = reader.Take(length);
    if (block == nullptr || length < kSizeWordBytes) return false;
    // Negative: the bytes as they are; positive: a bit stream, which has at least one word.
    const int64_t size = static_cast<int32_t>(LoadLe32(block));
    const int64_t contents = length - kSizeWordBytes;
    if (size == -share ? contents < share : size != share || contents < 4) return false;
    count -= share;
  }
  return true;
}

bool ReadChunk(ByteReader& reader, uint8_t* out, int64_t count) {
  const int64_t length = reader.Le32();
  const uint8_t* block = reader.Take(length);
  return block != nullptr && ZAV_PACKER::Decompress(block, length, out, count) == count;
}

bool ReadChunks(ByteReader& reader, uint8_t* out, int64_t count) {
  while (count > 0) {
    const int64_t share = std::min(count, kChunkBytes);
    if (!ReadChunk(reader, out, share)) return false;
    out += share;
    count -= share;
  }
  return true;
}

}  // namespace zav
