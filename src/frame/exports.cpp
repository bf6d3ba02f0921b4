// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// The exported interface. Bodies stand in frame/entry_points.cpp.

#include "base/heap.h"
#include "frame/entry_points.h"
#include "frame/startup.h"
#include "zav.h"

namespace {

int ContainerResult(bool succeeded) { return succeeded ? 0 : -1; }

/// Runs the start-up when the library is loaded.
const CZAV g_library;

}  // namespace

CZAV::CZAV() { zav::StartUp(); }
CZAV::CZAV(const CZAV&) {}
CZAV& CZAV::operator=(const CZAV&) { return *this; }
CZAV::~CZAV() = default;

int ZAV_INIT_LIBRARY(void) { return 512; }
int ZAV_SETVENDOR(int, int) { return 1; }

void ZAV_INIT(ZAV_IMAGE* image) { zav::InitImage(image); }
void ZAV_FREE(ZAV_IMAGE* image) { zav::FreeImage(image); }
void ZAV_DETACH(ZAV_IMAGE* image) { zav::DetachDest(image); }
void ZAV_FREE_BUFFER(void* buffer) { zav::FreeBytes(buffer); }
void ZAV_SETENV(ZAV_IMAGE* image, unsigned long value) {
  zav::SetEnv(image, static_cast<uint32_t>(value));
}

int ZAV_CONVERT_RAW(ZAV_IMAGE* image) { return zav::ConvertRaw(image); }
int ZAV_CONVERT_FILE(ZAV_IMAGE* image, const char* path) { return zav::ConvertFile(image, path); }
int ZAV_CONVERT_MEMFILE(ZAV_IMAGE* image, const char* name, unsigned char* data, long size) {
  return zav::ConvertMemoryFile(image, name, data, size);
}
int ZAV_CONVERT_FILE_FROMARCHIVE(ZAV_IMAGE*, const char*, void*) { return 0; }

int ZAV_GETFILEFORMAT_FROMFILE(ZAV_GFXDEF* definition, const char* path) {
  return zav::ProbeFile(definition, path);
}
int ZAV_GETFILEFORMAT_FROMMEM(ZAV_GFXDEF* definition, const char* name, unsigned char* data,
                              long size) {
  return zav::ProbeMemoryFile(definition, name, data, size);
}
int ZAV_GETFILEFORMAT_FROMARCHIVE(ZAV_GFXDEF*, const char*, void*) { return 0; }

int ZAV_GEN_MIPMAPLEVEL(ZAV_IMAGE* image) { return zav::GenerateMipLevelOf(image); }
int ZAV_SAVE_BITMAP(ZAV_IMAGE* image, long save_type, const char* path) {
  return zav::SaveBitmap(image, save_type, path);
}

void* ZAV_OPEN_WRITE(const char*) { return nullptr; }
void* ZAV_OPEN_READ(const unsigned char*, int) { return nullptr; }
void ZAV_CLOSE(void*) {}

// No stream can be opened yet, so that every handle is an invalid one.
int ZAV_WRITE_LAYER(void*, ZAV_LAYER*) { return ContainerResult(false); }
int ZAV_READ_LAYER(void*, ZAV_LAYER*) { return ContainerResult(false); }
int ZAV_GET_LAYER_TYPE(void*, int*) { return ContainerResult(false); }
int ZAV_SKIP_LAYER(void*) { return ContainerResult(false); }
int ZAV_SEEK_START(void*) { return ContainerResult(false); }
int ZAV_GET_LAYER_SIZE(void*) { return ContainerResult(false); }
int ZAV_WRITE_IMAGE(void*, char*, ZAV_LAYER*, ZAV_GFXDEF*) { return ContainerResult(false); }
int ZAV_WRITE_TILEDIMAGE(void*, char*, ZAV_LAYER*, ZAV_GFXDEF*) { return ContainerResult(false); }
int ZAV_WRITE_SQUIZIMAGE(void*, char*, ZAV_LAYER*, ZAV_GFXDEF*) { return ContainerResult(false); }
int ZAV_WRITE_MIPMAPIMAGE(void*, char*, int, ZAV_LAYER*, ZAV_GFXDEF*) {
  return ContainerResult(false);
}
int ZAV_DECODE_BITMAP(void*, ZAV_IMAGE*) { return ContainerResult(false); }
int ZAV_DECODE_BITMAPFORMAT(void*, ZAV_GFXDEF*) { return ContainerResult(false); }
