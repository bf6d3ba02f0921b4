// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "input.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "error.h"
#include "file_descriptor.h"

namespace zav::tool {
namespace {

constexpr size_t kMaxBytes = std::numeric_limits<int32_t>::max();

int Open(const std::string& path) {
  if (path != kStandard) return ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  static bool taken = false;
  if (std::exchange(taken, true)) {
    throw UsageError("standard input can be read only once", path);
  }
  return ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
}

void CheckKind(const std::string& path, const struct stat& status) {
  if (S_ISDIR(status.st_mode)) throw SystemError(path, EISDIR);
  if (path == kStandard) {
    if (::isatty(STDIN_FILENO) == 0) return;
    throw UsageError("standard input is a terminal; redirect a file or a pipe to it", path);
  }
  // A device may have no end.
  if (!S_ISREG(status.st_mode) && !S_ISFIFO(status.st_mode)) {
    throw Error(ErrorKind::kInputOutput, path, "is not a regular file");
  }
}

}  // namespace

void CheckReadable(const std::string& path) {
  if (path == kStandard) return;
  struct stat status = {};
  if (::stat(path.c_str(), &status) != 0) throw SystemError(path);
  CheckKind(path, status);
  if (::access(path.c_str(), R_OK) != 0) throw SystemError(path);
}

FileView::FileView(const std::string& path) {
  if (path == kStandard) {
    bytes_ = loaded_ = LoadFile(path);
    return;
  }
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status = {};
  if (file.get() < 0 || ::fstat(file.get(), &status) != 0) throw SystemError(path);
  CheckKind(path, status);
  const size_t size = static_cast<size_t>(status.st_size);
  if (S_ISREG(status.st_mode) && size == 0) return;
  if (S_ISREG(status.st_mode)) {
    void* mapping = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.get(), 0);
    if (mapping != MAP_FAILED) {
      mapping_ = mapping;
      bytes_ = {static_cast<const unsigned char*>(mapping), size};
      return;
    }
  }
  loaded_ = LoadFile(path);
  bytes_ = loaded_;
}

FileView::~FileView() {
  if (mapping_ != nullptr) ::munmap(mapping_, bytes_.size());
}

std::vector<unsigned char> LoadFile(const std::string& path) {
  const FileDescriptor file(Open(path));
  struct stat status = {};
  if (file.get() < 0 || ::fstat(file.get(), &status) != 0) throw SystemError(path);
  CheckKind(path, status);

  constexpr size_t kStep = 1 << 16;
  // One byte more than expected, so that the first read already finds the end.
  const auto announced = static_cast<uint64_t>(std::max<off_t>(status.st_size, 0));
  std::vector<unsigned char> bytes(std::min<uint64_t>(announced, kMaxBytes) + 1);
  size_t length = 0;
  for (;;) {
    if (length > kMaxBytes) {
      throw NotSupported(path, "has more than 2^31 - 1 bytes");
    }
    if (length == bytes.size()) {
      bytes.resize(std::min(length + std::max(length / 2, kStep), kMaxBytes + 1));
    }
    const ssize_t got = ::read(file.get(), bytes.data() + length, bytes.size() - length);
    if (got == 0) break;
    if (got > 0) length += static_cast<size_t>(got);
    if (got < 0 && errno != EINTR) throw SystemError(path);
  }
  bytes.resize(length);
  if (bytes.empty()) throw BadFile(path, "is empty");
  return bytes;
}

}  // namespace zav::tool
