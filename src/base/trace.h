// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

namespace zav {

/// Receives every warning and error text of the library, and discards it; a build with ZAV_TRACE
/// prints it to stderr. It stands alone in its object file, so that a test can link its own.
void TraceHook(const char* text);

}  // namespace zav
