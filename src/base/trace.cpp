// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "base/trace.h"

#ifdef ZAV_TRACE
#include <cstdio>
#endif

namespace zav {

void TraceHook([[maybe_unused]] const char* text) {
#ifdef ZAV_TRACE
  std::fputs(text, stderr);
#endif
}

}  // namespace zav
