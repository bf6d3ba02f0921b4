// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace zav::test {

/// A block of bytes that ends at an unmapped page: access to the next byte faults in every build.
/// Read-only by default, so that a reader that writes faults too.
class PageEndBuffer {
 public:
  enum class Access { kReadOnly, kReadWrite };

  PageEndBuffer(const uint8_t* bytes, size_t size, Access access = Access::kReadOnly);
  explicit PageEndBuffer(size_t size) : PageEndBuffer(nullptr, size, Access::kReadWrite) {}
  PageEndBuffer(const PageEndBuffer&) = delete;
  PageEndBuffer& operator=(const PageEndBuffer&) = delete;
  ~PageEndBuffer();

  /// Never null. Writing through it faults if read-only.
  uint8_t* data() { return data_; }
  size_t size() const { return size_; }

 private:
  uint8_t* data_;
  size_t size_;
  void* mapping_;
  size_t mapped_;
};

}  // namespace zav::test
