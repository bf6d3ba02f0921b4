// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_INSPECT_H_
#define ZAV_TOOLS_INSPECT_H_

#include <string>
#include <vector>

namespace zav::tool {

/// The library answers a file that it cannot read with 0, and reads some files otherwise than
/// their author meant: it takes BMP headers of one size only, leaves zeros where a Targa stream
/// ends early, and does not look at the magic number of SGI files. These look at the header
/// themselves, and throw an Error that says what is wrong. The result names the way in which the
/// pixels are stored.

std::string InspectBmp(const std::string& path, const std::vector<unsigned char>& bytes);
std::string InspectTarga(const std::string& path, const std::vector<unsigned char>& bytes);
std::string InspectSgi(const std::string& path, const std::vector<unsigned char>& bytes);
std::string InspectJpeg(const std::string& path, const std::vector<unsigned char>& bytes,
                        int& channels);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_INSPECT_H_
