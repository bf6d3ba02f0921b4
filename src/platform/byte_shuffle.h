// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// A shuffle of 16 bytes: for each byte, the one that it comes from. 0x80 gives 0.
struct alignas(16) ByteShuffle {
  uint8_t from[16];
};

}  // namespace zav
