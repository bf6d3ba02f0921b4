// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// A file being written: created with permission 0600, truncated when it exists, closed by the
/// destructor.
class OutputFile {
 public:
  explicit OutputFile(const char* path);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  bool is_open() const { return file_ >= 0; }

  /// False when the system did not take all bytes.
  bool Write(const void* bytes, int64_t count);

 private:
  int file_;
};

}  // namespace zav
