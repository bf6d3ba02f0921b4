// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

enum : uint32_t { kProcessorMmx = 1u << 23, kProcessorSse = 1u << 25 };

/// The MMX and SSE bits of CPUID leaf 1, register EDX; SSE only where the operating system saves
/// its registers. 0 on other processors.
uint32_t ReadProcessorBits();

}  // namespace zav
