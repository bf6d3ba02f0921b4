// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

namespace zav {

/// Receives every warning and error text of the library, and discards it; a build with ZAV_TRACE
/// prints it to stderr. It has an object file to itself, so a test can link another one instead.
void TraceHook(const char* text);

}  // namespace zav
