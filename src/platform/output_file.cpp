// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "platform/output_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace zav {
namespace {

/// Calls `write_some(bytes, count)` until all bytes are written or the system refuses.
template <typename WriteSome>
bool WriteAll(const void* bytes, int64_t count, WriteSome&& write_some) {
  const char* next = static_cast<const char*>(bytes);
  while (count > 0) {
    const ssize_t written = write_some(next, static_cast<size_t>(count));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    next += written;
    count -= written;
  }
  return true;
}

}  // namespace

bool OutputFile::Open(const char* path) {
  Close();
  if (path != nullptr) file_ = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  return is_open();
}

void OutputFile::Close() {
  if (is_open()) close(file_);
  file_ = -1;
}

bool OutputFile::Write(const void* bytes, int64_t count) {
  if (!is_open()) return false;
  return WriteAll(bytes, count,
                  [this](const char* next, size_t left) { return write(file_, next, left); });
}

bool OutputFile::WriteAt(int64_t offset, const void* bytes, int64_t count) {
  if (!is_open() || offset < 0) return false;
  return WriteAll(bytes, count, [this, &offset](const char* next, size_t left) {
    const ssize_t written = pwrite(file_, next, left, offset);
    if (written > 0) offset += written;
    return written;
  });
}

int64_t OutputFile::Tell() const { return is_open() ? lseek(file_, 0, SEEK_CUR) : -1; }

void OutputFile::Seek(int64_t offset) {
  if (is_open() && offset >= 0) lseek(file_, offset, SEEK_SET);
}

}  // namespace zav
