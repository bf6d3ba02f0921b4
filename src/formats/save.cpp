// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "formats/save.h"

#include "base/trace.h"
#include "formats/bmp.h"
#include "formats/jpeg.h"
#include "formats/targa.h"
#include "surface/surface.h"

namespace zav {
namespace {

struct SaveRow {
  long save_type;
  bool (*write)(ZAV_CONVERTER& converter, int32_t format, const char* path);
  int32_t format;
};

constexpr SaveRow kSaveRows[] = {
    {ZAV_SAVE_BMP8, BmpWrite, ZAV_FMT_PAL8},   {ZAV_SAVE_BMP24, BmpWrite, ZAV_FMT_BGR24},
    {ZAV_SAVE_TGA8, TgaWrite, ZAV_FMT_PAL8},   {ZAV_SAVE_TGA16, TgaWrite, ZAV_FMT_RGB555},
    {ZAV_SAVE_TGA24, TgaWrite, ZAV_FMT_BGR24}, {ZAV_SAVE_TGA32, TgaWrite, ZAV_FMT_BGRA32},
};

constexpr long kBestJpeg = ZAV_SAVE_JPEG + 100;

}  // namespace

bool SaveByType(ZAV_CONVERTER& converter, long save_type, const char* path) {
  if (!CheckSource(converter)) return false;
  for (const SaveRow& row : kSaveRows) {
    if (row.save_type == save_type) return row.write(converter, row.format, path);
  }
  if (save_type >= ZAV_SAVE_JPEG && save_type <= kBestJpeg) {
    return JpegWrite(converter, path, static_cast<int32_t>(save_type - ZAV_SAVE_JPEG));
  }
  TraceHook("ZAV_ERR: Unsupported SaveType\n");
  return false;
}

}  // namespace zav
