// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_FILE_TYPES_H_
#define ZAV_TOOLS_FILE_TYPES_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "formats.h"
#include "picture.h"

namespace zav::tool {

/// A pixel format that a file type can hold, and the library's save type for it.
struct Stored {
  int32_t format;
  long save_type;  // JPEG: plus the quality; 0: written by the command
};

struct FileType;

/// A picture as the command line names it.
struct PictureFile {
  std::string path;  // or kStandard
  const FileType* type = nullptr;
  int quality = kDefaultQuality;  // of JPEG files
};

/// A file type of the command. A new one is a row in file_types.cpp.
struct FileType {
  std::string_view ending;  // lower case
  std::string_view other_ending;
  std::string_view name;
  /// Reads the picture from the file's bytes; `storage` describes how its pixels are stored.
  Picture (*read)(const std::string& path, std::vector<unsigned char>& bytes, std::string& storage);
  void (*write)(const Picture& picture, const PictureFile& file);
  std::span<const Stored> stored;  // empty: any format
};

/// The type with this ending; an unknown one is a usage error that lists the known ones.
const FileType& TypeNamed(const std::string& name);

/// A picture to read or to write. The ending of its name chooses the type. For standard input and
/// output --type does, which is one type, or IN:OUT where a command has both. An Error lists the
/// known types.
PictureFile InputFile(const std::string& path, const std::string& types = "");
PictureFile OutputFile(const std::string& path, const std::string& types = "");

/// Fails when --type is given but none of these is standard input or output.
void CheckTypes(const std::string& types, std::span<const std::string> paths);

/// Endings of files that are read, and of those that are written, for --help.
std::string InputEndings();
std::string OutputEndings();

/// The format in which `type` stores this picture when the user gives none.
int32_t DefaultFormat(const FileType& type, const Picture& picture);

/// Fails when the file cannot hold `format`.
void CheckHolds(const PictureFile& file, int32_t format);

/// Reads a picture with the reader of its type. `size` receives the bytes of the file.
Picture ReadPicture(const PictureFile& file, std::string* storage = nullptr,
                    size_t* size = nullptr);

/// Writes the picture completely or not at all. The file type must hold its format.
void WritePicture(const Picture& picture, const PictureFile& file);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_FILE_TYPES_H_
