// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "platform/mapped_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/checked.h"

namespace zav {

bool MappedFile::Open(const char* path) {
  Close();
  if (path == nullptr) return false;
  // Without O_NONBLOCK, opening a pipe without a writer would wait forever.
  const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return false;
  struct stat status;
  if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) && IsBufferSize(status.st_size)) {
    void* view =
        mmap(nullptr, static_cast<size_t>(status.st_size), PROT_READ, MAP_PRIVATE, file, 0);
    if (view != MAP_FAILED) {
      view_ = static_cast<const uint8_t*>(view);
      size_ = status.st_size;
    }
  }
  close(file);  // the mapping outlives the descriptor
  return view_ != nullptr;
}

void MappedFile::Close() {
  if (view_ != nullptr) munmap(const_cast<uint8_t*>(view_), static_cast<size_t>(size_));
  view_ = nullptr;
  size_ = 0;
}

}  // namespace zav
