// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "base/endian.h"

namespace zav {

/// Builds a file header of exactly N bytes, field by field. Bytes that are not written are zero;
/// fields past the end are dropped.
template <size_t N>
class ByteWriter {
 public:
  void U8(uint32_t value) {
    if (position_ + 1 <= N) bytes_[position_] = static_cast<uint8_t>(value);
    position_ += 1;
  }
  void Le16(uint32_t value) {
    if (position_ + 2 <= N) StoreLe16(&bytes_[position_], value);
    position_ += 2;
  }
  void Le32(uint32_t value) {
    if (position_ + 4 <= N) StoreLe32(&bytes_[position_], value);
    position_ += 4;
  }

  const uint8_t* data() const { return bytes_.data(); }
  static constexpr size_t size() { return N; }

 private:
  std::array<uint8_t, N> bytes_{};
  size_t position_ = 0;
};

}  // namespace zav
