// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "surface/records.h"

namespace zav {

// The last three characters of a name choose the format, in upper or lower case; the data's first
// bytes are not checked. A reader fills the converter's source, allocating or pointing into the
// data, and converts it when a destination format is set. It never writes to the data.

bool ReadByExtension(ZAV_CONVERTER& converter, const char* name, const uint8_t* data, int64_t size);
bool ProbeByExtension(ZAV_GFXDEF& definition, const char* name, const uint8_t* data, int64_t size);

}  // namespace zav
