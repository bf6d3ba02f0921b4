// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_INPUT_H_
#define ZAV_TOOLS_INPUT_H_

#include <string>
#include <vector>

namespace zav::tool {

/// All bytes of a file. Missing, unreadable, a directory: an Error says which.
std::vector<unsigned char> LoadFile(const std::string& path);

/// Fails as LoadFile would when nothing can be read under this name.
void CheckReadable(const std::string& path);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_INPUT_H_
