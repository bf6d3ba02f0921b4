// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// Memory for pixels and palettes, from malloc's heap: hosts may free() what they detach. Null when
/// the size is not one that a buffer can have, or memory runs out. The bytes are not cleared.
uint8_t* AllocateBytes(int64_t size) noexcept;

/// The same, cleared. Large buffers take up memory only as they are written to.
uint8_t* AllocateZeroed(int64_t size) noexcept;

void FreeBytes(void* bytes) noexcept;

/// Heap memory for one call; null where AllocateBytes gives null.
class Scratch {
 public:
  explicit Scratch(int64_t size) : bytes_(AllocateBytes(size)) {}
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { FreeBytes(bytes_); }
  uint8_t* get() const { return bytes_; }

 private:
  uint8_t* bytes_;
};

}  // namespace zav
