// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_INPUT_H_
#define ZAV_TOOLS_INPUT_H_

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zav::tool {

/// In place of a file's name: standard input or output.
constexpr std::string_view kStandard = "-";

/// All bytes of a file, of 2^31 - 1 at most. Missing, unreadable, a directory: an Error says which.
/// Standard input is read once.
std::vector<unsigned char> LoadFile(const std::string& path);

/// The bytes of a file to look at: mapped where the system can do that, so that only what is looked
/// at is read. As LoadFile, it refuses what cannot be read; the file may be empty.
class FileView {
 public:
  explicit FileView(const std::string& path);
  FileView(const FileView&) = delete;
  FileView& operator=(const FileView&) = delete;
  ~FileView();

  std::span<const unsigned char> bytes() const { return bytes_; }

 private:
  void* mapping_ = nullptr;
  std::vector<unsigned char> loaded_;  // instead
  std::span<const unsigned char> bytes_;
};

/// Fails as LoadFile would when nothing can be read under this name.
void CheckReadable(const std::string& path);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_INPUT_H_
