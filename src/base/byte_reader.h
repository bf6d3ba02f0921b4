// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/endian.h"

namespace zav {

/// Bounded cursor over foreign bytes. All file data is read through one.
///
/// Invariant: 0 <= position <= size, and bytes [0, size) may be read. Every operation checks its
/// extent against size - position, which cannot overflow, before it forms a pointer. An operation
/// that does not fit returns null or 0, moves nothing and sets `failed`, so a sequence of reads
/// needs only one check at its end.
class ByteReader {
 public:
  ByteReader(const uint8_t* data, int64_t size)
      : data_(data), size_(data != nullptr && size > 0 ? size : 0) {}

  int64_t size() const { return size_; }
  int64_t position() const { return position_; }
  int64_t remaining() const { return size_ - position_; }
  bool failed() const { return failed_; }

  /// Takes the next `count` bytes without copying; null when fewer are left.
  const uint8_t* Take(int64_t count) {
    if (count < 0 || count > remaining()) {
      failed_ = true;
      return nullptr;
    }
    const uint8_t* taken = data_ + position_;
    position_ += count;
    return taken;
  }

  /// The same without moving, and without failing when fewer are left.
  const uint8_t* Peek(int64_t count) const {
    return count >= 0 && count <= remaining() ? data_ + position_ : nullptr;
  }

  void Skip(int64_t count) { Take(count); }

  /// Copies at most `count` bytes and returns how many were left to copy. A short copy does not
  /// fail.
  int64_t CopyUpTo(uint8_t* out, int64_t count) {
    const int64_t copied = count < remaining() ? count : remaining();
    if (copied < 1) return 0;
    std::memcpy(out, data_ + position_, static_cast<size_t>(copied));
    position_ += copied;
    return copied;
  }

  /// Moves to any position up to the end.
  void Seek(int64_t position) {
    if (position < 0 || position > size_) {
      failed_ = true;
      return;
    }
    position_ = position;
  }

  uint8_t U8() {
    const uint8_t* p = Take(1);
    return p != nullptr ? *p : uint8_t{0};
  }
  uint16_t Le16() {
    const uint8_t* p = Take(2);
    return p != nullptr ? LoadLe16(p) : uint16_t{0};
  }
  uint16_t Be16() {
    const uint8_t* p = Take(2);
    return p != nullptr ? LoadBe16(p) : uint16_t{0};
  }
  uint32_t Le32() {
    const uint8_t* p = Take(4);
    return p != nullptr ? LoadLe32(p) : 0;
  }

  /// Moves to the end, so that nothing more can be taken: the state after a truncated item.
  void ToEnd() { position_ = size_; }

 private:
  const uint8_t* data_;
  int64_t size_;
  int64_t position_ = 0;
  bool failed_ = false;
};

}  // namespace zav
