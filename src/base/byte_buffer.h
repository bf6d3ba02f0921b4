// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "base/heap.h"

namespace zav {

/// A growable byte array. Growing doubles the capacity, so each byte is moved about once.
class ByteBuffer {
 public:
  ByteBuffer() = default;
  ByteBuffer(const ByteBuffer&) = delete;
  ByteBuffer& operator=(const ByteBuffer&) = delete;
  ~ByteBuffer() { FreeBytes(bytes_); }

  const uint8_t* data() const { return bytes_; }
  int64_t size() const { return size_; }

  /// False when memory runs out; the buffer is then as it was.
  bool Append(const uint8_t* bytes, int64_t count);

 private:
  uint8_t* bytes_ = nullptr;
  int64_t size_ = 0;
  int64_t room_ = 0;
};

}  // namespace zav
