// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_LITTLE_ENDIAN_H_
#define ZAV_TOOLS_LITTLE_ENDIAN_H_

#include <cstddef>
#include <cstdint>

namespace zav::tool {

/// The number in these bytes, of which there are at most 4.
template <typename Byte>
constexpr uint32_t LoadLittle(const Byte* bytes, size_t size) {
  uint32_t value = 0;
  for (size_t i = 0; i < size; ++i) {
    value |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])) << 8 * i;
  }
  return value;
}

inline void StoreLittle(uint32_t value, unsigned char* bytes, size_t size) {
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(value >> 8 * i);
}

}  // namespace zav::tool

#endif  // ZAV_TOOLS_LITTLE_ENDIAN_H_
