// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// A file being written: created with permission 0600, truncated when it exists, closed by the
/// destructor. Writes are not buffered, so the file's bytes and its offset are as the operations
/// left them, even after one that failed.
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

  /// False when the system did not accept all bytes.
  bool Write(const void* bytes, int64_t count);

  /// The same at another offset; the file's offset does not move.
  bool WriteAt(int64_t offset, const void* bytes, int64_t count);

  /// The offset of the next write; -1 where the file has none.
  int64_t Tell() const;
  void Seek(int64_t offset);

 private:
  int file_ = -1;
};

}  // namespace zav
