// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "surface/records.h"

namespace zav {

// The bodies of the exports. They check arguments, exchange definitions between the public record
// and its converter, and undo failed operations.

void InitImage(ZAV_IMAGE* image);
void FreeImage(ZAV_IMAGE* image);
void DetachDest(ZAV_IMAGE* image);
void SetEnv(ZAV_IMAGE* image, uint32_t value);

bool ConvertRaw(ZAV_IMAGE* image);
bool ConvertFile(ZAV_IMAGE* image, const char* path);
bool ConvertMemoryFile(ZAV_IMAGE* image, const char* name, const uint8_t* data, int64_t size);
bool ProbeFile(ZAV_GFXDEF* definition, const char* path);
bool ProbeMemoryFile(ZAV_GFXDEF* definition, const char* name, const uint8_t* data, int64_t size);
bool GenerateMipLevelOf(ZAV_IMAGE* image);
bool SaveBitmap(ZAV_IMAGE* image, long save_type, const char* path);

}  // namespace zav
