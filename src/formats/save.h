// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "surface/records.h"

namespace zav {

/// Writes the converter's source to a file of the given save type.
bool SaveByType(ZAV_CONVERTER& converter, long save_type, const char* path);

}  // namespace zav
