// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_PNG_H_
#define ZAV_TOOLS_PNG_H_

#include <string>
#include <vector>

#include "picture.h"

namespace zav::tool {

/// PNG through libpng; the library itself does not know these files.

/// Any color type and depth: palettized files stay PAL8 with their transparency in the palette,
/// all else comes as 8-bit channels, RGBA32 where the file has transparency and RGB24 where not.
Picture ReadPng(const std::string& path, std::vector<unsigned char>& bytes, std::string& storage);

/// Writes a PAL8, RGB24 or RGBA32 picture. A palette ends behind the last entry that is used.
void WritePng(const Picture& picture, const std::string& path);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_PNG_H_
