// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace zav {

// Multi-byte values in files and in 16- and 32-bit pixels are composed from bytes, independent of
// the host's byte order. Compilers turn each of these into a single load or store.

inline uint16_t LoadLe16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }

inline void StoreLe16(uint8_t* p, uint32_t value) {
  p[0] = static_cast<uint8_t>(value);
  p[1] = static_cast<uint8_t>(value >> 8);
}

inline uint32_t LoadLe24(const uint8_t* p) {
  return static_cast<uint32_t>(p[0] | p[1] << 8 | p[2] << 16);
}

// In loops GCC vectorises the single bytes and misses that they form words. The wider functions
// therefore copy whole words if the host is little-endian.

inline uint32_t LoadLe32(const uint8_t* p) {
  if constexpr (std::endian::native == std::endian::little) {
    uint32_t value = 0;
    std::memcpy(&value, p, sizeof(value));
    return value;
  } else {
    return LoadLe16(p) | static_cast<uint32_t>(LoadLe16(p + 2)) << 16;
  }
}

inline void StoreLe32(uint8_t* p, uint32_t value) {
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(p, &value, sizeof(value));
  } else {
    StoreLe16(p, value);
    StoreLe16(p + 2, value >> 16);
  }
}

inline uint64_t LoadLe64(const uint8_t* p) {
  if constexpr (std::endian::native == std::endian::little) {
    uint64_t value = 0;
    std::memcpy(&value, p, sizeof(value));
    return value;
  } else {
    return LoadLe32(p) | static_cast<uint64_t>(LoadLe32(p + 4)) << 32;
  }
}

inline void StoreLe64(uint8_t* p, uint64_t value) {
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(p, &value, sizeof(value));
  } else {
    StoreLe32(p, static_cast<uint32_t>(value));
    StoreLe32(p + 4, static_cast<uint32_t>(value >> 32));
  }
}

inline uint16_t LoadBe16(const uint8_t* p) { return static_cast<uint16_t>(p[0] << 8 | p[1]); }

inline uint32_t LoadBe32(const uint8_t* p) {
  return static_cast<uint32_t>(LoadBe16(p)) << 16 | LoadBe16(p + 2);
}

}  // namespace zav
