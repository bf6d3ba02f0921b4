// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// Hands out memory blocks of one size, carved from large chunks, and takes them back onto a free
/// list: one heap allocation per chunk, constant time per block, most recently freed first.
///
/// A chunk is a link to the next chunk followed by blocks. A block is a header of two links, used
/// while the block is free, followed by the caller's bytes, which are as aligned as a pointer.
///
/// The destructor does not free the chunks: the owner calls ReleaseAll, after which every block is
/// invalid.
class BlockPool {
 public:
  static constexpr int64_t kLinkBytes = sizeof(void*);
  static constexpr int64_t kHeaderBytes = 2 * kLinkBytes;

  BlockPool() = default;
  BlockPool(const BlockPool&) = delete;
  BlockPool& operator=(const BlockPool&) = delete;
  virtual ~BlockPool() = default;

  /// Sets the sizes and forgets, without freeing, whatever the pool held.
  void Init(int32_t blocks_per_chunk, int32_t block_bytes);

  /// The caller's bytes of one block, not cleared; null when memory runs out or Init has not given
  /// chunks that hold a block.
  void* Alloc();

  /// Takes back a block of this pool. When the last of several outstanding blocks comes back, all
  /// chunks are freed.
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
  int64_t next_offset_ = 0;  ///< in the current chunk, of the next block to carve
  int64_t carved_ = 0;       ///< blocks carved since the last release
  int64_t free_count_ = 0;
  Chunk* first_chunk_ = nullptr;
  Chunk* current_chunk_ = nullptr;
  Block* free_head_ = nullptr;
  Block* free_tail_ = nullptr;
};

}  // namespace zav
