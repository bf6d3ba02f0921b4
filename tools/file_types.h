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

/// A pixel format that a file type can hold, and the library's save type that writes it so.
struct Stored {
  int32_t format;
  long save_type;  // JPEG: plus the quality; 0: the command writes it by itself
};

struct FileType;

/// A picture as the command line names it.
struct PictureFile {
  std::string path;  // or kStandard
  const FileType* type = nullptr;
  int quality = kDefaultQuality;  // of JPEG files
};

/// What the command knows about a kind of file. A new kind is a row in file_types.cpp.
struct FileType {
  std::string_view ending;  // lower case
  std::string_view other_ending;
  std::string_view name;
  /// Reads the picture from the file's bytes and tells in `storage` how its pixels are stored.
  Picture (*read)(const std::string& path, std::vector<unsigned char>& bytes, std::string& storage);
  void (*write)(const Picture& picture, const PictureFile& file);
  std::span<const Stored> stored;  // empty: any format
};

/// The type of this ending; an unknown one is a usage error that lists the known ones.
const FileType& TypeNamed(const std::string& name);

/// A picture to read or to write. Its name's ending chooses the type; that of standard input and
/// output is told by --type, which is one type or, where a command has both, IN:OUT. What is
/// unknown is an Error that lists what is known.
PictureFile InputFile(const std::string& path, const std::string& types = "");
PictureFile OutputFile(const std::string& path, const std::string& types = "");

/// Fails when --type is given, and none of these is standard input or output.
void CheckTypes(const std::string& types, std::span<const std::string> paths);

/// Endings of files that are read, and of those that are written, for --help.
std::string InputEndings();
std::string OutputEndings();

/// The format in which `type` takes this picture when the user names none.
int32_t DefaultFormat(const FileType& type, const Picture& picture);

/// Fails when the file cannot hold `format`.
void CheckHolds(const PictureFile& file, int32_t format);

/// Reads a picture with the reader of its type, and tells how its pixels are stored and in how many
/// bytes.
Picture ReadPicture(const PictureFile& file, std::string* storage = nullptr,
                    size_t* size = nullptr);

/// Writes the picture, whose format the type holds, whole or not at all.
void WritePicture(const Picture& picture, const PictureFile& file);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_FILE_TYPES_H_
