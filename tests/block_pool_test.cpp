// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "base/block_pool.h"

#include <gtest/gtest.h>

#include <utility>

#include "support/failing_heap.h"

namespace zav::test {
namespace {

uint8_t* Bytes(void* block) { return static_cast<uint8_t*>(block); }

TEST(BlockPool, CarvesAlignedBlocksOneStrideApartAndChunksOnDemand) {
  BlockPool pool;
  for (const auto& [count, size] : {std::pair{0, 0}, {0, 8}, {-5, 60}, {4, -9}}) {
    EXPECT_EQ(pool.Alloc(), nullptr) << count << " blocks of " << size;
    pool.Init(count, size);
  }
  EXPECT_EQ(pool.Alloc(), nullptr);
  pool.Init(256, 60);
  const int stride = sizeof(void*) == 4 ? 68 : 80;
  uint8_t* first = Bytes(pool.Alloc());
  EXPECT_EQ(reinterpret_cast<uintptr_t>(first) % alignof(void*), 0u);
  const FailingHeap heap(0);
  for (int i = 1; i < 256; ++i) EXPECT_EQ(Bytes(pool.Alloc()), first + i * stride);
  EXPECT_EQ(pool.Alloc(), nullptr);  // the 257th needs a chunk
  EXPECT_EQ(heap.refused(), 1);
  pool.ReleaseAll();
}

TEST(BlockPool, ReusesTheLatestFreedAndReleasesWhenSeveralAreBack) {
  BlockPool pool;
  pool.Init(8, 24);
  void* a = pool.Alloc();
  pool.Free(a);
  {
    const FailingHeap heap(0);
    EXPECT_EQ(pool.Alloc(), a);  // a single block's chunk stays
    void* b = pool.Alloc();
    pool.Free(a);
    pool.Free(b);
    EXPECT_EQ(pool.Alloc(), nullptr);  // every chunk is gone
  }
  void* blocks[3];
  for (void*& block : blocks) block = pool.Alloc();
  pool.Free(blocks[0]);
  pool.Free(blocks[1]);
  EXPECT_EQ(pool.Alloc(), blocks[1]);
  EXPECT_EQ(pool.Alloc(), blocks[0]);
  pool.ReleaseAll();
}

}  // namespace
}  // namespace zav::test
