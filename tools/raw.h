// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_RAW_H_
#define ZAV_TOOLS_RAW_H_

#include <string>
#include <vector>

#include "picture.h"

namespace zav::tool {

/// Raw pixels: the bytes of a picture as they are in memory, and a JSON file with the fields of
/// their definition.

/// Name of the JSON file for `path`: the same with .json appended.
std::string SidecarOf(const std::string& path);

Picture ReadRaw(const std::string& path, std::vector<unsigned char>& bytes);
void WriteRaw(const Picture& picture, const std::string& path);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_RAW_H_
