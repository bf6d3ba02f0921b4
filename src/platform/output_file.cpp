// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "platform/output_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace zav {

OutputFile::OutputFile(const char* path)
    : file_(path != nullptr ? open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600) : -1) {}

OutputFile::~OutputFile() {
  if (file_ >= 0) close(file_);
}

bool OutputFile::Write(const void* bytes, int64_t count) {
  if (file_ < 0) return false;
  const char* next = static_cast<const char*>(bytes);
  while (count > 0) {
    const ssize_t written = write(file_, next, static_cast<size_t>(count));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    next += written;
    count -= written;
  }
  return true;
}

}  // namespace zav
