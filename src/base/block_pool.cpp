// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "base/block_pool.h"

#include "base/checked.h"
#include "base/heap.h"

namespace zav {

void BlockPool::Init(int32_t blocks_per_chunk, int32_t block_bytes) {
  carved_ = 0;
  free_count_ = 0;
  first_chunk_ = nullptr;
  current_chunk_ = nullptr;
  free_head_ = nullptr;
  free_tail_ = nullptr;
  stride_ = 0;
  chunk_bytes_ = 0;
  if (blocks_per_chunk < 1 || block_bytes < 0) return;
  stride_ = RoundUp(block_bytes + kHeaderBytes, kLinkBytes);
  chunk_bytes_ = stride_ * blocks_per_chunk + kLinkBytes;
}

void* BlockPool::Alloc() {
  Block* block = free_head_ != nullptr ? TakeFree() : Carve();
  return block != nullptr ? reinterpret_cast<uint8_t*>(block) + kHeaderBytes : nullptr;
}

BlockPool::Block* BlockPool::TakeFree() {
  Block* block = free_head_;
  free_head_ = block->next;
  if (free_tail_ == block) free_tail_ = block->previous;
  if (block->next != nullptr) block->next->previous = nullptr;
  --free_count_;
  return block;
}

BlockPool::Block* BlockPool::Carve() {
  if (current_chunk_ == nullptr || next_offset_ + stride_ > chunk_bytes_) {
    Chunk* chunk = NewChunk();
    if (chunk == nullptr) return nullptr;
    (current_chunk_ == nullptr ? first_chunk_ : current_chunk_->next) = chunk;
    current_chunk_ = chunk;
    next_offset_ = kLinkBytes;
  }
  auto* block = reinterpret_cast<Block*>(reinterpret_cast<uint8_t*>(current_chunk_) + next_offset_);
  next_offset_ += stride_;
  ++carved_;
  return block;
}

BlockPool::Chunk* BlockPool::NewChunk() {
  if (stride_ == 0) return nullptr;
  auto* chunk = reinterpret_cast<Chunk*>(AllocateBytes(chunk_bytes_));
  if (chunk != nullptr) chunk->next = nullptr;
  return chunk;
}

void BlockPool::Free(void* bytes) {
  auto* block = reinterpret_cast<Block*>(static_cast<uint8_t*>(bytes) - kHeaderBytes);
  ++free_count_;
  block->previous = nullptr;
  block->next = free_head_;
  if (free_head_ == nullptr) {
    free_head_ = block;
    free_tail_ = block;
    return;
  }
  free_head_->previous = block;
  free_head_ = block;
  if (carved_ == free_count_) ReleaseAll();
}

void BlockPool::ReleaseAll() {
  for (Chunk* chunk = first_chunk_; chunk != nullptr;) {
    Chunk* next = chunk->next;
    FreeBytes(chunk);
    chunk = next;
  }
  first_chunk_ = nullptr;
  current_chunk_ = nullptr;
  carved_ = 0;
  free_count_ = 0;
  free_head_ = nullptr;
  free_tail_ = nullptr;
}

}  // namespace zav
