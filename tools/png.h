// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_PNG_H_
#define ZAV_TOOLS_PNG_H_

#include <string>
#include <vector>

#include "picture.h"

namespace zav::tool {

/// PNG through libpng; the ZAV library does not read or write it.

/// Reads any color type and depth. Palettized files become PAL8 with their transparency in the
/// palette; all others become RGBA32 if they have transparency, else RGB24.
Picture ReadPng(const std::string& path, std::vector<unsigned char>& bytes, std::string& storage);

/// Writes a PAL8, RGB24 or RGBA32 picture. A palette ends with the last entry that is used.
void WritePng(const Picture& picture, const std::string& path);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_PNG_H_
