// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_RAW_H_
#define ZAV_TOOLS_RAW_H_

#include <string>
#include <vector>

#include "picture.h"

namespace zav::tool {

/// Raw pixels: the bytes of a picture as they lie in memory, and beside them a JSON file, named
/// like the pixels with ".json" behind, that holds the fields of their definition.

/// Name of the JSON file beside `path`.
std::string SidecarOf(const std::string& path);

Picture ReadRaw(const std::string& path, std::vector<unsigned char>& bytes);
void WriteRaw(const Picture& picture, const std::string& path);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_RAW_H_
