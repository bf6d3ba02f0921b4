// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_INPUT_H_
#define ZAV_TOOLS_INPUT_H_

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zav::tool {

/// The name of standard input and output.
constexpr std::string_view kStandard = "-";

/// All bytes of a file of at most 2^31 - 1 bytes. An Error says whether it is missing, unreadable
/// or a directory. Standard input can be read only once.
std::vector<unsigned char> LoadFile(const std::string& path);

/// The bytes of a file, mapped if possible, so that only pages that are used are read. Fails like
/// LoadFile, except that the file may be empty.
class FileView {
 public:
  explicit FileView(const std::string& path);
  FileView(const FileView&) = delete;
  FileView& operator=(const FileView&) = delete;
  ~FileView();

  std::span<const unsigned char> bytes() const { return bytes_; }

 private:
  void* mapping_ = nullptr;
  std::vector<unsigned char> loaded_;  // if it is not mapped
  std::span<const unsigned char> bytes_;
};

/// Fails like LoadFile when the file cannot be read.
void CheckReadable(const std::string& path);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_INPUT_H_
