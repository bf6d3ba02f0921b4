// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "frame/file_formats.h"

#include <cstring>

#include "formats/bmp.h"
#include "formats/jpeg.h"
#include "formats/sgi.h"
#include "formats/targa.h"
#include "kinds/container_reader.h"

namespace zav {
namespace {

struct FileFormatRow {
  char extension[4];
  bool (*read)(ZAV_CONVERTER& converter, const uint8_t* data, int64_t size);
  bool (*probe)(ZAV_GFXDEF& definition, const uint8_t* data, int64_t size);
};

constexpr FileFormatRow kFileFormats[] = {
    {"bmp", BmpRead, BmpGetFormat},
    {"tga", TgaRead, TgaGetFormat},
    {"rgb", SgiRead, SgiGetFormat},
    {"jpg", JpegRead, JpegGetFormat},
    {"zav", ContainerRead, ContainerGetFormat},
};

/// ASCII only: the choice of a reader must not depend on the host's locale.
char LowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

const FileFormatRow* FindFormat(const char* name) {
  if (name == nullptr) return nullptr;
  const size_t length = std::strlen(name);
  if (length < 3) return nullptr;
  const char* end = name + length - 3;
  const char extension[4] = {LowerCase(end[0]), LowerCase(end[1]), LowerCase(end[2]), '\0'};
  for (const FileFormatRow& row : kFileFormats) {
    if (std::memcmp(row.extension, extension, sizeof(extension)) == 0) return &row;
  }
  return nullptr;
}

}  // namespace

bool ReadByExtension(ZAV_CONVERTER& converter, const char* name, const uint8_t* data,
                     int64_t size) {
  const FileFormatRow* row = FindFormat(name);
  return row != nullptr && data != nullptr && row->read(converter, data, size);
}

bool ProbeByExtension(ZAV_GFXDEF& definition, const char* name, const uint8_t* data, int64_t size) {
  const FileFormatRow* row = FindFormat(name);
  return row != nullptr && data != nullptr && row->probe(definition, data, size);
}

}  // namespace zav
