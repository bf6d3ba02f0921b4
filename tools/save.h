// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_SAVE_H_
#define ZAV_TOOLS_SAVE_H_

#include <string>

#include "file_types.h"

namespace zav::tool {

/// Writes a picture with ZAV_SAVE_BITMAP, which does not report failed writes, so the file is read
/// back and compared before it is renamed.
void SaveWithLibrary(const Picture& picture, const PictureFile& file);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_SAVE_H_
