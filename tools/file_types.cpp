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

Picture ReadSgi(const std::string& path, Bytes& bytes, std::string& storage) {
  storage = InspectSgi(path, bytes);
  return Decode(path, ".rgb", bytes);
}

Picture ReadJpeg(const std::string& path, Bytes& bytes, std::string& storage) {
  int channels = 0;
  storage = InspectJpeg(path, bytes, channels);
  // By default the library gives every JPEG file an alpha channel.
  return Decode(path, ".jpg", bytes, channels == 3 ? ZAV_FMT_BGR24 : ZAV_FMT_BGRA32);
}

Picture ReadRawPicture(const std::string& path, Bytes& bytes, std::string& storage) {
  storage = "as in memory";
  return ReadRaw(path, bytes);
}

void WriteRawPicture(const Picture& picture, const PictureFile& file) {
  WriteRaw(picture, file.path);
}

void WriteDdsPicture(const Picture& picture, const PictureFile& file) {
  WriteDds(picture, file.path);
}

void WritePngPicture(const Picture& picture, const PictureFile& file) {
  WritePng(picture, file.path);
}

constexpr Stored kBmpStored[] = {{ZAV_FMT_PAL8, ZAV_SAVE_BMP8}, {ZAV_FMT_BGR24, ZAV_SAVE_BMP24}};
constexpr Stored kTargaStored[] = {{ZAV_FMT_PAL8, ZAV_SAVE_TGA8},
                                   {ZAV_FMT_RGB555, ZAV_SAVE_TGA16},
                                   {ZAV_FMT_BGR24, ZAV_SAVE_TGA24},
                                   {ZAV_FMT_BGRA32, ZAV_SAVE_TGA32}};

constexpr Stored kJpegStored[] = {{ZAV_FMT_BGR24, ZAV_SAVE_JPEG}};

constexpr Stored kPngStored[] = {{ZAV_FMT_PAL8, 0}, {ZAV_FMT_RGB24, 0}, {ZAV_FMT_RGBA32, 0}};

constexpr Stored kDdsStored[] = {
    {ZAV_FMT_DXT1, 0},     {ZAV_FMT_DXT2, 0},       {ZAV_FMT_DXT3, 0},      {ZAV_FMT_DXT4, 0},
    {ZAV_FMT_DXT5, 0},     {ZAV_FMT_RGBA32, 0},     {ZAV_FMT_BGRA32, 0},    {ZAV_FMT_RGB24, 0},
    {ZAV_FMT_BGR24, 0},    {ZAV_FMT_RGB565, 0},     {ZAV_FMT_RGB555, 0},    {ZAV_FMT_ARGB4444, 0},
    {ZAV_FMT_ARGB1555, 0}, {ZAV_FMT_CUSTOM16_1, 0}, {ZAV_FMT_CUSTOM16_2, 0}};

constexpr FileType kTypes[] = {
    {"bmp", "", "BMP", ReadBmp, SaveWithLibrary, kBmpStored},
    {"tga", "", "Targa", ReadTarga, SaveWithLibrary, kTargaStored},
    {"rgb", "sgi", "SGI", ReadSgi, nullptr, {}},
    {"jpg", "jpeg", "JPEG", ReadJpeg, SaveWithLibrary, kJpegStored},
    {"png", "", "PNG", ReadPng, WritePngPicture, kPngStored},
    {"dds", "", "DDS", ReadDds, WriteDdsPicture, kDdsStored},
    {"raw", "", "raw pixels", ReadRawPicture, WriteRawPicture, {}},
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

std::string Endings(bool written) {
  std::string endings;
  for (const FileType& type : kTypes) {
    if (written && type.write == nullptr) continue;
    AddName(endings, type.ending);
  }
  return endings;
}

/// Null for an unknown ending.
const FileType* FindType(std::string ending) {
  for (char& c : ending) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  const auto* type = std::ranges::find_if(kTypes, [&](const FileType& known) {
    return ending == known.ending || (!ending.empty() && ending == known.other_ending);
  });
  return type == std::end(kTypes) ? nullptr : type;
}

/// `named` is the value of --type.
const FileType& TypeOf(const std::string& path, const std::string& named) {
  if (path == kStandard) {
    if (named.empty()) throw UsageError("needs --type", path);
    const FileType& type = TypeNamed(named);
    if (type.read != ReadRawPicture) return type;
    throw NotSupported(path, "raw pixels come with a JSON file, so they need a name");
  }
  const size_t dot = path.find_last_of("./");
  const bool has_ending = dot != path.npos && path[dot] == '.';
  const FileType* type = FindType(has_ending ? path.substr(dot + 1) : "");
  if (type != nullptr) return *type;
  throw NotSupported(path,
                     fmt::format("has an unknown ending; the known ones are {}", Endings(false)));
}

}  // namespace

