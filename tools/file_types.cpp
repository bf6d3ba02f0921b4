// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "file_types.h"

#include <fmt/core.h>

#include <algorithm>
#include <cctype>

#include "dds.h"
#include "error.h"
#include "formats.h"
#include "input.h"
#include "inspect.h"
#include "png.h"
#include "raw.h"
#include "save.h"

namespace zav::tool {
namespace {

using Bytes = std::vector<unsigned char>;

Picture ReadBmp(const std::string& path, Bytes& bytes, std::string& storage) {
  storage = InspectBmp(path, bytes);
  return Decode(path, ".bmp", bytes);
}

Picture ReadTarga(const std::string& path, Bytes& bytes, std::string& storage) {
  storage = InspectTarga(path, bytes);
  return Decode(path, ".tga", bytes);
}

Picture ReadRawPicture(const std::string& path, Bytes& bytes, std::string& storage) {
  storage = "as in memory";
  return ReadRaw(path, bytes);
}

void WriteRawPicture(const FileType&, const Picture& picture, const std::string& path) {
  WriteRaw(picture, path);
}

void WriteDdsPicture(const FileType&, const Picture& picture, const std::string& path) {
  WriteDds(picture, path);
}

void WritePngPicture(const FileType&, const Picture& picture, const std::string& path) {
  WritePng(picture, path);
}

constexpr Stored kBmpStored[] = {{ZAV_FMT_PAL8, ZAV_SAVE_BMP8}, {ZAV_FMT_BGR24, ZAV_SAVE_BMP24}};
constexpr Stored kTargaStored[] = {{ZAV_FMT_PAL8, ZAV_SAVE_TGA8},
                                   {ZAV_FMT_RGB555, ZAV_SAVE_TGA16},
                                   {ZAV_FMT_BGR24, ZAV_SAVE_TGA24},
                                   {ZAV_FMT_BGRA32, ZAV_SAVE_TGA32}};

constexpr Stored kPngStored[] = {{ZAV_FMT_PAL8, 0}, {ZAV_FMT_RGB24, 0}, {ZAV_FMT_RGBA32, 0}};

constexpr Stored kDdsStored[] = {
    {ZAV_FMT_DXT1, 0},     {ZAV_FMT_DXT2, 0},       {ZAV_FMT_DXT3, 0},      {ZAV_FMT_DXT4, 0},
    {ZAV_FMT_DXT5, 0},     {ZAV_FMT_RGBA32, 0},     {ZAV_FMT_BGRA32, 0},    {ZAV_FMT_RGB24, 0},
    {ZAV_FMT_BGR24, 0},    {ZAV_FMT_RGB565, 0},     {ZAV_FMT_RGB555, 0},    {ZAV_FMT_ARGB4444, 0},
    {ZAV_FMT_ARGB1555, 0}, {ZAV_FMT_CUSTOM16_1, 0}, {ZAV_FMT_CUSTOM16_2, 0}};

constexpr FileType kTypes[] = {
    {"bmp", "BMP", ReadBmp, SaveWithLibrary, kBmpStored},
    {"tga", "Targa", ReadTarga, SaveWithLibrary, kTargaStored},
    {"png", "PNG", ReadPng, WritePngPicture, kPngStored},
    {"dds", "DDS", ReadDds, WriteDdsPicture, kDdsStored},
    {"raw", "raw pixels", ReadRawPicture, WriteRawPicture, {}},
};

bool Holds(const FileType& type, int32_t format) {
  return type.stored.empty() || std::ranges::count(type.stored, format, &Stored::format) != 0;
}

/// The first of these formats that the type holds; 0 for none.
int32_t FirstHeld(const FileType& type, std::initializer_list<int32_t> formats) {
  for (const int32_t format : formats) {
    if (Holds(type, format)) return format;
  }
  return 0;
}

}  // namespace

const FileType& TypeOf(const std::string& path) {
  const size_t dot = path.find_last_of("./");
  std::string ending = dot == path.npos || path[dot] == '/' ? "" : path.substr(dot + 1);
  for (char& c : ending) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  std::string known;
  for (const FileType& type : kTypes) {
    if (type.ending == ending) return type;
    known += fmt::format("{}{}", known.empty() ? "" : ", ", type.ending);
  }
  throw Error(ErrorKind::kNotSupported, path,
              fmt::format("has an unknown ending; known are {}", known));
}

int32_t DefaultFormat(const FileType& type, const Picture& picture) {
  const ZAV_GFXDEF& definition = picture.definition;
  if (type.stored.empty()) return definition.format;
  if (type.write == WriteDdsPicture) {
    if (IsDxt(definition.format)) return definition.format;
    return ShowsAlpha(picture) ? ZAV_FMT_DXT5 : ZAV_FMT_DXT1;
  }
  const bool mapped = IsPalettized(definition.format);
  // The colour maps of Targa files have no alpha.
  const bool keeps_palette = type.ending != "tga" || !ShowsAlpha(picture);
  if (mapped && Holds(type, ZAV_FMT_PAL8) && keeps_palette) return ZAV_FMT_PAL8;
  const int32_t wide = FirstHeld(type, {ZAV_FMT_BGRA32, ZAV_FMT_RGBA32});
  if (wide != 0 && (mapped || HasAlpha(definition))) return wide;
  return FirstHeld(type, {ZAV_FMT_BGR24, ZAV_FMT_RGB24});
}

void CheckHolds(const FileType& type, int32_t format, const std::string& path) {
  if (Holds(type, format)) return;
  std::string held;
  for (const Stored& stored : type.stored) {
    held += fmt::format("{}{}", held.empty() ? "" : ", ", FormatOf(stored.format).name);
  }
  throw Error(
      ErrorKind::kNotSupported, path,
      fmt::format("a {} file cannot hold {}; it holds {}", type.name, FormatOf(format).name, held));
}

Picture ReadPicture(const std::string& path, std::string* storage) {
  // What is not there is missed under any name: the ending comes second.
  CheckReadable(path);
  std::string ignored;
  const FileType& type = TypeOf(path);
  std::vector<unsigned char> bytes = LoadFile(path);
  return type.read(path, bytes, storage != nullptr ? *storage : ignored);
}

void WritePicture(const Picture& picture, const std::string& path) {
  const FileType& type = TypeOf(path);
  CheckHolds(type, picture.definition.format, path);
  type.write(type, picture, path);
}

}  // namespace zav::tool
