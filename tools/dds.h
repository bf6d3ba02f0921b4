// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_DDS_H_
#define ZAV_TOOLS_DDS_H_

#include <string>
#include <vector>

#include "picture.h"

namespace zav::tool {

/// DirectDraw surfaces: blocks or pixels behind a header that engines and viewers know. Layout:
/// Microsoft's programming guide for DDS, "DDS_HEADER" and "DDS_PIXELFORMAT".

/// Reads the largest level; `storage` tells what else there is. Blocks of sides that are not whole
/// blocks come as 32-bit pixels, since only those can be cut.
Picture ReadDds(const std::string& path, std::vector<unsigned char>& bytes, std::string& storage);

/// Writes the picture as the only level. Its format is not palettized.
void WriteDds(const Picture& picture, const std::string& path);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_DDS_H_
