// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "surface/records.h"

namespace zav {

/// Turns the converter's source into its destination: copy, hand-over, direct kernel, route through
/// 32-bit BGRA, or resize.
///
/// On failure nothing has changed but the defaults that the source was given: the destination is as
/// it was found and what was allocated is freed. On success every field of both definitions is
/// filled in. A conversion to another size consumes the source.
bool ConvertSurface(ZAV_CONVERTER& converter);

/// Whether pixels of the format can be converted at all, which is whether a kernel takes them to
/// the hub. The others are only copied, and must not enter the route through the hub: it would
/// lead to itself.
bool HasKernels(int32_t format);

}  // namespace zav
