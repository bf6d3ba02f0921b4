// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "base/byte_reader.h"
#include "surface/records.h"

namespace zav {

/// Reads a picture of three or four 8-bit channels, verbatim or run-length coded, into the
/// converter's source as ZAV_FMT_BGR24 or ZAV_FMT_BGRA32, and converts it when a destination format
/// is set.
bool SgiRead(ZAV_CONVERTER& converter, const uint8_t* data, int64_t size);

/// Fills size, format and pitch from the header of a picture of three or four channels.
bool SgiGetFormat(ZAV_GFXDEF& out, const uint8_t* data, int64_t size);

/// Bytes after a row that SgiRleRow may overwrite.
inline constexpr int64_t kSgiRowSlack = 16;

/// Decodes one channel's row, starting at the file's position, into `width` consecutive bytes that
/// are followed by kSgiRowSlack more. Returns the number of pixels: fewer than `width` if the row
/// is terminated early, -1 if a packet passes the end of the row or of the file.
int64_t SgiRleRow(const ByteReader& file, uint8_t* dest, int64_t width);

}  // namespace zav
