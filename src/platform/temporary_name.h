// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace zav {

inline constexpr size_t kTemporaryNameBytes = 260;

/// Creates an empty file with a unique name in TMPDIR, or /tmp when that is not set, and copies its
/// name to `out` (kTemporaryNameBytes characters). When that cannot be done the name is "temp".
void MakeTempFileName(char* out);

}  // namespace zav
