// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_CONTAINER_WALK_H_
#define ZAV_TOOLS_CONTAINER_WALK_H_

#include <zav.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace zav::tool {

using ByteSpan = std::span<const unsigned char>;

/// What is wrong with a container, and where; `offset` is from the start of the file.
struct Problem {
  int64_t offset;
  std::string what;
};

/// More than anyone would read.
constexpr size_t kMaxProblems = 50;

/// One record as its bytes describe it.
struct Record {
  int64_t offset = 0;
  int64_t size = 0;       // of the whole record, nested records included
  ZAV_LAYER header = {};  // the header's bytes; zero after them
  bool sound = true;      // its frame and header, and those of what it contains
  int32_t width = 0;      // plain and mipmap images: of the first layer
  int32_t height = 0;
  std::string name;            // image records
  std::vector<Record> layers;  // image records
  int64_t blocks = 0;          // squiz images: blocks in the picture
  int64_t stored_blocks = 0;   // squiz images: blocks in the file

  int kind() const { return header.kind; }
  /// Bytes of the pixels without any encoding. DXT and JPEG pixels count as 32-bit.
  int64_t RawBytes() const;
};

struct Walk {
  std::vector<Record> records;    // at the top level
  std::vector<Problem> problems;  // at most kMaxProblems, in the order of the file
  int64_t needed = 0;             // file size that its records announce, at least
};

/// Walks the records of a container by their frames and headers; the data of layers is not
/// examined. Never reads outside `file`, no matter what it holds.
Walk WalkContainer(ByteSpan file);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_CONTAINER_WALK_H_
