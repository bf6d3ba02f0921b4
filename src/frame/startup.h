// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// The processor's feature word: bit 23 MMX, bit 25 SSE. 0 until the start-up has run.
uint32_t ZAV_CPU_FEATURES();

/// What the CZAV constructor does. May be repeated at any time, on any thread: every step stores
/// the same words again.
void StartUp();

}  // namespace zav
