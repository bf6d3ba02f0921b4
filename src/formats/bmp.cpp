// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "formats/bmp.h"

namespace zav {
bool BmpRead(ZAV_CONVERTER&, const uint8_t*, int64_t) { return false; }
bool BmpGetFormat(ZAV_GFXDEF&, const uint8_t*, int64_t) { return false; }
bool BmpWrite(ZAV_CONVERTER&, int32_t, const char*) { return false; }
}  // namespace zav
