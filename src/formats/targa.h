// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "surface/records.h"

namespace zav {

/// Reads a raw or run-length Targa file of 8, 16, 24 or 32 bits into the converter's source, and
/// converts it when a destination format is set.
bool TgaRead(ZAV_CONVERTER& converter, const uint8_t* data, int64_t size);

/// Fills size, format and pitch from the header of a raw Targa file.
bool TgaGetFormat(ZAV_GFXDEF& out, const uint8_t* data, int64_t size);

/// Writes the converter's source as an uncompressed ZAV_FMT_PAL8, BGRA32, BGR24 or RGB555 file.
/// The source stays as it was.
bool TgaWrite(ZAV_CONVERTER& converter, int32_t format, const char* path);

}  // namespace zav
