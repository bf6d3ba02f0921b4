// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_DDS_H_
#define ZAV_TOOLS_DDS_H_

#include <string>
#include <vector>

#include "picture.h"

namespace zav::tool {

/// DirectDraw surfaces: blocks or pixels after a header that engines and viewers know. Layout:
/// Microsoft's programming guide for DDS, "DDS_HEADER" and "DDS_PIXELFORMAT".

/// Reads the largest level; `storage` describes the file. DXT pictures whose sides are not
/// multiples of 4 come as 32-bit pixels, since only those can be cropped.
Picture ReadDds(const std::string& path, std::vector<unsigned char>& bytes, std::string& storage);

/// Writes the picture as the only level. Its format is not palettized.
void WriteDds(const Picture& picture, const std::string& path);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_DDS_H_
