// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "platform/processor.h"

namespace zav {

uint32_t ReadProcessorBits() {
#if defined(__x86_64__) || defined(__i386__)
  // The query covers the operating system's part too: it reports an extension as absent when its
  // registers are not saved.
  __builtin_cpu_init();
  uint32_t bits = 0;
  if (__builtin_cpu_supports("mmx")) bits |= kProcessorMmx;
  if (__builtin_cpu_supports("sse")) bits |= kProcessorSse;
  return bits;
#else
  return 0;
#endif
}

}  // namespace zav
