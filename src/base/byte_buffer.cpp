// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "base/byte_buffer.h"

#include <algorithm>
#include <cstring>

#include "base/checked.h"

namespace zav {

bool ByteBuffer::Append(const uint8_t* bytes, int64_t count) {
  if (count > room_ - size_) {
    const int64_t room = std::max(size_ + count, std::min(2 * room_, kMaxBytes));
    uint8_t* grown = AllocateBytes(room);
    if (grown == nullptr) return false;
    if (size_ > 0) std::memcpy(grown, bytes_, static_cast<size_t>(size_));
    FreeBytes(bytes_);
    bytes_ = grown;
    room_ = room;
  }
  std::memcpy(bytes_ + size_, bytes, static_cast<size_t>(count));
  size_ += count;
  return true;
}

}  // namespace zav
