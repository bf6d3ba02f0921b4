// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "surface/records.h"

namespace zav {

/// Converts a checked source to a destination of another size: scaled in its own format first, then
/// converted. With ZAV_ENV_FILTER, pixels of fewer than 3 bytes are filtered as 32-bit BGRA. On
/// success the source is consumed; on failure both surfaces are as before.
bool ResizeSurface(ZAV_CONVERTER& converter);

}  // namespace zav
