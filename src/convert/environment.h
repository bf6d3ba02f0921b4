// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "surface/records.h"

namespace zav {

/// Makes the converter's environment value that of the process.
void PublishEnv(const ZAV_CONVERTER& converter);

/// The value last published. Only ZAV_ENV_FILTER has a meaning.
uint32_t PublishedEnv();

}  // namespace zav
