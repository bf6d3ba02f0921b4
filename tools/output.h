// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_OUTPUT_H_
#define ZAV_TOOLS_OUTPUT_H_

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>

#include "file_descriptor.h"

namespace zav::tool {

/// A file that is written next to its target under a temporary name with the same ending, and is
/// renamed once it is complete and on disk. Without Commit the temporary is removed and the target
/// stays as it was. Standard output receives the bytes of the complete file; a terminal is refused.
class Output {
 public:
  explicit Output(const std::string& target);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output();

  /// Where to write. The file exists and is empty.
  const std::string& path() const { return path_; }

  void Write(const void* data, size_t size);

  /// Fails when the file does not have this size, with the system's reason if there is one. For
  /// writers that do not report failures.
  void CheckSize(int64_t size);

  /// Fails with the system's reason when the file cannot grow to this size.
  void CheckRoom(int64_t size);

  /// Puts files that belong together into place: all are on disk before the first is renamed.
  static void Commit(std::initializer_list<Output*> outputs);

 private:
  void Prepare();
  void BringToDisk();
  void TakeName();
  void CopyToStandardOutput();

  std::string name_;    // as the user wrote it, for messages
  std::string target_;  // with links resolved: the file is replaced, not the link
  std::string path_;
  FileDescriptor file_;
  bool standard_;
  mode_t mode_ = 0;
  bool replaces_ = false;
  uid_t owner_ = 0;
  gid_t group_ = 0;
};

}  // namespace zav::tool

#endif  // ZAV_TOOLS_OUTPUT_H_
