// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "surface/records.h"

namespace zav {

/// Converts the source to the destination: by copy, hand-over, direct kernel, route through 32-bit
/// BGRA, or resize.
///
/// On failure only the source's defaults have been filled in: the destination is as before, and
/// what was allocated is freed. On success every field of both definitions is filled in. A
/// conversion to another size consumes the source.
bool ConvertSurface(ZAV_CONVERTER& converter);

/// Whether the format can be converted to others, that is, has a kernel to 32-bit BGRA. Other
/// formats are only copied; routing them through BGRA would recurse without end.
bool HasKernels(int32_t format);

}  // namespace zav
