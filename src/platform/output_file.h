// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// A file being written: created with permission 0600, truncated when it exists, closed by the
/// destructor. Writes go to the system as they are issued, so that the file's bytes and its offset
/// are what the operations say even after one that failed.
class OutputFile {
 public:
  OutputFile() = default;
  explicit OutputFile(const char* path) { Open(path); }
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile() { Close(); }

  bool Open(const char* path);
  void Close();
  bool is_open() const { return file_ >= 0; }

  /// False when the system did not take all bytes.
  bool Write(const void* bytes, int64_t count);

  /// The same at a place of one's own; the offset does not move.
  bool WriteAt(int64_t offset, const void* bytes, int64_t count);

  /// The offset of the next write; -1 where the file has none.
  int64_t Tell() const;
  void Seek(int64_t offset);

 private:
  int file_ = -1;
};

}  // namespace zav
