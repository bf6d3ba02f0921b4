// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "support/page_end_buffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace zav::test {

PageEndBuffer::PageEndBuffer(const uint8_t* bytes, size_t size, Access access) : size_(size) {
  const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  const size_t readable = (size + page) / page * page;
  mapped_ = readable + page;
  mapping_ = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapping_ == MAP_FAILED) std::abort();
  data_ = static_cast<uint8_t*>(mapping_) + readable - size;
  if (bytes != nullptr && size != 0) std::memcpy(data_, bytes, size);
  if (access == Access::kReadOnly) mprotect(mapping_, readable, PROT_READ);
  mprotect(static_cast<uint8_t*>(mapping_) + readable, page, PROT_NONE);
}

PageEndBuffer::~PageEndBuffer() { munmap(mapping_, mapped_); }

}  // namespace zav::test
