// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "support/failing_heap.h"

#include <cerrno>
#include <cstddef>

namespace {

thread_local bool t_failing = false;
thread_local int t_granted = 0;
thread_local int t_refused = 0;

bool Refuse() {
  if (!t_failing) return false;
  if (t_granted-- > 0) return false;
  ++t_refused;
  return true;
}

}  // namespace

// The linker sends the library's calls here (--wrap).
extern "C" {
void* __real_malloc(size_t size);
int __real_posix_memalign(void** out, size_t alignment, size_t size);
void* __real_calloc(size_t count, size_t size);

void* __wrap_malloc(size_t size) { return Refuse() ? nullptr : __real_malloc(size); }
int __wrap_posix_memalign(void** out, size_t alignment, size_t size) {
  return Refuse() ? ENOMEM : __real_posix_memalign(out, alignment, size);
}
void* __wrap_calloc(size_t count, size_t size) {
  return Refuse() ? nullptr : __real_calloc(count, size);
}
}

namespace zav::test {

FailingHeap::FailingHeap(int granted) {
  t_failing = true;
  t_granted = granted;
  t_refused = 0;
}
FailingHeap::~FailingHeap() { t_failing = false; }
int FailingHeap::refused() const { return t_refused; }

}  // namespace zav::test
