// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "formats/targa.h"

namespace zav {
bool TgaRead(ZAV_CONVERTER&, const uint8_t*, int64_t) { return false; }
bool TgaGetFormat(ZAV_GFXDEF&, const uint8_t*, int64_t) { return false; }
bool TgaWrite(ZAV_CONVERTER&, int32_t, const char*) { return false; }
}  // namespace zav
