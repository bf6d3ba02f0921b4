// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_FILE_TYPES_H_
#define ZAV_TOOLS_FILE_TYPES_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "picture.h"

namespace zav::tool {

/// A pixel format that a file type can hold, and the library's save type that writes it so.
struct Stored {
  int32_t format;
  long save_type;  // 0: the command writes it by itself
};

/// What the command knows about a kind of file. A new kind is a row in file_types.cpp.
struct FileType {
  std::string_view ending;  // lower case
  std::string_view name;
  /// Reads the picture from the file's bytes and tells in `storage` how its pixels are stored.
  Picture (*read)(const std::string& path, std::vector<unsigned char>& bytes, std::string& storage);
  void (*write)(const FileType& type, const Picture& picture, const std::string& path);
  std::span<const Stored> stored;  // empty: any format
};

/// The type that a name's ending chooses. An unknown ending is an Error that lists the known ones.
const FileType& TypeOf(const std::string& path);

/// The format in which `type` takes this picture when the user names none.
int32_t DefaultFormat(const FileType& type, const Picture& picture);

/// Fails when `type` cannot hold `format`.
void CheckHolds(const FileType& type, int32_t format, const std::string& path);

/// Reads a picture with the reader of its type.
Picture ReadPicture(const std::string& path, std::string* storage = nullptr);

/// Writes the picture, whose format the type holds, whole or not at all.
void WritePicture(const Picture& picture, const std::string& path);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_FILE_TYPES_H_
