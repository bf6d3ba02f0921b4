// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "base/byte_reader.h"
#include "container/stream.h"

namespace zav {

// Packed runs of bytes. A run is divided into chunks of kChunkBytes, the last one shorter; each is
// stored as the length of a packed block (4 bytes) and the block.

inline constexpr int64_t kChunkBytes = 65536;

/// Packs runs into a stream's file.
class ChunkWriter {
 public:
  explicit ChunkWriter(ZAV_STREAM& stream);
  ChunkWriter(const ChunkWriter&) = delete;
  ChunkWriter& operator=(const ChunkWriter&) = delete;
  ~ChunkWriter();

  /// False when memory ran out.
  bool is_ready() const { return buffer_ != nullptr; }

  /// Writes one run; false when memory runs out.
  bool Write(const uint8_t* bytes, int64_t count);

 private:
  ZAV_STREAM& stream_;
  uint8_t* buffer_;  ///< a chunk as stored
};

/// Moves past a run of `count` bytes. False unless every chunk is complete and announces its share
/// of the run. Readers check this before they allocate memory for the bytes.
bool SkipChunks(ByteReader& reader, int64_t count);

/// Unpacks the next chunk, which must hold exactly `count` bytes.
bool ReadChunk(ByteReader& reader, uint8_t* out, int64_t count);

/// Unpacks a whole run of `count` bytes.
bool ReadChunks(ByteReader& reader, uint8_t* out, int64_t count);

}  // namespace zav
