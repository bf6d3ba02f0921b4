// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_FILE_DESCRIPTOR_H_
#define ZAV_TOOLS_FILE_DESCRIPTOR_H_

#include <unistd.h>

#include <utility>

namespace zav::tool {

/// Owns a file descriptor and closes it.
class FileDescriptor {
 public:
  explicit FileDescriptor(int number = -1) : number_(number) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { Reset(-1); }

  void Reset(int number) {
    if (number_ >= 0) ::close(number_);
    number_ = number;
  }
  int get() const { return number_; }
  /// Hands the descriptor to a caller that checks the result of close().
  int Release() { return std::exchange(number_, -1); }

 private:
  int number_;
};

}  // namespace zav::tool

#endif  // ZAV_TOOLS_FILE_DESCRIPTOR_H_
