// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_INSPECT_H_
#define ZAV_TOOLS_INSPECT_H_

#include <string>
#include <vector>

namespace zav::tool {

/// The library returns 0 for a file that it cannot read, without a reason. It also accepts some
/// broken files: it leaves zeros where a Targa stream ends early, and ignores the magic number of
/// SGI files. These functions check the header and throw an Error that says what is wrong. The
/// result describes how the pixels are stored.

std::string InspectBmp(const std::string& path, const std::vector<unsigned char>& bytes);
std::string InspectTarga(const std::string& path, const std::vector<unsigned char>& bytes);
std::string InspectSgi(const std::string& path, const std::vector<unsigned char>& bytes);
std::string InspectJpeg(const std::string& path, const std::vector<unsigned char>& bytes,
                        int& channels);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_INSPECT_H_
