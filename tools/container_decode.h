// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_CONTAINER_DECODE_H_
#define ZAV_TOOLS_CONTAINER_DECODE_H_

#include <string>
#include <vector>

#include "container_walk.h"
#include "error.h"
#include "picture.h"

namespace zav::tool {

/// The picture of a layer or an image record of `file`, decoded by the library from the bytes of
/// that record alone. DXT pictures whose sides are not multiples of 4 come as 32-bit pixels, since
/// only those can be cropped. An Error gives the record's offset.
Picture DecodeRecord(const std::string& subject, ByteSpan file, const Record& record);

/// Decodes every sound record of a walk, nested ones too, and adds failures to its problems.
void VerifyPictures(const std::string& subject, ByteSpan file, Walk& walk);

/// The problem as an Error about the file `subject`.
Error AsError(const std::string& subject, const Problem& problem);

/// Prints the problems of a walk. If there are any, the exit code becomes that of a bad file.
void ReportProblems(const std::string& subject, const Walk& walk, int& exit_code);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_CONTAINER_DECODE_H_
