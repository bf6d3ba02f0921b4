// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// Allocates blocks of one size from large chunks and keeps freed ones in a list: one heap
/// allocation per chunk, constant time per block. The block freed last is reused first.
///
/// A chunk is a link to the next chunk followed by blocks. A block is a header of two links, used
/// while the block is free, followed by the caller's bytes, aligned like a pointer.
///
/// The destructor does not free the chunks. The owner calls ReleaseAll, which invalidates every
/// block.
class BlockPool {
 public:
  static constexpr int64_t kLinkBytes = sizeof(void*);
  static constexpr int64_t kHeaderBytes = 2 * kLinkBytes;

  BlockPool() = default;
  BlockPool(const BlockPool&) = delete;
  BlockPool& operator=(const BlockPool&) = delete;
  virtual ~BlockPool() = default;

  /// Sets the sizes. Chunks that the pool holds are forgotten, not freed.
  void Init(int32_t blocks_per_chunk, int32_t block_bytes);

  /// Returns the caller's bytes of a block, not cleared; null when memory runs out, or when Init
  /// was not called with usable sizes.
  void* Alloc();

  /// Frees a block of this pool. When the last of several blocks is freed, so are all chunks.
  void Free(void* bytes);

  void ReleaseAll();

 private:
  struct Chunk {
    Chunk* next;
  };
  struct Block {
    Block* next;
    Block* previous;
  };

  Block* TakeFree();
  Block* Carve();
  Chunk* NewChunk();

  int64_t stride_ = 0;       ///< bytes from block to block
  int64_t chunk_bytes_ = 0;  ///< bytes of one heap allocation
  int64_t next_offset_ = 0;  ///< of the next block to carve from the current chunk
  int64_t carved_ = 0;       ///< blocks carved since the last release
  int64_t free_count_ = 0;
  Chunk* first_chunk_ = nullptr;
  Chunk* current_chunk_ = nullptr;
  Block* free_head_ = nullptr;
  Block* free_tail_ = nullptr;
};

}  // namespace zav
