// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "base/heap.h"

#include <sys/mman.h>

#include <cstdlib>

#include "base/checked.h"

namespace zav {
namespace {

// Writing a fresh 64 MiB buffer costs 16384 page faults with 4 KiB pages, more than converting
// into it does. Large buffers are therefore aligned to the large page size and the kernel is asked
// for large pages: 32 faults. Smaller buffers stay on the ordinary path, where the allocator reuses
// pages that are mapped already.
constexpr int64_t kLargePage = int64_t{2} << 20;
constexpr int64_t kLargeBuffer = 2 * kLargePage;

uint8_t* AllocateLarge(int64_t size) {
  void* bytes = nullptr;
  if (posix_memalign(&bytes, kLargePage, static_cast<size_t>(size)) != 0) return nullptr;
#ifdef MADV_HUGEPAGE
  // Whole large pages only: the rest of the last one may belong to another allocation. Advice may
  // be refused; the buffer then has ordinary pages.
  madvise(bytes, static_cast<size_t>(size / kLargePage * kLargePage), MADV_HUGEPAGE);
#endif
  return static_cast<uint8_t*>(bytes);
}

}  // namespace

uint8_t* AllocateBytes(int64_t size) noexcept {
  if (!IsBufferSize(size)) return nullptr;
  if (size >= kLargeBuffer) return AllocateLarge(size);
  return static_cast<uint8_t*>(std::malloc(static_cast<size_t>(size)));
}

uint8_t* AllocateZeroed(int64_t size) noexcept {
  // calloc knows which pages come zeroed from the system and does not touch those.
  return IsBufferSize(size) ? static_cast<uint8_t*>(std::calloc(1, static_cast<size_t>(size)))
                            : nullptr;
}

void FreeBytes(void* bytes) noexcept { std::free(bytes); }

}  // namespace zav
