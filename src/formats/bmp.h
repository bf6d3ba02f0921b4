// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "surface/records.h"

namespace zav {

/// Reads an uncompressed bottom-up bitmap of 1, 8, 16 or 24 bits into the converter's source, and
/// converts it when a destination format is set.
bool BmpRead(ZAV_CONVERTER& converter, const uint8_t* data, int64_t size);

/// Fills size, format and pitch from the header of a bitmap of 1, 8 or 24 bits.
bool BmpGetFormat(ZAV_GFXDEF& out, const uint8_t* data, int64_t size);

/// Writes the converter's source as ZAV_FMT_PAL8 or ZAV_FMT_BGR24. The source stays as it was.
bool BmpWrite(ZAV_CONVERTER& converter, int32_t format, const char* path);

}  // namespace zav
