// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// The exported interface. The bodies are in frame/entry_points.cpp and, for containers, in
// frame/container_entry_points.cpp, container/ and kinds/.

#include "base/heap.h"
#include "container/record.h"
#include "frame/container_entry_points.h"
#include "frame/entry_points.h"
#include "frame/startup.h"
#include "kinds/mipmap_image.h"
#include "kinds/plain_image.h"
#include "kinds/squiz_image.h"
#include "kinds/tiled_image.h"
#include "zav.h"

namespace {

int ContainerResult(bool succeeded) { return succeeded ? 0 : -1; }
ZAV_STREAM* Stream(void* handle) { return static_cast<ZAV_STREAM*>(handle); }

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

void* ZAV_OPEN_WRITE(const char* path) { return zav::OpenWriteStream(path); }
void* ZAV_OPEN_READ(const unsigned char* data, int size) { return zav::OpenReadStream(data, size); }
void ZAV_CLOSE(void* stream) { zav::CloseStream(Stream(stream)); }

int ZAV_WRITE_LAYER(void* stream, ZAV_LAYER* layer) {
  return ContainerResult(stream != nullptr && zav::WriteRecordHeader(*Stream(stream), layer));
}
int ZAV_READ_LAYER(void* stream, ZAV_LAYER* layer) {
  return ContainerResult(stream != nullptr && zav::ReadRecordHeader(*Stream(stream), layer));
}
int ZAV_GET_LAYER_TYPE(void* stream, int* kind) {
  return ContainerResult(stream != nullptr && kind != nullptr &&
                         zav::PeekKind(*Stream(stream), *kind));
}
int ZAV_SKIP_LAYER(void* stream) {
  return ContainerResult(stream != nullptr && zav::SkipRecord(*Stream(stream)));
}
int ZAV_SEEK_START(void*) { return ContainerResult(false); }
int ZAV_GET_LAYER_SIZE(void*) { return ContainerResult(false); }
int ZAV_WRITE_IMAGE(void* stream, char* name, ZAV_LAYER* layer, ZAV_GFXDEF* definition) {
  return ContainerResult(stream != nullptr &&
                         zav::WriteImage(*Stream(stream), name, layer, definition));
}
int ZAV_WRITE_TILEDIMAGE(void* stream, char* name, ZAV_LAYER* layer, ZAV_GFXDEF* definition) {
  return ContainerResult(stream != nullptr &&
                         zav::WriteTiledImage(*Stream(stream), name, layer, definition));
}
int ZAV_WRITE_SQUIZIMAGE(void* stream, char* name, ZAV_LAYER* layer, ZAV_GFXDEF* definition) {
  return ContainerResult(stream != nullptr &&
                         zav::WriteSquizImage(*Stream(stream), name, layer, definition));
}
int ZAV_WRITE_MIPMAPIMAGE(void* stream, char* name, int levels, ZAV_LAYER* layer,
                          ZAV_GFXDEF* definition) {
  return ContainerResult(stream != nullptr &&
                         zav::WriteMipmapImage(*Stream(stream), name, levels, layer, definition));
}
int ZAV_DECODE_BITMAP(void* stream, ZAV_IMAGE* image) {
  return ContainerResult(zav::DecodeBitmap(Stream(stream), image));
}
int ZAV_DECODE_BITMAPFORMAT(void* stream, ZAV_GFXDEF* definition) {
  return ContainerResult(zav::DecodeBitmapFormat(Stream(stream), definition));
}
