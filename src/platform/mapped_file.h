// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// Read-only view of a whole file. Lives inside one call; data that outlives it is copied out.
class MappedFile {
 public:
  MappedFile() = default;
  explicit MappedFile(const char* path) { Open(path); }
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  ~MappedFile() { Close(); }

  /// False when the file is missing, unreadable, empty, not a regular file, or larger than any
  /// buffer may be.
  bool Open(const char* path);
  void Close();

  /// Null when not open.
  const uint8_t* Data() const { return view_; }
  int64_t Size() const { return size_; }

 private:
  const uint8_t* view_ = nullptr;
  int64_t size_ = 0;
};

}  // namespace zav
