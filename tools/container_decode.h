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

/// The picture of one layer, or of one image record, of the file that the record was found in,
/// decoded by the library from the record's own bytes. Blocks of sides that are not whole blocks
/// come as 32-bit pixels, since only those can be cut. An Error tells the record's offset.
Picture DecodeRecord(const std::string& subject, ByteSpan file, const Record& record);

/// Decodes every sound record of a walk, nested ones too, and adds to its problems what fails.
void VerifyPictures(const std::string& subject, ByteSpan file, Walk& walk);

/// The problem as an Error of that file.
Error AsError(const std::string& subject, const Problem& problem);

/// Prints the problems of a walk. Any of them makes the exit code that of a bad file.
void ReportProblems(const std::string& subject, const Walk& walk, int& exit_code);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_CONTAINER_DECODE_H_
