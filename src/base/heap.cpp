// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "base/heap.h"

#include <sys/mman.h>

#include <cstdlib>

#include "base/checked.h"

namespace zav {
namespace {

// A page fault costs microseconds, on virtual machines up to five: filling a fresh 64 MiB buffer in
// pages of 4 KiB takes several times as long as converting a picture into it. Large buffers are
// therefore aligned to the large page size, and the kernel is asked for large pages: 32 faults
// instead of 16384. Smaller buffers stay on the ordinary path, where the allocator reuses pages
// that are mapped already.
constexpr int64_t kLargePage = int64_t{2} << 20;

// The part after the last whole large page would still fault page by page. A large page costs as
// much as 30 small ones (it is cleared as well), so rounding up to it pays, unless that takes more
// than half as much memory again.
int64_t FillLargePage(int64_t size) {
  constexpr int64_t kShortTail = int64_t{30} * 4096;
  const int64_t tail = size % kLargePage;
  const int64_t added = kLargePage - tail;
  return tail <= kShortTail || added > size / 2 ? size : size + added;
}

uint8_t* AllocateLarge(int64_t size) {
  size = FillLargePage(size);
  void* bytes = nullptr;
  if (posix_memalign(&bytes, kLargePage, static_cast<size_t>(size)) != 0) return nullptr;
#ifdef MADV_HUGEPAGE
  // Whole large pages only: the rest of the last one may belong to another allocation. If the
  // advice is refused, the buffer has ordinary pages.
  madvise(bytes, static_cast<size_t>(size / kLargePage * kLargePage), MADV_HUGEPAGE);
#endif
  return static_cast<uint8_t*>(bytes);
}

}  // namespace

uint8_t* AllocateBytes(int64_t size) noexcept {
  if (!IsBufferSize(size)) return nullptr;
  if (size >= kLargePage) return AllocateLarge(size);
  return static_cast<uint8_t*>(std::malloc(static_cast<size_t>(size)));
}

uint8_t* AllocateZeroed(int64_t size) noexcept {
  // calloc knows which pages come zeroed from the system and does not touch those.
  return IsBufferSize(size) ? static_cast<uint8_t*>(std::calloc(1, static_cast<size_t>(size)))
                            : nullptr;
}

void FreeBytes(void* bytes) noexcept { std::free(bytes); }

}  // namespace zav