const FileType& TypeNamed(const std::string& name) {
  const FileType* type = FindType(name);
  if (type != nullptr) return *type;
  throw UsageError(fmt::format("'{}' is not a file type; the types are {}", name, Endings(false)));
}

PictureFile InputFile(const std::string& path, const std::string& types) {
  // A missing file is reported as missing even if its ending is unknown.
  CheckReadable(path);
  return {path, &TypeOf(path, types.substr(0, types.find(':')))};
}

PictureFile OutputFile(const std::string& path, const std::string& types) {
  const FileType& type = TypeOf(path, types.substr(types.find(':') + 1));
  if (type.write == nullptr) {
    throw NotSupported(path, fmt::format("{} files can only be read; the types to write are {}",
                                         type.name, OutputEndings()));
  }
  return {path, &type};
}

void CheckTypes(const std::string& types, std::span<const std::string> paths) {
  if (types.empty() || std::ranges::count(paths, kStandard) != 0) return;
  throw UsageError("--type goes with - for standard input or output");
}

std::string InputEndings() { return Endings(false); }
std::string OutputEndings() { return Endings(true); }

int32_t DefaultFormat(const FileType& type, const Picture& picture) {
  const ZAV_GFXDEF& definition = picture.definition;
  if (type.stored.empty()) return definition.format;
  if (type.write == WriteDdsPicture) {
    if (IsDxt(definition.format)) return definition.format;
    return ShowsAlpha(picture) ? ZAV_FMT_DXT5 : ZAV_FMT_DXT1;
  }
  const bool mapped = IsPalettized(definition.format);
  if (mapped && Holds(type, ZAV_FMT_PAL8)) {
    // Color maps of Targa files have no alpha.
    if (type.ending != "tga" || !ShowsAlpha(picture)) return ZAV_FMT_PAL8;
  }
  const int32_t wide = FirstHeld(type, {ZAV_FMT_BGRA32, ZAV_FMT_RGBA32});
  if (wide != 0 && (mapped || HasAlpha(definition))) return wide;
  return FirstHeld(type, {ZAV_FMT_BGR24, ZAV_FMT_RGB24});
}

void CheckHolds(const PictureFile& file, int32_t format) {
  const FileType& type = *file.type;
  if (Holds(type, format)) return;
  std::string held;
  for (const Stored& stored : type.stored) {
    AddName(held, FormatOf(stored.format).name);
  }
  throw NotSupported(file.path, fmt::format("a {} file cannot hold {}; it holds {}", type.name,
                                            FormatOf(format).name, held));
}

Picture ReadPicture(const PictureFile& file, std::string* storage, size_t* size) {
  std::string ignored;
  std::vector<unsigned char> bytes = LoadFile(file.path);
  if (size != nullptr) *size = bytes.size();
  return file.type->read(file.path, bytes, storage != nullptr ? *storage : ignored);
}

void WritePicture(const Picture& picture, const PictureFile& file) {
  CheckHolds(file, picture.definition.format);
  file.type->write(picture, file);
}

}  // namespace zav::tool
