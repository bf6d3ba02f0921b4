// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "surface/records.h"

namespace zav {

/// Publishes the converter's environment value to the process.
void PublishEnv(const ZAV_CONVERTER& converter);

/// The value last published. Only the bit ZAV_ENV_FILTER is used.
uint32_t PublishedEnv();

}  // namespace zav
