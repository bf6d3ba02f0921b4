// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// Allocates pixels and palettes from malloc's heap, so hosts may free() what they detach. Null
/// when no buffer can have the size or memory runs out. The bytes are not cleared.
uint8_t* AllocateBytes(int64_t size) noexcept;

/// The same, cleared. Large buffers use memory only where they are written.
uint8_t* AllocateZeroed(int64_t size) noexcept;

void FreeBytes(void* bytes) noexcept;

/// Heap memory for the duration of one call; null where AllocateBytes returns null.
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
