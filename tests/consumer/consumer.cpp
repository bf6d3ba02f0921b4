// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Calls every export through the installed header and library: a missing one does not link, and one
// that crashes on harmless arguments does not return 0.

#include <zav.h>

#include <cstring>

namespace {

int Converts() {
  unsigned char pixels[] = {10, 20, 30};
  ZAV_IMAGE image;
  ZAV_INIT(&image);
  ZAV_SETENV(&image, 0);
  image.source.pixels = pixels;
  image.source.width = image.source.height = 1;
  image.source.format = ZAV_FMT_BGR24;
  image.dest.format = ZAV_FMT_RGBA32;
  if (ZAV_CONVERT_RAW(&image) != 1) return 1;
  const unsigned char expected[] = {30, 20, 10, 255};
  if (std::memcmp(image.dest.pixels, expected, 4) != 0) return 2;
  unsigned char* kept = image.dest.pixels;
  ZAV_DETACH(&image);
  for (int i = 0; i < 2; ++i) ZAV_FREE(&image);  // the second does no harm
  ZAV_DETACH(&image);
  ZAV_DETACH(nullptr);
  if (image.dest.pixels != nullptr || kept[0] != 30) return 3;
  ZAV_FREE_BUFFER(kept);
  return 0;
}

int Answers() {
  ZAV_IMAGE none = ZAV_IMAGE();
  ZAV_GFXDEF definition = ZAV_GFXDEF();
  ZAV_LAYER layer = ZAV_LAYER();
  unsigned char block[16] = {0};
  int kind = 0;
  if (ZAV_INIT_LIBRARY() != 512 || ZAV_SETVENDOR(3, -1) != 1) return 10;
  if (ZAV_CONVERT_RAW(&none) != 0 || ZAV_CONVERT_FILE(&none, "x.tga") != 0 ||
      ZAV_CONVERT_MEMFILE(&none, "x.tga", block, 16) != 0 || ZAV_GEN_MIPMAPLEVEL(&none) != 0 ||
      ZAV_SAVE_BITMAP(&none, ZAV_SAVE_BMP24, "x.bmp") != 0) {
    return 11;
  }
  if (ZAV_CONVERT_FILE_FROMARCHIVE(&none, "x", nullptr) != 0 ||
      ZAV_GETFILEFORMAT_FROMARCHIVE(&definition, "x", nullptr) != 0 ||
      ZAV_GETFILEFORMAT_FROMFILE(&definition, "missing.bmp") != 0 ||
      ZAV_GETFILEFORMAT_FROMMEM(&definition, "x.bmp", block, 16) != 0) {
    return 12;
  }
  if (ZAV_OPEN_READ(block, 16) != nullptr || ZAV_OPEN_WRITE("/nowhere/x.zav") != nullptr) return 13;
  ZAV_CLOSE(nullptr);
  if (ZAV_WRITE_LAYER(nullptr, &layer) != -1 || ZAV_READ_LAYER(nullptr, &layer) != -1 ||
      ZAV_GET_LAYER_TYPE(nullptr, &kind) != -1 || ZAV_SKIP_LAYER(nullptr) != -1 ||
      ZAV_SEEK_START(nullptr) != -1 || ZAV_GET_LAYER_SIZE(nullptr) != -1 ||
      ZAV_WRITE_IMAGE(nullptr, nullptr, &layer, &definition) != -1 ||
      ZAV_WRITE_TILEDIMAGE(nullptr, nullptr, &layer, &definition) != -1 ||
      ZAV_WRITE_SQUIZIMAGE(nullptr, nullptr, &layer, &definition) != -1 ||
      ZAV_WRITE_MIPMAPIMAGE(nullptr, nullptr, 1, &layer, &definition) != -1 ||
      ZAV_DECODE_BITMAP(nullptr, &none) != -1 || ZAV_DECODE_BITMAPFORMAT(nullptr, nullptr) != -1) {
    return 14;
  }
  CZAV library;
  CZAV copy(library);
  copy = library;
  return 0;
}

}  // namespace

int main() {
  const int converts = Converts();
  return converts != 0 ? converts : Answers();
}
