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

/// A file that is written beside its target under a temporary name of the same ending, and takes
/// the target's name only when it is whole and on the disk. Without Commit the temporary is
/// removed, and what stood under the target's name stays. Standard output gets the bytes of a file
/// that is whole; a terminal is refused.
class Output {
 public:
  explicit Output(const std::string& target);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output();

  /// Where to write. The file exists and is empty.
  const std::string& path() const { return path_; }

  void Write(const void* data, size_t size);

  /// For writers that do not say whether they succeeded: fails, with the system's reason where it
  /// can be had, when the file is not of this size.
  void CheckSize(int64_t size);

  /// Fails with the system's reason when it does not let the file grow to this size.
  void CheckRoom(int64_t size);

  /// Puts files that belong together into place: all are brought to the disk before the first one
  /// is renamed.
  static void Commit(std::initializer_list<Output*> outputs);

 private:
  void Prepare();
  void BringToDisk();
  void TakeName();
  void CopyToStandardOutput();

  std::string name_;    // as the user wrote it, for messages
  std::string target_;  // with links resolved: a link stays, the file behind it is replaced
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
