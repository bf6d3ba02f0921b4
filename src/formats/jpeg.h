// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "surface/records.h"

namespace zav {

/// Reads a JPEG file of three or four channels into the converter's source, and converts it when a
/// destination format is set. It is decoded to the destination format if the codec can, otherwise
/// to ZAV_FMT_BGRA32.
bool JpegRead(ZAV_CONVERTER& converter, const uint8_t* data, int64_t size);

/// Fills size, format and pitch from the header; the format is always ZAV_FMT_BGRA32.
bool JpegGetFormat(ZAV_GFXDEF& out, const uint8_t* data, int64_t size);

/// Writes the converter's source as a file of three channels with quality 0 to 100, and color at
/// half width. The source stays as it was.
bool JpegWrite(ZAV_CONVERTER& converter, const char* path, int32_t quality);

}  // namespace zav
