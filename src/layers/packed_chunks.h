// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "base/byte_reader.h"
#include "container/stream.h"

namespace zav {

// Packed runs of bytes: a run is cut into chunks of kChunkBytes, the last one shorter; each chunk
// is the length of a packed block (4 bytes) and the block.

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
  uint8_t* buffer_;  ///< a chunk as it stands in the file
};

/// Moves past a run of `count` bytes, and says whether it is there: whether every chunk lies in the
/// block and announces its share of the run. Readers look before they take memory for the bytes.
bool SkipChunks(ByteReader& reader, int64_t count);

/// Unpacks the next chunk, which must hold exactly `count` bytes.
bool ReadChunk(ByteReader& reader, uint8_t* out, int64_t count);

/// Unpacks a whole run of `count` bytes.
bool ReadChunks(ByteReader& reader, uint8_t* out, int64_t count);

}  // namespace zav
